#pragma once

#include "limber/linalg/detail/GaussJordan.h"
#include "limber/linalg/detail/GrowingArray.h"

namespace limber::detail {

/// The scratch of an elimination. It is allocated when first needed, kept, and replaced for a larger matrix.
class GaussJordanSpace {
 public:
  /// Room for n x n. False when there is no memory; nothing is reported.
  bool reserve(int n) { return integers_.reserve(3LL * n) && closed_.reserve(n); }
  /// The scratch for the n of the last reserve().
  GaussJordanScratch scratch(int n) const {
    int* const integers = integers_.get();
    return {integers, integers + n, integers + 2LL * n, closed_.get()};
  }

 private:
  GrowingArray<int> integers_;
  GrowingArray<double> closed_;
};

}  // namespace limber::detail
