// A user's program: it solves a small least-squares problem with an installed Limber.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "limber/limber.h"

int main() {
  if (std::strcmp(limberVersion(), LIMBER_VERSION) != 0) return 1;
  HSpMat A(0);
  SpVec first(2), second(2), third(2);
  first.ins(1.0, 0);
  second.ins(2.0, 1);
  third.ins(1.0, 0);
  third.ins(1.0, 1);
  A.add(&first);
  A.add(&second);
  A.add(&third);
  Vector b(3), x(2);
  b[0] = 1.0;
  b[1] = 4.0;
  b[2] = 3.0;
  cg_tol = 1e-20;
  double rsq = 0.0;
  const int iterations = ncgrad(&A, &x, &b, &rsq);
  std::printf("x = (%g, %g) after %d iterations\n", x[0], x[1], iterations);
  return iterations >= 0 && std::fabs(x[0] - 1.0) < 1e-9 && std::fabs(x[1] - 2.0) < 1e-9 ? 0 : 1;
}
