#pragma once

/// @file
/// Dot products with sparse rows. Sums start at 0.0 and run in the order of the entries. Entries whose index
/// lies outside a dense vector's storage are skipped.

#include "limber/Api.h"

class SpVec;
class Vector;

/// The sum of a[i] b[i] over the indices that both rows hold.
LIMBER_API double dot(SpVec& a, SpVec& b);
/// The sum of w[i] b[i] a[i] over the indices that both rows hold; dot(*a, *b) when w is null.
LIMBER_API double sdot(SpVec* a, SpVec* b, Vector* w);
/// The sum of v[i] a[i] over the entries of the row.
LIMBER_API double dot(SpVec& a, Vector* v);
LIMBER_API double dot(Vector* v, SpVec& a);
