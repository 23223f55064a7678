#pragma once

/// @file
/// All public headers of limber::petsc: the same solves, distributed over the processes of an MPI job.

#include "limber_petsc/DistributedSolve.h"
#include "limber_petsc/Rows.h"
#include "limber_petsc/Session.h"
