#pragma once

/// @file
/// The dense vector: the currency of every matrix product and solver.

#include <cstddef>
#include <type_traits>

#include "limber/Api.h"

/// A growable array of doubles. Up to four elements live inside the object; storage never shrinks. Operations
/// between vectors of different sizes act on the common leading part and leave the rest alone. No index is
/// tested. The vector owns `data` exactly when `capacity` is greater than 4.
class LIMBER_API Vector {
  /// Numbers that no other overload takes as they are: unsigned 5, 5L, std::size_t(5).
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
  /// n zeros with room for maxSize elements (for n, should that be more).
  Vector(int n, int maxSize);
  /// Adopts the array: nothing is copied or cleared. An array of more than four elements is released with
  /// delete[] later, one of four or fewer never. Where there is no array, n zeros.
  Vector(int n, double* array);
  /// n zeros: there is neither a file name nor an array.
  Vector(int n, std::nullptr_t);
  /// The same for a null that is a number, such as NULL, and Vector(n, maxSize) for integers of other types.
  template <class Integer, class = IfOtherNumber<Integer, void>>
  Vector(int n, Integer maxSize) : Vector(n, static_cast<int>(maxSize)) {}
  /// A deep copy; its capacity is that of Vector(src.count).
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

  /// Sets the size. Elements that become visible keep what their slots held: zeros after a reallocation, the
  /// old values after a shrink.
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
  /// A number would silently become a vector of that many zeros.
  void operator-=(double) = delete;
  void operator/=(double) = delete;

  /// this[i] = b[i] + a[i] below the smallest of the three sizes; the size of this vector stays.
  void sum(Vector* a, const Vector* b);
  /// this[i] = s src[i] + this[i].
  void scaleAdd(double s, Vector* src);

  /// The sum of squares, from 0.0 in ascending order.
  double magSq() const;
  /// The square root of magSq().
  double mag() const;
  /// The sum of the elements count, count - 1, ..., 0, in that order: the slot behind the last element
  /// deliberately takes part, where it lies inside the storage.
  double addElems() const;
  /// For ascending elements, the start of an interval that holds x, found by bisection: element result <= x,
  /// and x <= element result + 1. 0 for x below the first element, count - 1 for x above the last. Contract:
  /// the bisection stops at the first equal element that it probes, so among equal elements the result is any
  /// one of them, and it never probes the last element: x equal to that one gives at most count - 2, and 0 in
  /// a vector of one element.
  int closestToInSorted(double x) const;
  /// The piecewise-linear value at the fractional index t, extrapolated along the first and last segments.
  /// Wants two elements or more.
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
/// (requested size, old capacity), how often it came back after the first time.
LIMBER_API void printVectorResizeStats();
