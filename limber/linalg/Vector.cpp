#include "limber/linalg/Vector.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <new>

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/detail/OrderedSums.h"
#include "limber/linalg/detail/ResizeStatistics.h"

namespace {

using namespace limber::detail;

constexpr int localRoom = 4;

// True if an object was constructed at address 0. The compiler may assume that this cannot happen, so it
// must not see where the address comes from.
bool isNull(const void* object) {
  __asm__ volatile("" : "+r"(object));
  return !object;
}

void makeEmpty(Vector& v) {
  v.count = 0;
  v.capacity = localRoom;
  v.data = v.localData;
}

// Constructs n zeros in an uninitialised object, with room for maxSize.
void construct(Vector* v, int n, int maxSize) {
  if (isNull(v)) {
    ReportSite{"Vectors", __LINE__}.fatal("!this (vector)");
    return;
  }
  std::fill_n(v->localData, localRoom, 0.0);
  makeEmpty(*v);
  const int room = std::max(n, maxSize);
  if (room > localRoom) {
    double* heap = new (std::nothrow) double[static_cast<std::size_t>(room)]();
    if (!heap) {
      ReportSite{"Vectors", __LINE__}.fatal(newFails);
      return;
    }
    v->data = heap;
    v->capacity = room;
  }
  v->count = n;
}

int commonCount(const Vector& a, const Vector* b) { return b ? std::min(a.count, b->count) : 0; }

// this[i] = f(this[i], src[i]) over the common part.
template <class F>
void combine(Vector& v, const Vector* src, F f) {
  const int n = commonCount(v, src);
  double* to = v.data;
  const double* from = src ? src->data : nullptr;
  // Unrolled, because loop counting takes a tenth of the time while the vectors are in the cache.
#pragma GCC unroll 4
  for (int i = 0; i < n; ++i) to[i] = f(to[i], from[i]);
}

constexpr auto plus = [](double x, double y) { return y + x; };
constexpr auto minus = [](double x, double y) { return x - y; };
constexpr auto times = [](double x, double y) { return x * y; };
constexpr auto dividedBy = [](double x, double y) { return x / y; };

// Element i, or the nearest one inside the vector's storage.
double nearest(const Vector& v, int i) {
  return v.capacity > 0 && v.data ? v.data[std::clamp(i, 0, v.capacity - 1)] : 0.0;
}

}  // namespace

Vector::Vector(int n, const char*, int) { construct(this, n, 0); }

Vector::Vector(int n, int maxSize) { construct(this, n, maxSize); }

Vector::Vector(int n, std::nullptr_t) { construct(this, n, 0); }

Vector::Vector(int n, double* array) {
  if (n > 0 && !array) {
    construct(this, n, 0);
    return;
  }
  count = capacity = n;
  data = array;
}

Vector::Vector(const Vector& src) {
  construct(this, src.count, 0);
  *this = src;
}

Vector::~Vector() {
  if (capacity > localRoom) delete[] data;
}

void Vector::operator=(double x) {
  for (int i = 0; i < count; ++i) data[i] = x;
}

void Vector::operator=(const Vector& src) {
  if (this == &src) return;
  grow(src.count);
  std::copy_n(src.data, std::min(count, src.count), data);
}

void Vector::operator=(const Vector* src) {
  if (src) *this = *src;
}

void Vector::resize(int n) {
  if (n <= capacity) return;
  countVectorResize(n, capacity);
  const long long doubled = std::min(2LL * std::max(capacity, 0) + 8, static_cast<long long>(INT_MAX));
  const int room = std::max(n, static_cast<int>(doubled));
  double* heap = new (std::nothrow) double[static_cast<std::size_t>(room)];
  const bool owned = capacity > localRoom;
  if (!heap) {
    ReportSite{"Vectors", __LINE__}.fatal(newFails);
    if (owned) delete[] data;
    makeEmpty(*this);
    return;
  }
  const int kept = std::clamp(count, 0, std::max(capacity, 0));
  std::copy_n(data, kept, heap);
  std::fill(heap + kept, heap + room, 0.0);
  if (owned) delete[] data;
  capacity = room;
  data = heap;
}

void Vector::operator+=(const Vector& src) { combine(*this, &src, plus); }
void Vector::operator+=(Vector* src) { combine(*this, src, plus); }
void Vector::operator-=(const Vector& src) { combine(*this, &src, minus); }
void Vector::operator-=(Vector* src) { combine(*this, src, minus); }
void Vector::operator*=(const Vector& src) { combine(*this, &src, times); }
void Vector::operator/=(const Vector& src) { combine(*this, &src, dividedBy); }
void Vector::operator/=(Vector* src) { combine(*this, src, dividedBy); }

void Vector::operator+=(double s) {
  for (int i = 0; i < count; ++i) data[i] += s;
}

void Vector::operator*=(double s) {
  for (int i = 0; i < count; ++i) data[i] *= s;
}

void Vector::scale(double s) { *this *= s; }

void Vector::sum(Vector* a, const Vector* b) {
  if (!a || !b) return;
  const int n = std::min(commonCount(*this, a), b->count);
  for (int i = 0; i < n; ++i) data[i] = b->data[i] + a->data[i];
}

void Vector::scaleAdd(double s, Vector* src) {
  combine(*this, src, [s](double x, double y) { return s * y + x; });
}

double Vector::magSq() const { return orderedDot(count, data, data); }

double Vector::mag() const { return std::sqrt(magSq()); }

double Vector::addElems() const {
  double sum = 0.0;
  for (int i = count < capacity ? count : count - 1; i >= 0; --i) sum += data[i];
  return sum;
}

int Vector::closestToInSorted(double x) const {
  if (count <= 0 || x < data[0]) return 0;
  int hi = count - 1;
  if (data[hi] < x) return hi;
  int lo = 0;
  while (lo + 1 < hi) {
    const int mid = lo + (hi - lo) / 2;
    if (data[mid] > x)
      hi = mid;
    else if (data[mid] == x)
      return mid;
    else
      lo = mid;
  }
  return lo;
}

double Vector::lerp(double t) const {
  if (t <= 0.0) {
    const double e0 = nearest(*this, 0), e1 = nearest(*this, 1);
    return e0 + (e1 - e0) * t;
  }
  if (t >= count - 1) {
    const double a = nearest(*this, count - 2), b = nearest(*this, count - 1);
    return a + (b - a) * (t - count + 2.0);
  }
  if (std::isnan(t)) return t;
  const int i = static_cast<int>(t);
  const double f = t - i;
  return (1.0 - f) * data[i] + f * data[i + 1];
}

void Vector::print() const {
  stdoutPrintf("[");
  for (int i = 0; i < count; ++i) stdoutPrintf(numberPrintFormat, data[i]);
  stdoutPrintf("]");
}

double dot(Vector* a, Vector* b) { return a && b ? orderedDot(commonCount(*a, b), a->data, b->data) : 0.0; }

double magSq(Vector* v) { return v ? v->magSq() : 0.0; }

void scaleAdd(Vector* dst, double s, Vector* src) {
  if (dst) dst->scaleAdd(s, src);
}

void scaleCopy(double s, Vector* src, Vector* dst) {
  if (!src || !dst) return;
  dst->grow(src->count);
  const int n = commonCount(*dst, src);
  for (int i = 0; i < n; ++i) dst->data[i] = s * src->data[i];
}
