#pragma once

/// @file
/// Rotation formats and Z-X-Y Euler angles.

#include "limber/geometry/EulerZXY.h"
#include "limber/geometry/RotHelper.h"
