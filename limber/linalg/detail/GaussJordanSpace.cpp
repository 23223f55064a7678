#include "limber/linalg/detail/GaussJordanSpace.h"

#include <cstddef>
#include <new>

namespace limber::detail {

bool GaussJordanSpace::reserve(int n) {
  if (n <= length_) return true;
  const std::size_t length = static_cast<std::size_t>(n);
  int* const integers = new (std::nothrow) int[3 * length];
  double* const closed = new (std::nothrow) double[length];
  if (!integers || !closed) {
    delete[] integers;
    delete[] closed;
    return false;
  }
  delete[] integers_;
  delete[] closed_;
  integers_ = integers;
  closed_ = closed;
  length_ = n;
  return true;
}

GaussJordanScratch GaussJordanSpace::scratch() const {
  return {integers_, integers_ + length_, integers_ + 2 * static_cast<std::ptrdiff_t>(length_), closed_};
}

}  // namespace limber::detail
