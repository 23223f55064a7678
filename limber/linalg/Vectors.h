#pragma once

/// @file
/// Vectors, sparse rows and the matrices built of them.

#include "limber/linalg/Compact.h"
#include "limber/linalg/DenseProducts.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/IntVec.h"
#include "limber/linalg/LinComb.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/SlicedMatrix.h"
#include "limber/linalg/SpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/SparseDot.h"
#include "limber/linalg/SparseProducts.h"
#include "limber/linalg/SparseSum.h"
#include "limber/linalg/StaticVector.h"
#include "limber/linalg/Vector.h"
