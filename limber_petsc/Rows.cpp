#include "limber_petsc/Rows.h"

#include <new>

#include "limber/linalg/Vector.h"
#include "limber_petsc/detail/Engine.h"

namespace limber::petsc {

Part evenPart(MPI_Comm comm, int total) {
  int rank = 0, size = 1;
  MPI_Comm_rank(comm, &rank);
  MPI_Comm_size(comm, &size);
  const int each = total / size, more = total % size;
  return {rank * each + (rank < more ? rank : more), each + (rank < more ? 1 : 0)};
}

int gather(MPI_Comm comm, const Vector& part, Vector* all) {
  int size = 1;
  MPI_Comm_size(comm, &size);
  int* counts = new (std::nothrow) int[2 * static_cast<std::size_t>(size)];
  if (detail::agree(comm, counts == nullptr)) {
    if (!counts) detail::report(comm, "no memory to gather a vector", __LINE__);
    delete[] counts;
    return 1;
  }
  int* starts = counts + size;
  MPI_Allgather(&part.count, 1, MPI_INT, counts, 1, MPI_INT, comm);
  long long total = 0;
  for (int i = 0; i < size; ++i) {
    starts[i] = static_cast<int>(total);
    total += counts[i];
  }
  Vector whole(total <= 0x7fffffff ? static_cast<int>(total) : 0);
  const bool short_ = whole.count != total;
  if (short_) detail::report(comm, "no memory to gather a vector", __LINE__);
  const int failed = detail::agree(comm, short_);
  if (!failed) {
    MPI_Allgatherv(part.data, part.count, MPI_DOUBLE, whole.data, counts, starts, MPI_DOUBLE, comm);
    *all = whole;
  }
  delete[] counts;
  return failed;
}

}  // namespace limber::petsc
