#pragma once

#include "limber/Api.h"
#include "limber/geometry/Matrix3x3.h"

/// Four 3x3 matrices in a row: one derivative block for each quaternion component. The constructor makes each
/// the identity.
class LIMBER_API MatRow {
 public:
  Matrix3x3 m[4];

  LIMBER_INLINE MatRow() {}
  LIMBER_INLINE MatRow(const MatRow& b) { *this = b; }
  LIMBER_INLINE MatRow& operator=(const MatRow& b) {
    for (int i = 0; i < 4; ++i) m[i] = b.m[i];
    return *this;
  }
};
