#include "limber/linalg/detail/LapackLayout.h"

#include <algorithm>
#include <climits>

#include "limber/foundation/Report.h"
#include "limber/foundation/detail/CreatedOnFirstUse.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/detail/BlasMemory.h"
#include "limber/linalg/detail/GrowingArray.h"

namespace limber::detail {

namespace {

constexpr int fixedIntegers = 4096;
double fixedWork[lapackWorkspaceLength];
int fixedInts[fixedIntegers];

// The arrays of callers that need more than the fixed ones hold.
struct Larger {
  GrowingArray<double> work;
  GrowingArray<int> integers;
};
Larger& larger() { return createdOnFirstUse<Larger>(); }

template <class T>
T* reserved(GrowingArray<T>& space, long long n) {
  if (n <= LLONG_MAX / 16 && space.reserve(n)) return space.get();
  FATAL_ERROR(newFails);
  return nullptr;
}

}  // namespace

LapackMatrix asLapack(const FullMatrix* matrix) {
  if (!matrix || !matrix->data || matrix->numRows < 0 || matrix->numColumns < 0) return {nullptr, 0, 0, 1};
  return {matrix->data, matrix->numColumns, matrix->numRows, std::max(1, matrix->numColumns)};
}

double* lapackWorkspace(long long n) {
  if (!ensureBlasMemory()) return nullptr;
  return n <= lapackWorkspaceLength ? fixedWork : reserved(larger().work, n);
}

int* lapackIntegers(int n) {
  if (!ensureBlasMemory()) return nullptr;
  return n <= fixedIntegers ? fixedInts : reserved(larger().integers, n);
}

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
