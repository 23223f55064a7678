#include <memory>
#include <vector>

#include "limber/limber.h"
#include "tests/golden/Golden.h"

namespace {

constexpr int height = 60;
constexpr int width = 40;

void run() {
  golden::Numbers numbers(4);
  std::vector<std::unique_ptr<SpVec>> rows;
  HSpMat A(height);
  for (int i = 0; i < height; ++i) {
    rows.push_back(std::make_unique<SpVec>(1));
    for (int k = 0; k < 8; ++k) {
      const double value =
          numbers.next();  // a separate statement, because the evaluation order of arguments is not specified
      rows.back()->ins(value, numbers.below(width));
    }
    rows.back()->ins(1.5, i % width);
    A.rows[i] = rows.back().get();
  }
  Vector x(width), b(height);
  for (int i = 0; i < height; ++i) b[i] = numbers.next();
  const double tolerance = cg_tol, epsilon = cg_epsilon;
  cg_tol = 1e-20;
  cg_epsilon = 1e-100;
  double rsq = 0.0;
  golden::print("ncgrad.iterations", ncgrad(&A, &x, &b, &rsq));
  golden::print("ncgrad.rsq", rsq);
  golden::print("ncgrad.x", x.data, width);
  cg_tol = tolerance;
  cg_epsilon = epsilon;
}

const golden::Part part("solvers", run);

}  // namespace
