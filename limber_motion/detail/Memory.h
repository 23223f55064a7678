#pragma once

/// @file
/// Vectors that this component sizes. If there is no memory, the library reports that and leaves a vector
/// empty; these functions then throw std::bad_alloc, so that no computation goes on with an empty one.

#include <new>

#include "limber/linalg/Vector.h"

namespace limber::motion::detail {

/// Gives v the length n.
inline void setLength(Vector* v, int n) {
  v->grow(n);
  if (v->count != n) throw std::bad_alloc();
}

/// n zeros.
inline Vector zeros(int n) {
  Vector v(n);
  if (v.count != n) throw std::bad_alloc();
  return v;
}

/// to = from.
inline void assign(Vector* to, const Vector& from) {
  *to = from;
  if (to->count != from.count) throw std::bad_alloc();
}

}  // namespace limber::motion::detail
