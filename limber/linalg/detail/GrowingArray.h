#pragma once

/// @file
/// An array that keeps its storage between uses.

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

namespace limber::detail {

/// An array of T with uninitialised elements. It does not store how many of them are in use.
template <class T>
class GrowingArray {
 public:
  /// Makes room for n elements. Growing loses the elements. An array that grows again gets some spare room.
  /// False when there is no memory.
  bool reserve(long long n) {
    if (n <= room_) return true;
    const long long room = room_ == 0 ? n : n + n / 4;
    room_ = 0;
    data_.reset();
    data_.reset(new (std::nothrow) T[static_cast<std::size_t>(room)]);
    if (data_) room_ = room;
    return data_ != nullptr;
  }
  /// Copies n elements of another array. False when there is no memory.
  bool copy(const GrowingArray& other, long long n) {
    if (!reserve(n)) return false;
    std::copy_n(other.get(), n, get());
    return true;
  }
  T* get() const { return data_.get(); }
  T& operator[](long long i) const { return data_[static_cast<std::size_t>(i)]; }

 private:
  std::unique_ptr<T[]> data_;
  long long room_ = 0;
};

}  // namespace limber::detail
