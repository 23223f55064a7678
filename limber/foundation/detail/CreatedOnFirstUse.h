#pragma once

#include <new>

namespace limber::detail {

/// An object of type T with static storage. The first call creates it, and it is never destroyed. Only
/// allocations of T itself can fail.
template <class T>
T& createdOnFirstUse() {
  alignas(T) static unsigned char storage[sizeof(T)];
  static T* const object = ::new (static_cast<void*>(storage)) T;
  return *object;
}

}  // namespace limber::detail
