#pragma once

/// @file
/// The beginning and the end of MPI and of the engine.

#include <mpi.h>

#include "limber_petsc/Api.h"

namespace limber::petsc {

/// Starts MPI and PETSc for its life, unless the program has started them already, and ends what it started.
/// One object near the beginning of main() serves the whole program. PETSc reads its own options from the
/// arguments; those of the solves begin with -limber_, for example -limber_ksp_monitor or -limber_pc_type
/// none.
class LIMBER_PETSC_API Session {
 public:
  Session(int* argc, char*** argv);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// False when the engine could not be started; the reason was reported.
  bool ok() const { return ok_; }
  /// This process's number in MPI_COMM_WORLD, from 0, and how many there are.
  int rank() const { return rank_; }
  int size() const { return size_; }

 private:
  bool startedMpi_ = false, startedEngine_ = false, ok_ = false;
  int rank_ = 0, size_ = 1;
};

}  // namespace limber::petsc
