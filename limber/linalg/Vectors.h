#pragma once

/// @file
/// Vectors, sparse rows and the matrices built of them.

#include "limber/linalg/IntVec.h"
#include "limber/linalg/LinComb.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/SparseDot.h"
#include "limber/linalg/SparseSum.h"
#include "limber/linalg/StaticVector.h"
#include "limber/linalg/Vector.h"
