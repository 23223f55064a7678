#pragma once

/// @file
/// The dense product and factorizations that go through LAPACK and BLAS.

#include "limber/linalg/BandedCholesky.h"
#include "limber/linalg/Lu.h"
#include "limber/linalg/MatrixMultiply.h"
#include "limber/linalg/Qr.h"
#include "limber/linalg/Svd.h"
