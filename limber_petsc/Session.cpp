#include "limber_petsc/Session.h"

#include "limber/foundation/Report.h"
#include "limber_petsc/detail/Engine.h"

namespace limber::petsc {

Session::Session(int* argc, char*** argv) {
  int running = 0;
  MPI_Initialized(&running);
  if (!running) {
    if (MPI_Init(argc, argv) != MPI_SUCCESS) {
      errReport("MPI does not start", "Session", __LINE__);
      return;
    }
    startedMpi_ = true;
  }
  PetscBool initialized = PETSC_FALSE;
  PetscInitialized(&initialized);
  if (!initialized) {
    // The program keeps its own signal handlers, for example for Ctrl-C.
    if (PetscInitialize(argc, argv, nullptr, nullptr) != 0) {
      errReport("PETSc does not start", "Session", __LINE__);
      return;
    }
    PetscPopSignalHandler();
    startedEngine_ = true;
  }
  MPI_Comm_rank(MPI_COMM_WORLD, &rank_);
  MPI_Comm_size(MPI_COMM_WORLD, &size_);
  ok_ = true;
}

Session::~Session() {
  if (startedEngine_) PetscFinalize();
  if (startedMpi_) MPI_Finalize();
}

}  // namespace limber::petsc
