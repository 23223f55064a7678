#include "limber_petsc/detail/Operator.h"

namespace limber::petsc::detail {

namespace {

PetscErrorCode multiply(Mat shell, Vec x, Vec y) {
  Operator* op = nullptr;
  PetscCall(MatShellGetContext(shell, &op));
  return op->apply(x, y);
}

PetscErrorCode multiplyTransposed(Mat shell, Vec x, Vec y) {
  Operator* op = nullptr;
  PetscCall(MatShellGetContext(shell, &op));
  return op->weights ? op->apply(x, y) : op->applyTransposed(x, y);  // with weights the operator is symmetric
}

}  // namespace

PetscErrorCode Operator::apply(Vec x, Vec y) {
  if (!weights) {
    PetscCall(MatMult(matrix, x, y));
    ++products;
    return 0;
  }
  PetscCall(MatMultTranspose(matrix, x, columns));
  PetscCall(VecPointwiseMult(columns, columns, weights));
  PetscCall(MatMult(matrix, columns, y));
  products += 2;
  if (damping) {
    const PetscScalar *d = nullptr, *from = nullptr;
    PetscScalar* to = nullptr;
    PetscInt count = 0;
    PetscCall(VecGetLocalSize(y, &count));
    PetscCall(VecGetArrayRead(damping, &d));
    PetscCall(VecGetArrayRead(x, &from));
    PetscCall(VecGetArray(y, &to));
    for (PetscInt i = 0; i < count; ++i) to[i] += d[i] * from[i];
    PetscCall(VecRestoreArray(y, &to));
    PetscCall(VecRestoreArrayRead(x, &from));
    PetscCall(VecRestoreArrayRead(damping, &d));
  }
  return 0;
}

PetscErrorCode Operator::applyTransposed(Vec x, Vec y) {
  PetscCall(MatMultTranspose(matrix, x, y));
  ++products;
  return 0;
}

PetscErrorCode Operator::makeShell(MPI_Comm comm, Mat* shell) {
  PetscInt rows = 0, ownColumns = 0;
  PetscCall(MatGetLocalSize(matrix, &rows, &ownColumns));
  if (weights) ownColumns = rows;
  PetscCall(MatCreateShell(comm, rows, ownColumns, PETSC_DETERMINE, PETSC_DETERMINE, this, shell));
  PetscCall(MatShellSetOperation(*shell, MATOP_MULT, reinterpret_cast<void (*)(void)>(multiply)));
  PetscCall(MatShellSetOperation(*shell, MATOP_MULT_TRANSPOSE,
                                 reinterpret_cast<void (*)(void)>(multiplyTransposed)));
  return 0;
}

}  // namespace limber::petsc::detail
