#pragma once

#include "limber/Api.h"

/// One level of a drawing's coordinate stack: a box in page points (x0, y0)-(x1, y1), the linear part a, b,
/// c, d and the translation tx, ty. The default has an empty box and maps every point to itself.
class LIMBER_API AIPSMatrix {
 public:
  double x0 = 0.0, y0 = 0.0, x1 = 0.0, y1 = 0.0;
  double a = 1.0, b = 0.0, c = 0.0, d = 1.0;
  double tx = 0.0, ty = 0.0;

  AIPSMatrix();
  AIPSMatrix(const AIPSMatrix&);
  AIPSMatrix& operator=(const AIPSMatrix&);
};
