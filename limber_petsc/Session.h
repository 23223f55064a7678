#pragma once

/// @file
/// Starts and ends MPI and PETSc.

#include <mpi.h>

#include "limber_petsc/Api.h"

namespace limber::petsc {

/// Starts MPI and PETSc for the lifetime of this object, unless the program has started them already, and
/// ends what it started. One object near the beginning of main() is enough for the whole program. PETSc reads
/// its own options from the arguments; those of the solves begin with -limber_, for example
/// -limber_ksp_monitor or -limber_pc_type none.
class LIMBER_PETSC_API Session {
 public:
  Session(int* argc, char*** argv);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// False if PETSc could not be started; the reason has been reported.
  bool ok() const { return ok_; }
  /// This process's rank in MPI_COMM_WORLD, from 0, and the number of processes.
  int rank() const { return rank_; }
  int size() const { return size_; }

 private:
  bool startedMpi_ = false, startedEngine_ = false, ok_ = false;
  int rank_ = 0, size_ = 1;
};

}  // namespace limber::petsc
