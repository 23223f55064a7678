#pragma once

/// @file
/// Every public class under its name in namespace limber, for programs that have a Vector or a Reader in a
/// namespace of their own: limber::Vector says which one is meant. The names in the global namespace remain.
/// Not part of limber.h: include it where it is wanted.

#include "limber/limber.h"

namespace limber {

// foundation
using ::Clock, ::ClockPtr, ::ConsCell, ::List, ::ListI, ::StringArray;

// linalg
using ::BandedMatrix, ::DiagonalMatrix, ::FullMatrix, ::HSpMat, ::IdentityMatrix, ::IntVec, ::ResizeMatrix,
    ::SlicedMatrix, ::SpMat, ::SpVec, ::SQPMatrix, ::StaticVector, ::Vector;

// solvers
using ::CGIStatus, ::CGStatus, ::CGTuning, ::JJtBandedPrecond, ::JJtCholeskyPrecond, ::JJtPrecond,
    ::Preconditioner, ::SolveOptions, ::SolveReport, ::SolveStatus;

// geometry
using ::Matrix3x3, ::Matrix4x4, ::MatRow, ::Pnt3, ::Quat, ::QuatTransform, ::RotHelper;

// ode
using ::EulerSolver, ::Integrand, ::OdeSolver, ::RK2Solver, ::RK4Solver;

// io
using ::Reader;

// graphics
using ::AIPSMatrix, ::AIPSWriter;

}  // namespace limber
