#pragma once

/// @file
/// Owners of PETSc objects, and reports of PETSc's errors.

#include <petscksp.h>

namespace limber::petsc::detail {

/// Owns one PETSc object.
template <class Handle, PetscErrorCode (*destroy)(Handle*)>
class Owned {
 public:
  Owned() = default;
  ~Owned() {
    if (handle_) destroy(&handle_);
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  operator Handle() const { return handle_; }
  Handle* operator&() { return &handle_; }

 private:
  Handle handle_ = nullptr;
};
using Matrix = Owned<Mat, MatDestroy>;
using Array = Owned<Vec, VecDestroy>;
using Solver = Owned<KSP, KSPDestroy>;
using Scatter = Owned<VecScatter, VecScatterDestroy>;
using Indices = Owned<IS, ISDestroy>;

/// While this object exists, an error of PETSc is reported once, with PETSc's message, and returned. Without
/// it, PETSc would end the job.
class ErrorsAsReports {
 public:
  ErrorsAsReports();
  ~ErrorsAsReports();
  ErrorsAsReports(const ErrorsAsReports&) = delete;
  ErrorsAsReports& operator=(const ErrorsAsReports&) = delete;
};

/// The largest `code` of all processes; 0 means that there is no error on any of them. Collective.
int agree(MPI_Comm comm, int code);
/// Reports `message` after this process's rank.
void report(MPI_Comm comm, const char* message, int line);

}  // namespace limber::petsc::detail
