#include "limber_petsc/detail/Engine.h"

#include <cstdio>

#include "limber/foundation/Report.h"

namespace limber::petsc::detail {

namespace {

PetscErrorCode reportError(MPI_Comm comm, int line, const char*, const char*, PetscErrorCode code,
                           PetscErrorType type, const char* text, void*) {
  if (type == PETSC_ERROR_INITIAL) report(comm, text ? text : "an error of PETSc without a text", line);
  return code;
}

}  // namespace

ErrorsAsReports::ErrorsAsReports() { PetscPushErrorHandler(reportError, nullptr); }
ErrorsAsReports::~ErrorsAsReports() { PetscPopErrorHandler(); }

int agree(MPI_Comm comm, int code) {
  int largest = code;
  MPI_Allreduce(&code, &largest, 1, MPI_INT, MPI_MAX, comm);
  return largest;
}

void report(MPI_Comm comm, const char* message, int line) {
  int rank = 0;
  MPI_Comm_rank(comm, &rank);
  char text[400];
  std::snprintf(text, sizeof text, "process %d: %s", rank, message);
  errReport(text, "DistributedSolve", line);
}

}  // namespace limber::petsc::detail
