#pragma once

/// @file
/// The whole public surface of Limber, but for limber/foundation/CaseCompare.h, whose names the C library
/// may own.

// foundation
#include "limber/foundation/Output.h"
#include "limber/foundation/Report.h"

// linalg

// solvers

// geometry

// ode

// io

// graphics
