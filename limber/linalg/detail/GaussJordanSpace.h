#pragma once

#include "limber/linalg/detail/GaussJordan.h"

namespace limber::detail {

/// The scratch of an elimination. It is allocated when first needed, kept, and replaced for a larger matrix.
class GaussJordanSpace {
 public:
  /// Room for n x n. False when there is no memory; nothing is reported.
  bool reserve(int n);
  GaussJordanScratch scratch() const;

 private:
  int length_ = 0;
  int* integers_ = nullptr;
  double* closed_ = nullptr;
};

}  // namespace limber::detail
