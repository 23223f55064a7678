#include "limber/linalg/detail/CompressedRows.h"

#include <algorithm>
#include <climits>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/WierdMatrices.h"
#include "limber/linalg/detail/ClassOf.h"

namespace limber::detail {
namespace {

bool reachable(int index) { return index >= 0 && index < INT_MAX; }

// Calls visit(A) with A as an object of its class, for the classes that hide height, width and acc from
// SpMat.
template <class Visit>
int withItsClass(const SpMat& A, Visit visit) {
  if (auto* const m = exactly<SQPMatrix>(&A)) return visit(*m);
  if (auto* const m = exactly<IdentityMatrix>(&A)) return visit(*m);
  if (auto* const m = exactly<DiagonalMatrix>(&A)) return visit(*m);
  if (auto* const m = exactly<BandedMatrix>(&A)) return visit(*m);
  return visit(A);
}

// The number of diagonals on each side of the main one that may be non-zero.
long long bandOf(const SpMat&) { return INT_MAX; }
long long bandOf(const IdentityMatrix&) { return 0; }
long long bandOf(const DiagonalMatrix&) { return 0; }
long long bandOf(const BandedMatrix& A) { return std::max(A.bw, 0); }

// Calls visit(i, j, element) for every element that may be non-zero, in ascending i and j. Returns the
// height.
template <class Visit>
int visitElements(const SpMat& A, Visit visit) {
  return withItsClass(A, [visit](auto& m) {
    const int height = m.height(), width = m.width();
    const long long band = bandOf(m);
    for (int i = 0; i < height; ++i) {
      const long long end = std::min<long long>(width, i + band + 1);
      for (int j = static_cast<int>(std::max(0LL, i - band)); j < end; ++j) visit(i, j, m.acc(i, j));
    }
    return height;
  });
}

}  // namespace

bool CompressedRows::reserve(int height, long long entries) {
  height_ = 0;
  if (!starts_.reserve(height + 1LL) || !indices_.reserve(entries) || !values_.reserve(entries)) return false;
  height_ = height;
  return true;
}

// visit(each) calls each(i, j, value) for every entry, row by row, and returns the height. The first visit
// counts the entries, the second one copies them.
template <class Visit>
bool CompressedRows::take(Visit visit) {
  long long n = 0;
  const int height = std::max(visit([&n](int, int, double) { ++n; }), 0);
  if (!reserve(height, n)) return false;
  std::fill_n(starts_.get(), height + 1LL, n);
  long long next = 0;
  int row = 0;
  visit([&](int i, int j, double value) {
    if (next >= n) return;  // acc may return other values the second time
    while (row <= i) starts_[row++] = next;
    indices_[next] = j;
    values_[next++] = value;
  });
  return true;
}

bool CompressedRows::takeRows(const HSpMat& A) {
  return take([&A](auto each) {
    for (int i = 0; i < A.numRows; ++i) {
      const SpVec* const row = A.rows[i];
      for (int k = 0; row && k < row->numEntries; ++k) {
        if (reachable(row->indices[k])) each(i, row->indices[k], row->values[k]);
      }
    }
    return A.numRows;
  });
}

bool CompressedRows::takeElements(const SpMat& A) {
  return take([&A](auto each) {
    return visitElements(A, [&each](int i, int j, double value) {
      if (value != 0.0) each(i, j, value);
    });
  });
}

bool CompressedRows::takeTransposed(const CompressedRows& rows, int width) {
  width = std::max(width, 0);
  if (!reserve(width, rows.entries())) return false;
  // Counts each column, sums the counts to the starts of the columns, and fills the columns up to their ends,
  // which are the starts of the next ones.
  std::fill_n(starts_.get(), width + 1LL, 0LL);
  const auto visit = [&rows, width](auto each) {
    for (int i = 0; i < rows.height(); ++i) {
      for (int k = 0; k < rows.length(i); ++k) {
        if (rows.indices(i)[k] < width) each(i, rows.indices(i)[k], rows.values(i)[k]);
      }
    }
  };
  visit([this](int, int j, double) { ++starts_[j + 1LL]; });
  for (int j = 0; j < width; ++j) starts_[j + 1LL] += starts_[j];
  for (int j = width; j > 0; --j) starts_[j] = starts_[j - 1];
  visit([this](int i, int j, double value) {
    indices_[starts_[j + 1LL]] = i;
    values_[starts_[j + 1LL]++] = value;
  });
  return true;
}

int CompressedRows::widthOf(const SpMat& A) {
  return withItsClass(A, [](auto& m) { return m.width(); });
}

int CompressedRows::reach() const {
  const int* const end = indices_.get() + entries();
  return entries() > 0 ? *std::max_element(static_cast<const int*>(indices_.get()), end) + 1 : 0;
}

}  // namespace limber::detail
