#include "limber_petsc/detail/Assembly.h"

#include <cmath>
#include <cstdio>
#include <vector>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"

namespace limber::petsc::detail {

namespace {

int rowsOf(const Rows& part) { return part.rows ? part.rows->numRows : 0; }

// Calls use(row, index, value) for each entry.
template <class Use>
void forEachEntry(const Rows& part, Use use) {
  for (int i = 0; i < rowsOf(part); ++i) {
    const SpVec* row = part.rows->rows[i];
    for (int k = 0; row && k < row->numEntries; ++k) use(i, row->indices.data[k], row->values.data[k]);
  }
}

// Raises `largest` to the magnitude of x.
void take(double x, double& largest) {
  if (std::fabs(x) > largest) largest = std::fabs(x);
}

int exponentOfLargest(MPI_Comm comm, double largest) {
  double all = largest;
  MPI_Allreduce(&largest, &all, 1, MPI_DOUBLE, MPI_MAX, comm);
  int exponent = 0;
  std::frexp(all, &exponent);
  return all > 0.0 ? exponent : 0;
}

// An error message about this process's rows alone, or null.
const char* problemOf(const Rows& part) {
  if (!part.rows) return "there is no matrix";
  if (part.columns < 0) return "the matrix has a negative width";
  const char* problem = nullptr;
  forEachEntry(part, [&](int, int index, double value) {
    if (index < 0 || index >= part.columns) problem = "a column index lies outside the matrix";
    if (!std::isfinite(value)) problem = "an entry of the matrix is not finite";
  });
  return problem;
}

}  // namespace

bool partsFit(MPI_Comm comm, const Rows& part) {
  const char* problem = problemOf(part);
  if (problem) report(comm, problem, __LINE__);

  const long long count = rowsOf(part);
  long long before = 0, widest = part.columns, own = part.columns;
  int rank = 0;
  MPI_Comm_rank(comm, &rank);
  MPI_Exscan(&count, &before, 1, MPI_LONG_LONG, MPI_SUM, comm);
  if (rank == 0) before = 0;
  MPI_Allreduce(&own, &widest, 1, MPI_LONG_LONG, MPI_MAX, comm);
  char text[200];
  bool wrong = problem != nullptr;
  if (widest != own) {
    std::snprintf(text, sizeof text, "the matrix is %lld wide here and %lld elsewhere", own, widest);
    report(comm, text, __LINE__);
    wrong = true;
  }
  if (before != part.first) {
    std::snprintf(text, sizeof text, "the rows begin at %d, but the processes before hold %lld", part.first,
                  before);
    report(comm, text, __LINE__);
    wrong = true;
  }
  return agree(comm, wrong) == 0;
}

bool vectorFits(MPI_Comm comm, const Vector& v, int count, const char* name) {
  char text[200];
  bool wrong = v.count != count;
  if (wrong) {
    std::snprintf(text, sizeof text, "%s has %d elements, expected %d", name, v.count, count);
    report(comm, text, __LINE__);
  }
  for (int i = 0; !wrong && i < count; ++i)
    if (!std::isfinite(v[i])) {
      std::snprintf(text, sizeof text, "element %d of %s is not finite", i, name);
      report(comm, text, __LINE__);
      wrong = true;
    }
  return agree(comm, wrong) == 0;
}

bool startFits(MPI_Comm comm, const Vector& x, int count) {
  if (agree(comm, x.count) == 0) return true;
  return vectorFits(comm, x, count, "the start");
}

Scale scaleOf(MPI_Comm comm, const Rows& part, const Vector& b) {
  double largest = 0.0;
  forEachEntry(part, [&](int, int, double value) { take(value, largest); });
  return {exponentOfLargest(comm, largest), exponentOf(comm, b)};
}

int exponentOf(MPI_Comm comm, const Vector& v) {
  double largest = 0.0;
  for (int i = 0; i < v.count; ++i) take(v[i], largest);
  return exponentOfLargest(comm, largest);
}

PetscErrorCode assemble(MPI_Comm comm, const Rows& part, int ownColumns, int exponent, Mat* matrix) {
  const int count = rowsOf(part);
  PetscCall(MatCreate(comm, matrix));
  PetscCall(MatSetSizes(*matrix, count, ownColumns, PETSC_DETERMINE, part.columns));
  PetscCall(MatSetType(*matrix, MATAIJ));

  // Numbers of entries in the columns of this process, and in those of the others.
  long long firstColumn = 0, own = ownColumns;
  int rank = 0;
  MPI_Comm_rank(comm, &rank);
  MPI_Exscan(&own, &firstColumn, 1, MPI_LONG_LONG, MPI_SUM, comm);
  if (rank == 0) firstColumn = 0;
  std::vector<PetscInt> here(static_cast<std::size_t>(count)), elsewhere(static_cast<std::size_t>(count));
  forEachEntry(part, [&](int i, int index, double) {
    const bool inside = index >= firstColumn && index < firstColumn + own;
    (inside ? here : elsewhere)[static_cast<std::size_t>(i)]++;
  });
  PetscCall(MatSeqAIJSetPreallocation(*matrix, 0, here.data()));
  PetscCall(MatMPIAIJSetPreallocation(*matrix, 0, here.data(), 0, elsewhere.data()));

  std::vector<PetscScalar> values;
  for (int i = 0; i < count; ++i) {
    const SpVec* row = part.rows->rows[i];
    if (!row || row->numEntries == 0) continue;
    values.resize(static_cast<std::size_t>(row->numEntries));
    for (int k = 0; k < row->numEntries; ++k)
      values[static_cast<std::size_t>(k)] = std::ldexp(row->values.data[k], -exponent);
    const PetscInt global = part.first + i;
    PetscCall(
        MatSetValues(*matrix, 1, &global, row->numEntries, row->indices.data, values.data(), ADD_VALUES));
  }
  PetscCall(MatAssemblyBegin(*matrix, MAT_FINAL_ASSEMBLY));
  PetscCall(MatAssemblyEnd(*matrix, MAT_FINAL_ASSEMBLY));
  return 0;
}

PetscErrorCode assemble(MPI_Comm comm, const Vector& v, int exponent, Vec* out) {
  PetscCall(VecCreateMPI(comm, v.count, PETSC_DETERMINE, out));
  PetscScalar* to = nullptr;
  PetscCall(VecGetArrayWrite(*out, &to));
  for (int i = 0; i < v.count; ++i) to[i] = std::ldexp(v[i], -exponent);
  PetscCall(VecRestoreArrayWrite(*out, &to));
  return 0;
}

PetscErrorCode extract(Vec v, int exponent, Vector* out) {
  PetscInt count = 0;
  const PetscScalar* from = nullptr;
  PetscCall(VecGetLocalSize(v, &count));
  PetscCall(VecGetArrayRead(v, &from));
  out->grow(count);
  for (int i = 0; i < out->count; ++i) out->e(i) = std::ldexp(from[i], exponent);
  PetscCall(VecRestoreArrayRead(v, &from));
  return 0;
}

}  // namespace limber::petsc::detail
