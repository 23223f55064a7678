#include "limber/linalg/IntVec.h"

#include <algorithm>
#include <new>

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/ReportSite.h"

using namespace limber::detail;

IntVec::IntVec(int n, int maxSize) : count(0), capacity(0), data(nullptr) {
  if (n == 0 && maxSize == 0) return;
  const int room = std::max({n, maxSize, 0});
  data = new (std::nothrow) int[static_cast<std::size_t>(room)];
  if (!data) {
    ReportSite{"Vectors", __LINE__}.fatal(newFails);
    return;
  }
  capacity = room;
  count = n;
}

IntVec::IntVec(const IntVec& src) = default;

IntVec& IntVec::operator=(const IntVec& src) = default;

IntVec::~IntVec() { delete[] data; }

void IntVec::print() const {
  stdoutPrintf("[");
  for (int i = 0; i < count; ++i) stdoutPrintf("%d ", data[i]);
  stdoutPrintf("]");
}

void IntVec::range(int& lo, int& hi) const {
  int loIndex, hiIndex;
  range(lo, loIndex, hi, hiIndex);
}

void IntVec::range(int& lo, int& loIndex, int& hi, int& hiIndex) const {
  if (count <= 0) {
    lo = loIndex = hi = hiIndex = 0;
    return;
  }
  loIndex = static_cast<int>(std::min_element(data, data + count) - data);
  hiIndex = static_cast<int>(std::max_element(data, data + count) - data);
  lo = data[loIndex];
  hi = data[hiIndex];
}
