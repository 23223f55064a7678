#pragma once

#include <new>

namespace limber::detail {

/// An object of type T with static storage that the first call creates and nothing destroys. Only what T
/// itself allocates can fail.
template <class T>
T& createdOnFirstUse() {
  alignas(T) static unsigned char storage[sizeof(T)];
  static T* const object = ::new (static_cast<void*>(storage)) T;
  return *object;
}

}  // namespace limber::detail
