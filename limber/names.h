#pragma once

/// @file
/// Every public class under its name in namespace limber, for programs that have a Vector or a Reader in a
/// namespace of their own: limber::Vector says which one is meant. The names in the global namespace remain.
/// Not part of limber.h: include it where it is wanted.

#include "limber/limber.h"

namespace limber {

// foundation
using ::Clock;
using ::ClockPtr;
using ::ConsCell;
using ::List;
using ::ListI;
using ::StringArray;

// linalg
using ::BandedMatrix;
using ::DiagonalMatrix;
using ::FullMatrix;
using ::HSpMat;
using ::IdentityMatrix;
using ::IntVec;
using ::ResizeMatrix;
using ::SlicedMatrix;
using ::SpMat;
using ::SpVec;
using ::SQPMatrix;
using ::StaticVector;
using ::Vector;

// solvers
using ::CGIStatus;
using ::CGStatus;
using ::CGTuning;
using ::JJtBandedPrecond;
using ::JJtCholeskyPrecond;
using ::JJtPrecond;
using ::Preconditioner;
using ::SolveOptions;
using ::SolveReport;
using ::SolveStatus;

// geometry
using ::Matrix3x3;
using ::Matrix4x4;
using ::MatRow;
using ::Pnt3;
using ::Quat;
using ::QuatTransform;
using ::RotHelper;

// ode
using ::EulerSolver;
using ::Integrand;
using ::OdeSolver;
using ::RK2Solver;
using ::RK4Solver;

// io
using ::Reader;

// graphics
using ::AIPSMatrix;
using ::AIPSWriter;

}  // namespace limber
