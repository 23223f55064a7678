#pragma once

/// @file
/// Sums of sparse rows.

#include "limber/Api.h"

class SpVec;

/// out = sa a + sb b, without tiny values. Contract: indices from 10000 on are left out. `out` is emptied
/// first, so a row that is also the output counts as empty.
LIMBER_API void ssum(const SpVec& a, double sa, const SpVec& b, double sb, SpVec& out);
/// out = a + b, computed as by ssum.
LIMBER_API void sum(SpVec& a, SpVec& b, SpVec& out);
