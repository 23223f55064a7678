#include "limber/linalg/detail/GaussJordanSpace.h"

#include <cstddef>
#include <new>

namespace limber::detail {

bool GaussJordanSpace::reserve(int n) {
  if (n <= length_) return true;
  const std::size_t length = static_cast<std::size_t>(n);
  delete[] integers_;
  delete[] closed_;
  integers_ = new (std::nothrow) int[3 * length];
  closed_ = new (std::nothrow) double[length];
  length_ = integers_ && closed_ ? n : 0;
  return length_ == n;
}

GaussJordanScratch GaussJordanSpace::scratch() const {
  return {integers_, integers_ + length_, integers_ + 2 * static_cast<std::ptrdiff_t>(length_), closed_};
}

}  // namespace limber::detail
