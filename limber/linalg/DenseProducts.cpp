#include "limber/linalg/DenseProducts.h"

#include <algorithm>
#include <cstdint>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/detail/DenseStorage.h"

using namespace limber::detail;

namespace {

bool fits(const FullMatrix& a, const FullMatrix& b, const FullMatrix& c) {
  return runsOnStorage(a) && runsOnStorage(b) && runsOnStorage(c) && c.data != a.data && c.data != b.data &&
         c.numRows <= a.numRows && c.numColumns <= b.numColumns && a.numColumns <= b.numRows;
}

}  // namespace

void mult(FullMatrix& a, FullMatrix& b, FullMatrix& c) {
  if (fits(a, b, c)) {
    // Computes whole rows of c at a time. Each place still gets its terms in ascending k.
    for (int i = 0; i < c.numRows; ++i) {
      double* __restrict out = c[i];
      std::fill_n(out, c.numColumns, 0.0);
      for (int k = 0; k < a.numColumns; ++k) {
        const double aik = a.e(i, k);
        const double* __restrict row = b[k];
        for (int j = 0; j < c.numColumns; ++j) out[j] += aik * row[j];
      }
    }
    return;
  }
  for (int i = 0; i < c.numRows; ++i) {
    for (int j = 0; j < c.numColumns; ++j) {
      double sum = 0.0;
      for (int k = 0; k < a.numColumns; ++k) {
        const double left = a(i, k);
        sum += left * b(k, j);
      }
      c(i, j) = sum;
    }
  }
}

void nmult(SpMat& a, SpMat& b, FullMatrix& c) {
  const int w = c.width();
  const int h = c.height();
  const int n = a.height();
  const std::int64_t room = denseRoom(c);
  for (int r = 0; r < w; ++r) {
    for (int s = 0; s < h; ++s) {
      double sum = 0.0;
      for (int k = 0; k < n; ++k) sum += a.acc(r, k) * b.acc(k, s);
      const std::int64_t place = static_cast<std::int64_t>(r) * c.numColumns + s;
      if (place < room) c.data[place] = sum;
    }
  }
}
