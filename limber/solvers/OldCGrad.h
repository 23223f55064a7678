#pragma once

/// @file
/// The older conjugate-gradient family and bi-conjugate gradients.

#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/CGradI.h"
