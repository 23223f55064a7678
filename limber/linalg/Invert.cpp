#include <new>
#include <type_traits>

#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/detail/GaussJordan.h"

namespace {

struct SingularWatcher : limber::detail::GaussJordanWatcher {
  bool singular = false;
  void columnUsedTwice() { singular = true; }
  void zeroPivot() { singular = true; }
};

}  // namespace

int FullMatrix::invert() {
  if (numRows != numColumns) {
    kind = 1;
    return 0;
  }
  if (numRows < 1 || !data) return 1;
  const std::size_t n = static_cast<std::size_t>(numRows);
  double* const work = new (std::nothrow) double[n * n];
  const std::size_t room = n > 200 ? n : 200;
  int* const counts = new (std::nothrow) int[3 * room];
  decltype(limber::detail::GaussJordanScratch::closed) closed =
      new (std::nothrow) std::remove_pointer_t<decltype(limber::detail::GaussJordanScratch::closed)>[room];
  if (work && counts && closed) {
    for (int i = 0; i < numRows; ++i) {
      for (int j = 0; j < numRows; ++j) work[i * numRows + j] = (*this)(i, j);
    }
    SingularWatcher watcher;
    limber::detail::gaussJordan(work, numRows, numRows, {counts, counts + room, counts + 2 * room, closed},
                                watcher);
    if (watcher.singular) kind = 3;
    for (int i = 0; i < numRows; ++i) {
      for (int j = 0; j < numRows; ++j) (*this)(i, j) = work[i * numRows + j];
    }
  } else {
    limber::detail::ReportSite{"Vectors", __LINE__}.fatal(limber::detail::newFails);
  }
  delete[] work;
  delete[] counts;
  delete[] closed;
  return 1;
}
