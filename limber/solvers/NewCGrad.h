#pragma once

/// @file
/// The newer conjugate-gradient family.

#include "limber/solvers/BuildJJt.h"
#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGStatus.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/JJtBandedPrecond.h"
#include "limber/solvers/JJtCholeskyPrecond.h"
#include "limber/solvers/JJtPrecond.h"
#include "limber/solvers/MCGrad.h"
#include "limber/solvers/MatLab.h"
#include "limber/solvers/NCGrad.h"
#include "limber/solvers/Preconditioner.h"
#include "limber/solvers/PureCGrad.h"
