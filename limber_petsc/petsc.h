#pragma once

/// @file
/// The whole public surface of limber::petsc, the same solves spread over the processes of an MPI job.

#include "limber_petsc/DistributedSolve.h"
#include "limber_petsc/Rows.h"
#include "limber_petsc/Session.h"
