#include "limber/linalg/BandedCholesky.h"

#include <algorithm>
#include <cstddef>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/BlasMemory.h"
#include "limber/linalg/detail/LapackCalls.h"
#include "limber/linalg/detail/LapackLayout.h"

using namespace limber::detail;

namespace {

// LAPACK sees each row of the band as a column, so m is KD + 1 and n is the order.
struct LapackBand : LapackMatrix {
  explicit LapackBand(const FullMatrix* band) : LapackMatrix(asLapack(band)), kd(m - 1) {}
  int kd;
};

}  // namespace

int cholFactorBanded(FullMatrix* band) {
  const LapackBand a(band);
  if (a.n == 0) return 0;
  if (a.kd < 0) return -3;
  if (!ensureBlasMemory()) return -6;
  int info = 0;
  dpbtrf_("U", &a.n, &a.kd, a.data, &a.ld, &info, 1);
  return info;
}

int cholSolveBanded(FullMatrix* band, Vector* b) {
  const LapackBand a(band);
  if (a.n == 0) return 0;
  if (a.kd < 0) return -3;
  if (!b || b->count < a.n) return -7;
  if (!ensureBlasMemory()) return -8;
  const int one = 1;
  int info = 0;
  dpbtrs_("U", &a.n, &a.kd, &one, a.data, &a.ld, b->data, &a.n, &info, 1);
  return info;
}

double cholCondEst(FullMatrix* band) {
  const LapackBand a(band);
  double rcond = 0.0;
  if (a.n == 0 || a.kd < 0) return rcond;
  double* const work = lapackWorkspace(3LL * a.n);
  int* const integers = lapackIntegers(a.n);
  if (!work || !integers) return rcond;
  const double norm = 1.0;
  int info = 0;
  dpbcon_("U", &a.n, &a.kd, a.data, &a.ld, &norm, &rcond, work, integers, &info, 1);
  return rcond;
}

void compactBanded(FullMatrix* full, FullMatrix* band, int n, int kd) {
  if (kd < 0) return;
  const LapackMatrix from = asLapack(full);
  const LapackMatrix to = asLapack(band);
  const int order = std::min({n, from.m, to.n});
  for (int j = 0; j < order; ++j) {
    double* const column = to.data + static_cast<std::ptrdiff_t>(j) * to.ld;
    for (int i = std::max(0, j - kd); i <= std::min(j, from.n - 1); ++i) {
      const int t = kd - (j - i);
      if (t < to.m) column[t] = from.data[static_cast<std::ptrdiff_t>(i) * from.ld + j];
    }
  }
}
