#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "limber/linalg/SpMat.h"
#include "limber/solvers/BiCGrad.h"
#include "tests/solvers/TinyProblems.h"

// A pass whose products are written down, so that each number can be checked by hand.

using Elements = std::vector<double>;

/// A 2 x 2 matrix that returns the next line of its script for each product. The last line repeats.
class ScriptedMatrix : public SpMat {
 public:
  ScriptedMatrix(std::vector<Elements> products, std::vector<Elements> transposed)
      : products_(std::move(products)), transposed_(std::move(transposed)) {}
  int height() const override { return 2; }
  int width() const override { return 2; }
  void mult(const Vector*, Vector* y) const override { answer(products_, made, y); }
  void multT(const Vector*, Vector* y) const override { answer(transposed_, madeTransposed, y); }
  mutable std::size_t made = 0, madeTransposed = 0;

 private:
  static void answer(const std::vector<Elements>& lines, std::size_t& call, Vector* y) {
    *y = toVector(lines[std::min(call++, lines.size() - 1)]);
  }
  std::vector<Elements> products_, transposed_;
};

/// From x = 0 with b = (2, 0), so r = (2, 0) and rsq = 4.
struct ScriptedPass {
  ScriptedMatrix A;
  Vector x{2}, b = toVector({2, 0});
  double rsq = -7.0;
  int iter = -7;
  Vector r, rr, p, pp, q, scratch, best;

  ScriptedPass(std::vector<Elements> products, std::vector<Elements> transposed)
      : A(std::move(products), std::move(transposed)) {}
  CGIStatus run(int maxIters = 2, int shadow = 1) {
    return biCGradI(&A, &x, &b, rsq, iter, &r, &rr, &p, &pp, &q, &scratch, &best, maxIters, shadow);
  }
  CGIStatus drive() { return biCGrad(&A, &x, &b, rsq, iter, 1); }
};

/// r = rr = p = pp = (2, 0) and rho = 4. This q has d = 4, so alpha = 1, r = (0, -1) and rsq = 1.
inline const Elements none = {0, 0}, firstProduct = {2, 1};
