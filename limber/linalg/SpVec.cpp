#include "limber/linalg/SpVec.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "limber/foundation/Output.h"
#include "limber/linalg/detail/OrderedSums.h"
#include "limber/linalg/detail/RowStorage.h"

using namespace limber::detail;

SpVec::SpVec(int n) { init(n); }

SpVec::SpVec(const SpVec* src) {
  if (src && !reserveValues(*this, std::max(src->maxEntries, src->numEntries + 2))) return;
  init(src ? src->maxEntries : 4);
  if (src) copy(*src, *this);
}

SpVec::SpVec(const SpVec& src) : SpVec(&src) {}

SpVec::~SpVec() = default;

SpVec& SpVec::operator=(const SpVec& src) {
  copy(src, *this);
  return *this;
}

void SpVec::init(int n) {
  zero();
  maxEntries = n;
  if (!reserveValues(*this, n)) return;
  if (!indices.data || indices.capacity < n + 4) setIndexRoom(*this, n + 4);
}

double SpVec::v(int i) const {
  for (int k = 0; k < numEntries; ++k)
    if (indices.data[k] == i) return values.data[k];
  return 0.0;
}

void SpVec::ins(double x, int i) {
  if (isTiny(x)) return;
  if (numEntries >= maxEntries) grow(2 * maxEntries);
  if (!roomForAppend(*this)) return;
  double* value = values.data;
  int* index = indices.data;
  int p = numEntries;
  if (i >= width) {
    width = widthFor(i);
  } else {
    while (p > 0 && index[p - 1] > i) --p;
  }
  // Contract: indices stay unique. After compact() `width` is the last index itself, so an entry at that
  // index is found here.
  if (p > 0 && index[p - 1] == i) {
    value[p - 1] += x;
    return;
  }
  if (p < numEntries) {
    std::copy_backward(value + p, value + numEntries, value + numEntries + 1);
    std::copy_backward(index + p, index + numEntries, index + numEntries + 1);
  }
  value[p] = x;
  index[p] = i;
  values.count = indices.count = ++numEntries;
}

void SpVec::insEnd(double x, int i) {
  if (isTiny(x) || !roomForAppend(*this)) return;
  values.data[numEntries] = x;
  indices.data[numEntries] = i;
  values.count = indices.count = ++numEntries;
  width = widthFor(i);
}

void SpVec::grow(int n) {
  if (!setValueRoom(*this, n)) return;
  if ((indices.capacity == 0 || indices.capacity < n) && !setIndexRoom(*this, n + 4)) return;
  maxEntries = n;
}

void SpVec::zero() {
  width = -1;
  numEntries = values.count = indices.count = 0;
}

void SpVec::scale(double s) {
  for (int k = 0; k < numEntries; ++k) values.data[k] *= s;
}

void SpVec::quantize(double q) {
  for (int k = 0; k < numEntries; ++k) values.data[k] = std::floor(values.data[k] * q + 0.5) / q;
  compact(0.5 / q);
}

void SpVec::compact(double threshold) {
  const int keptValues = values.count;
  drop(threshold);
  // Contract: the count of the values and the width do not change here.
  values.count = keptValues;
  width = numEntries > 0 ? indices.data[numEntries - 1] : 0;
}

void SpVec::drop(double threshold) {
  int kept = 0;
  for (int k = 0; k < numEntries; ++k) {
    if (std::fabs(values.data[k]) < threshold) continue;
    values.data[kept] = values.data[k];
    indices.data[kept] = indices.data[k];
    ++kept;
  }
  numEntries = values.count = indices.count = kept;
  width = kept > 0 ? widthFor(indices.data[kept - 1]) : -1;
}

double SpVec::magSq() const { return orderedDot(numEntries, values.data, values.data); }

double SpVec::mag() const { return std::sqrt(magSq()); }

double SpVec::weightedL2(const Vector* w) const {
  if (!w) return magSq();
  double sum = 0.0;
  for (int k = 0; k < numEntries; ++k) {
    const double value = values.data[k];
    if (inStorage(*w, indices.data[k])) sum += w->data[indices.data[k]] * (value * value);
  }
  return sum;
}

double SpVec::addElems() const {
  double sum = 0.0;
  for (int k = 0; k < numEntries; ++k) sum += values.data[k];
  return sum;
}

void SpVec::scatter(Vector* v) const {
  if (!v) return;
  *v = 0.0;
  for (int k = 0; k < numEntries; ++k)
    if (indices.data[k] >= 0) v[indices.data[k]] = values.data[k];
}

void SpVec::gather(Vector* v) {
  if (!v) return;
  const int n = v->count;
  for (int i = 0; i < std::min(n, v->capacity); ++i)
    if (v->data[i] != 0.0) insEnd(v->data[i], i);
}

void SpVec::scatterAdd(Vector* v, double s) const {
  if (!v) return;
  for (int k = 0; k < numEntries; ++k)
    if (inStorage(*v, indices.data[k])) v->data[indices.data[k]] += s * values.data[k];
}

void SpVec::print() const {
  stdoutPrintf("SpVec [%d of %d] width [%d] ", numEntries, maxEntries, width);
  for (int k = 0; k < std::min(numEntries, 4); ++k)
    stdoutPrintf("(%d %5.2f)", indices.data[k], values.data[k]);
  stdoutPrintf(numEntries < 5 ? "\n" : "...\n");
}

void SpVec::sprint(char* buf) const {
  if (buf) std::sprintf(buf, "SpVec [%d of %d] width [%d]", numEntries, maxEntries, width);
}

void SpVec::portray(int n) const {
  stdoutPrintf("[");
  for (int i = 0; i < n; ++i) stdoutPrintf(numberPrintFormat, v(i));
  stdoutPrintf("...]");
}

void copy(const SpVec& src, SpVec& dst) {
  dst.grow(std::max(dst.maxEntries, src.numEntries + 2));
  if (dst.maxEntries < src.numEntries) return;  // no memory: the row is empty
  const int n = src.numEntries;
  dst.width = src.width;
  if (&src != &dst) {
    std::copy_n(src.indices.data, n, dst.indices.data);
    std::copy_n(src.values.data, n, dst.values.data);
  }
  dst.numEntries = dst.values.count = dst.indices.count = n;
}
