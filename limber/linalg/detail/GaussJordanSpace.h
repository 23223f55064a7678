#pragma once

#include "limber/linalg/detail/GaussJordan.h"

namespace limber::detail {

/// Scratch of an elimination that is allocated when it is first needed, kept, and replaced when a larger
/// matrix comes.
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
