#include "limber/linalg/detail/LapackLayout.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <new>

#include "limber/foundation/Report.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/detail/BlasMemory.h"

namespace limber::detail {

namespace {

// An array that lives as long as the process. It is `fixed` until a caller needs more than that holds.
template <class T>
class GrowingSpace {
 public:
  constexpr GrowingSpace(T* fixed, long long length) : data_(fixed), length_(length) {}

  T* reserve(long long n) {
    if (n <= length_) return data_;
    T* const larger = n <= LLONG_MAX / 16 ? new (std::nothrow) T[static_cast<std::size_t>(n)] : nullptr;
    if (!larger) {
      FATAL_ERROR(newFails);
      return nullptr;
    }
    if (grown_) delete[] data_;
    grown_ = true;
    data_ = larger;
    length_ = n;
    return data_;
  }

 private:
  T* data_;
  long long length_;
  bool grown_ = false;
};

constexpr int fixedIntegers = 4096;
double fixedWork[lapackWorkspaceLength];
int fixedInts[fixedIntegers];
GrowingSpace<double> workspace(fixedWork, lapackWorkspaceLength);
GrowingSpace<int> integers(fixedInts, fixedIntegers);

}  // namespace

LapackMatrix asLapack(const FullMatrix* matrix) {
  if (!matrix || !matrix->data || matrix->numRows < 0 || matrix->numColumns < 0) return {nullptr, 0, 0, 1};
  return {matrix->data, matrix->numColumns, matrix->numRows, std::max(1, matrix->numColumns)};
}

double* lapackWorkspace(long long n) { return ensureBlasMemory() ? workspace.reserve(n) : nullptr; }

int* lapackIntegers(int n) { return ensureBlasMemory() ? integers.reserve(n) : nullptr; }

const int* pivotsToLapack(const long* pivots, int n, int largest) {
  int* const converted = pivots ? lapackIntegers(n) : nullptr;
  if (!converted) return nullptr;
  for (int i = 0; i < n; ++i) {
    if (pivots[i] < 1 || pivots[i] > largest) return nullptr;
    converted[i] = static_cast<int>(pivots[i]);
  }
  return converted;
}

}  // namespace limber::detail
