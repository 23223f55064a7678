#include "limber/solvers/detail/RowSlices.h"

#include <algorithm>
#include <cstring>

#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {
namespace {

constexpr int lanes = 4;
// few enough rows for their sums to be still in the nearest cache
constexpr int block = 1024;

typedef double Pair __attribute__((vector_size(16)));

inline Pair pairAt(const double* p) {
  Pair pair;
  std::memcpy(&pair, p, sizeof pair);
  return pair;
}

}  // namespace

RowSlices::RowSlices(const SparseRows& rows) {
  row_.resize(rows.height);
  index_.reserve(rows.entries());
  value_.reserve(rows.entries());
  Ints begin;
  for (int from = 0; from < rows.height; from += block) {
    const int to = std::min(from + block, rows.height);
    int longest = 0;
    for (int i = from; i < to; ++i) longest = std::max(longest, rows.start[i + 1] - rows.start[i]);
    begin.assign(longest + 2, 0);
    for (int i = from; i < to; ++i) ++begin[rows.start[i + 1] - rows.start[i] + 1];
    for (int length = 0; length <= longest; ++length) begin[length + 1] += begin[length];
    for (int i = from; i < to; ++i) row_[from + begin[rows.start[i + 1] - rows.start[i]]++] = i;
    int done = 0;  // begin[length] is the end of that length's rows now
    for (int length = 0; length <= longest; ++length) {
      if (begin[length] > done) append(rows, from + done, begin[length] - done, length);
      done = std::max(done, begin[length]);
    }
  }
}

void RowSlices::append(const SparseRows& rows, int from, int count, int length) {
  stretches_.push({length, count});
  for (int k = from; k < from + count;) {
    const int together = from + count - k >= lanes ? lanes : 1;
    for (int e = 0; e < length; ++e) {
      for (int lane = 0; lane < together; ++lane) {
        const int at = rows.start[row_[k + lane]] + e;
        index_.push(rows.index[at]);
        value_.push(rows.value[at]);
      }
    }
    k += together;
  }
}

void RowSlices::multiply(const double* x, double* y) const {
  const int* row = row_.data();
  const int* j = index_.data();
  const double* a = value_.data();
  for (const Stretch& stretch : stretches_) {
    int left = stretch.rows;
    for (; left >= lanes; left -= lanes, row += lanes) {
      Pair sum01 = {0.0, 0.0}, sum23 = {0.0, 0.0};
      for (int e = 0; e < stretch.length; ++e, j += lanes, a += lanes) {
        sum01 += pairAt(a) * Pair{x[j[0]], x[j[1]]};
        sum23 += pairAt(a + 2) * Pair{x[j[2]], x[j[3]]};
      }
      y[row[0]] = sum01[0];
      y[row[1]] = sum01[1];
      y[row[2]] = sum23[0];
      y[row[3]] = sum23[1];
    }
    for (; left > 0; --left) {
      double sum = 0.0;
      for (int e = 0; e < stretch.length; ++e, ++j, ++a) sum += *a * x[*j];
      y[*row++] = sum;
    }
  }
}

}  // namespace limber::detail
