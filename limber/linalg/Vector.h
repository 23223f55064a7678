#pragma once

/// @file
/// The dense vector, which every matrix product and solver takes and returns.

#include <cstddef>
#include <type_traits>

#include "limber/Api.h"

/// A growable array of doubles. Up to four elements live inside the object; storage never shrinks. Operations
/// between vectors of different sizes act on the common leading part and do not change the rest. Indices are
/// not checked. The vector owns `data` exactly when `capacity` is greater than 4.
class LIMBER_API Vector {
  /// Number types other than double and int, which have overloads of their own: unsigned, long, std::size_t.
  template <class Number, class Result>
  using IfOtherNumber = std::enable_if_t<std::is_arithmetic_v<Number> && !std::is_same_v<Number, double> &&
                                             !std::is_same_v<Number, int>,
                                         Result>;

 public:
  int count;
  int capacity;
  double* data;
  double localData[4];

  /// n zeros. `file` and `line` name the construction site; they are accepted and not stored.
  Vector(int n = 0, const char* file = 0, int line = -3);
  /// n zeros with room for maxSize elements, or for n if that is more.
  Vector(int n, int maxSize);
  /// Adopts the array: nothing is copied or cleared. An array of more than four elements is later released
  /// with delete[], a shorter one never. n zeros if `array` is null.
  Vector(int n, double* array);
  /// n zeros. Resolves a null pointer, which could be the file name or the array.
  Vector(int n, std::nullptr_t);
  /// Vector(n, maxSize) for other types of integers, and n zeros for a null that is a number, such as NULL.
  template <class Integer, class = IfOtherNumber<Integer, void>>
  Vector(int n, Integer maxSize) : Vector(n, static_cast<int>(maxSize)) {}
  /// A deep copy with the capacity of Vector(src.count).
  Vector(const Vector& src);
  ~Vector();

  LIMBER_INLINE int size() const { return count; }
  LIMBER_INLINE int maxSize() const { return capacity; }
  LIMBER_INLINE double& operator[](int i) const { return data[i]; }
  LIMBER_INLINE double& e(int i) const { return data[i]; }
  /// The elements as a range: for (double& x : v).
  LIMBER_INLINE double* begin() { return data; }
  LIMBER_INLINE double* end() { return data + count; }
  LIMBER_INLINE const double* begin() const { return data; }
  LIMBER_INLINE const double* end() const { return data + count; }

  /// this[i] = x.
  void operator=(double x);
  LIMBER_INLINE void operator=(int x) { *this = static_cast<double>(x); }
  template <class Number>
  IfOtherNumber<Number, void> operator=(Number x) {
    *this = static_cast<double>(x);
  }
  /// Takes the size and the elements of src.
  void operator=(const Vector& src);
  void operator=(const Vector* src);

  /// Sets the size. Elements that become visible keep their values in the storage: zeros after a
  /// reallocation, the old values after a shrink.
  LIMBER_INLINE void grow(int n) {
    if (n > capacity) resize(n);
    count = n <= capacity ? n : 0;
  }
  /// Makes room for n elements, at least twice the old capacity and 8 more when it must reallocate; the new
  /// elements are zeros. The size stays.
  void resize(int n);
  /// Appends x.
  LIMBER_INLINE void push(double x) {
    grow(count + 1);
    if (count > 0) data[count - 1] = x;
  }

  /// this[i] = src[i] + this[i].
  void operator+=(const Vector& src);
  void operator+=(Vector* src);
  /// this[i] = this[i] - src[i].
  void operator-=(const Vector& src);
  void operator-=(Vector* src);
  /// this[i] = this[i] src[i].
  void operator*=(const Vector& src);
  /// this[i] = this[i] / src[i]; no test for zero.
  void operator/=(const Vector& src);
  void operator/=(Vector* src);
  /// this[i] = this[i] + s.
  void operator+=(double s);
  LIMBER_INLINE void operator+=(int s) { *this += static_cast<double>(s); }
  template <class Number>
  IfOtherNumber<Number, void> operator+=(Number s) {
    *this += static_cast<double>(s);
  }
  /// this[i] = this[i] s.
  void operator*=(double s);
  void scale(double s);
  /// Deleted, because a number would silently be converted to a vector of that many zeros.
  void operator-=(double) = delete;
  void operator/=(double) = delete;

  /// this[i] = b[i] + a[i] for i below the smallest of the three sizes; the size of this vector does not
  /// change.
  void sum(Vector* a, const Vector* b);
  /// this[i] = s src[i] + this[i].
  void scaleAdd(double s, Vector* src);

  /// The sum of squares, from 0.0 in ascending order.
  double magSq() const;
  /// The square root of magSq().
  double mag() const;
  /// The sum of the elements count, count - 1, ..., 0, in that order. Contract: the slot after the last
  /// element is included if it lies inside the storage.
  double addElems() const;
  /// For ascending elements, the start of an interval that holds x, found by bisection: element result <= x,
  /// and x <= element result + 1. 0 for x below the first element, count - 1 for x above the last. Contract:
  /// the bisection stops at the first equal element that it probes, so among equal elements the result may be
  /// any of them. It never probes the last element: if x equals that one, the result is at most count - 2, or
  /// 0 in a vector of one element.
  int closestToInSorted(double x) const;
  /// The piecewise-linear value at the fractional index t, extrapolated along the first and last segments.
  /// The vector needs at least two elements.
  double lerp(double t) const;
  /// Prints "[", each element with numberPrintFormat, and "]".
  void print() const;
};

/// The sum of a[i] b[i] over the common part, from 0.0 in ascending order.
LIMBER_API double dot(Vector* a, Vector* b);
/// v->magSq().
LIMBER_API double magSq(Vector* v);
/// dst->scaleAdd(s, src).
LIMBER_API void scaleAdd(Vector* dst, double s, Vector* src);
/// dst = s src; dst takes the size of src.
LIMBER_API void scaleCopy(double s, Vector* src, Vector* dst);
/// Prints, with the runtime's own printf, how many reallocations there were in the process and, for each pair
/// (requested size, old capacity), how often it occurred again after the first time.
LIMBER_API void printVectorResizeStats();
