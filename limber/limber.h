#pragma once

/// @file
/// The whole public surface of Limber, except for two headers: limber/foundation/CaseCompare.h, whose names
/// the C library may own, and limber/names.h, which repeats the classes in namespace limber.

// foundation
#include "limber/foundation/Clock.h"
#include "limber/foundation/ClockPtr.h"
#include "limber/foundation/ConsCell.h"
#include "limber/foundation/List.h"
#include "limber/foundation/Noise.h"
#include "limber/foundation/Output.h"
#include "limber/foundation/Report.h"
#include "limber/foundation/StringArray.h"
#include "limber/foundation/Text.h"

// linalg
#include "limber/linalg/BandedCholesky.h"
#include "limber/linalg/BandedMatrix.h"
#include "limber/linalg/Compact.h"
#include "limber/linalg/DenseProducts.h"
#include "limber/linalg/DiagonalMatrix.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/GaussJordan.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/IdentityMatrix.h"
#include "limber/linalg/IntVec.h"
#include "limber/linalg/LinComb.h"
#include "limber/linalg/Lu.h"
#include "limber/linalg/MatrixMultiply.h"
#include "limber/linalg/Qr.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/SQPMatrix.h"
#include "limber/linalg/STMLapack.h"
#include "limber/linalg/SlicedMatrix.h"
#include "limber/linalg/SpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/SparseDot.h"
#include "limber/linalg/SparseProducts.h"
#include "limber/linalg/SparseSum.h"
#include "limber/linalg/StaticVector.h"
#include "limber/linalg/Svd.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/Vectors.h"
#include "limber/linalg/WierdMatrices.h"

// solvers
#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/BuildJJt.h"
#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGObserver.h"
#include "limber/solvers/CGStatus.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/CGradI.h"
#include "limber/solvers/JJtBandedPrecond.h"
#include "limber/solvers/JJtCholeskyPrecond.h"
#include "limber/solvers/JJtPrecond.h"
#include "limber/solvers/MCGrad.h"
#include "limber/solvers/MatLab.h"
#include "limber/solvers/NCGrad.h"
#include "limber/solvers/NewCGrad.h"
#include "limber/solvers/OldCGrad.h"
#include "limber/solvers/Preconditioner.h"
#include "limber/solvers/PureCGrad.h"
#include "limber/solvers/Solve.h"

// geometry
#include "limber/geometry/EulerZXY.h"
#include "limber/geometry/MatRow.h"
#include "limber/geometry/Matrix.h"
#include "limber/geometry/Matrix3x3.h"
#include "limber/geometry/Matrix4x4.h"
#include "limber/geometry/MatrixTransform.h"
#include "limber/geometry/Pnt3.h"
#include "limber/geometry/Quat.h"
#include "limber/geometry/QuatTransform.h"
#include "limber/geometry/RotHelper.h"
#include "limber/geometry/Rotation.h"

// ode
#include "limber/ode/EulerSolver.h"
#include "limber/ode/Integrand.h"
#include "limber/ode/OdeSolver.h"
#include "limber/ode/RK2Solver.h"
#include "limber/ode/RK4Solver.h"

// io
#include "limber/io/Reader.h"
#include "limber/io/SearchP.h"

// graphics
#include "limber/graphics/AIPS.h"
