#pragma once

/// @file
/// All matrices of 3-space and their functions.

#include "limber/geometry/MatRow.h"
#include "limber/geometry/Matrix3x3.h"
#include "limber/geometry/Matrix4x4.h"
#include "limber/geometry/MatrixTransform.h"
