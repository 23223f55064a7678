#pragma once

/// @file
/// The class of a matrix or of another object with virtual functions.

#include <cstring>
#include <typeinfo>

#include "limber/linalg/SpMat.h"

namespace limber::detail {

/// The class of an object, or null for a class that was compiled without type information, for which typeid
/// and dynamic_cast would crash. The Itanium C++ ABI stores the pointer to it in front of the table of
/// virtual functions.
template <class Polymorphic>
const std::type_info* classOf(const Polymorphic* object) {
  const std::type_info* const* table;
  std::memcpy(&table, static_cast<const void*>(object), sizeof table);
  return table[-1];
}

/// A as a T; null for any other class, also for one derived from T, which may override anything.
template <class T>
T* exactly(const SpMat* A) {
  const std::type_info* const type = A ? classOf(A) : nullptr;
  // height, width and acc of the structured matrices do not change them, but are not const
  return type && *type == typeid(T) ? static_cast<T*>(const_cast<SpMat*>(A)) : nullptr;
}

}  // namespace limber::detail
