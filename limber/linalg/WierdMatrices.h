#pragma once

/// @file
/// The matrices of a known shape.

#include "limber/linalg/BandedMatrix.h"
#include "limber/linalg/DiagonalMatrix.h"
#include "limber/linalg/IdentityMatrix.h"
#include "limber/linalg/SQPMatrix.h"
