#include "limber/linalg/detail/SlicedRows.h"

#include <algorithm>
#include <cstring>

#include "limber/linalg/SpVec.h"
#include "limber/linalg/detail/Pieces.h"
#include "limber/linalg/detail/RowStorage.h"

namespace limber::detail {
namespace {

constexpr int slice = 4;
// few enough rows to be still in the cache when they are added up
constexpr int block = 1024;

// Two lanes, in one register wherever there are some for two.
typedef double Pair __attribute__((vector_size(16)));

inline Pair pairAt(const double* p) {
  Pair pair;
  std::memcpy(&pair, p, sizeof pair);
  return pair;
}

int entriesOf(const SpVec* row) { return row ? std::max(row->numEntries, 0) : 0; }

// to[0], to[step], ... = from[0], from[1], ...
template <class T>
void spread(const T* from, int n, T* to, int step) {
  for (int k = 0; k < n; ++k) to[k * step] = from[k];
}

// y[index] += s value for `count` entries, `step` apart.
template <int step, int count>
[[gnu::always_inline]] inline bool addEntries(const int*& index, const double*& value, double s, double* y) {
#pragma GCC unroll 16
  for (int k = 0; k < count; ++k) y[index[k * step]] += s * value[k * step];
  index += count * step;
  value += count * step;
  return true;
}

template <int step>
[[gnu::always_inline]] inline void addRow(const int* index, const double* value, int n, double s, double* y) {
  inPieces(n, [&](auto count) { return addEntries<step, decltype(count)::value>(index, value, s, y); });
}

bool allInside(const int* indices, int n, int width) {
  bool inside = true;
  for (int k = 0; k < n; ++k) inside &= static_cast<unsigned>(indices[k]) < static_cast<unsigned>(width);
  return inside;
}

}  // namespace

int SlicedRows::blocks() const { return (height_ + block - 1) / block; }

int SlicedRows::end(int b) const { return std::min((b + 1) * block, height_); }

bool SlicedRows::reserve(const SpVec* const* rows, int n) {
  if (n <= 0 || n > most) return false;
  long long entries = 0;
  int longest = 0;
  for (int i = 0; i < n; ++i) {
    entries += entriesOf(rows[i]);
    longest = std::max(longest, entriesOf(rows[i]));
  }
  if (entries > most) return false;
  const int room = static_cast<int>(entries);
  return place_.reserve(n) && slice_.reserve(n) && order_.reserve(n) && first_.reserve(n / block + 2) &&
         lengths_.reserve(longest + 2) && indices_.reserve(room) && values_.reserve(room);
}

bool SlicedRows::copy(const SpVec* const* rows, int n, int width) {
  height_ = width_ = slices_ = filled_ = 0;
  if (!reserve(rows, n) || !copyBlocks(rows, n, width)) return false;
  height_ = n;
  width_ = width;
  first_[blocks()] = slices_;
  return true;
}

bool SlicedRows::copyBlocks(const SpVec* const* rows, int n, int width) {
  for (int from = 0; from < n; from += block) {
    const int to = std::min(from + block, n);
    first_[from / block] = slices_;
    for (int i = from; i < to; ++i) place_[i].length = entriesOf(rows[i]);
    layOut(from, to);
    for (int i = from; i < to; ++i) {
      const Place place = place_[i];
      if (place.length == 0) continue;
      const int* const indices = rows[i]->indices.data;
      if (!allInside(indices, place.length, width)) return false;
      spread(indices, place.length, indices_.get() + place.start, place.step);
      spread(rows[i]->values.data, place.length, values_.get() + place.start, place.step);
    }
  }
  return true;
}

// Sorts a block's rows by length, counting them, and gives each its place.
void SlicedRows::layOut(int from, int to) {
  int longest = 0;
  for (int i = from; i < to; ++i) longest = std::max(longest, place_[i].length);
  std::fill_n(lengths_.get(), longest + 2, 0);
  for (int i = from; i < to; ++i) ++lengths_[place_[i].length + 1];
  for (int length = 0; length <= longest; ++length) lengths_[length + 1] += lengths_[length];
  for (int i = from; i < to; ++i) order_[from + lengths_[place_[i].length]++] = i;

  // lengths_[length] is where the rows of that length end now
  int next = from;
  for (int length = 0; length <= longest; ++length) {
    for (const int last = from + lengths_[length]; next < last;) {
      const int lanes = last - next >= slice ? slice : 1;
      slice_[slices_++] = {length, lanes};
      for (int lane = 0; lane < lanes; ++lane) place_[order_[next++]] = {filled_ + lane, length, lanes};
      filled_ += lanes * length;
    }
  }
}

void SlicedRows::multiplyBlock(int b, const double* x, double* y) const {
  const int* row = order_.get() + b * block;
  // the first row's entries are the first of the block
  const int start = place_[*row].start;
  const int* index = indices_.get() + start;
  const double* value = values_.get() + start;
  const Slice* const last = slice_.get() + first_[b + 1];
  for (const Slice* s = slice_.get() + first_[b]; s != last; ++s) {
    if (s->lanes == slice) {
      Pair sum01 = {0.0, 0.0}, sum23 = {0.0, 0.0};
      for (int k = 0; k < s->length; ++k, index += slice, value += slice) {
        sum01 += Pair{x[index[0]], x[index[1]]} * pairAt(value);
        sum23 += Pair{x[index[2]], x[index[3]]} * pairAt(value + 2);
      }
      y[row[0]] = sum01[0];
      y[row[1]] = sum01[1];
      y[row[2]] = sum23[0];
      y[row[3]] = sum23[1];
      row += slice;
    } else {
      double sum = 0.0;
      for (int k = 0; k < s->length; ++k, ++index, ++value) sum += x[*index] * *value;
      y[*row++] = sum;
    }
  }
}

void SlicedRows::addBlock(int b, const double* x, double* y) const {
  for (int i = b * block; i < end(b); ++i) {
    const double s = x[i];
    if (isTiny(s)) continue;
    const Place place = place_[i];
    const int* const index = indices_.get() + place.start;
    const double* const value = values_.get() + place.start;
    if (place.step == slice) {
      addRow<slice>(index, value, place.length, s, y);
    } else {
      addRow<1>(index, value, place.length, s, y);
    }
  }
}

void SlicedRows::multiply(const double* x, double* y) const {
  for (int b = 0; b < blocks(); ++b) multiplyBlock(b, x, y);
}

void SlicedRows::multiplyTransposed(const double* x, double* y) const {
  std::fill_n(y, width_, 0.0);
  for (int b = 0; b < blocks(); ++b) addBlock(b, x, y);
}

void SlicedRows::multiplyNormal(const double* x, double shift, double* t, double* y) const {
  std::fill_n(y, width_, 0.0);
  for (int b = 0; b < blocks(); ++b) {
    multiplyBlock(b, x, t);
    if (shift != 0.0) {
      for (int i = b * block; i < end(b); ++i) t[i] += shift;
    }
    addBlock(b, t, y);
  }
}

}  // namespace limber::detail
