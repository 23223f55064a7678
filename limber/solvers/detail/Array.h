#pragma once

/// @file
/// An array with int sizes.

#include <cstddef>
#include <vector>

namespace limber::detail {

/// A std::vector whose sizes and indices are ints. It throws std::bad_alloc if there is no memory; the
/// functions of Solve.h catch that.
template <class T>
class Array {
 public:
  Array() = default;
  explicit Array(int n, T value = T()) : items_(static_cast<std::size_t>(n), value) {}

  int size() const { return static_cast<int>(items_.size()); }
  T* data() { return items_.data(); }
  const T* data() const { return items_.data(); }
  T& operator[](int i) { return items_[static_cast<std::size_t>(i)]; }
  const T& operator[](int i) const { return items_[static_cast<std::size_t>(i)]; }
  T* begin() { return items_.data(); }
  T* end() { return items_.data() + items_.size(); }
  const T* begin() const { return items_.data(); }
  const T* end() const { return items_.data() + items_.size(); }

  void assign(int n, T value) { items_.assign(static_cast<std::size_t>(n), value); }
  void resize(int n) { items_.resize(static_cast<std::size_t>(n)); }
  void reserve(int n) { items_.reserve(static_cast<std::size_t>(n)); }
  void push(T value) { items_.push_back(value); }
  void append(const T* from, int n) { items_.insert(items_.end(), from, from + n); }
  void swap(Array& other) { items_.swap(other.items_); }
  /// Releases the storage.
  void release() { std::vector<T>().swap(items_); }

 private:
  std::vector<T> items_;
};

using Doubles = Array<double>;
using Ints = Array<int>;

}  // namespace limber::detail
