#include "tests/solvers/NoTypeInformation.h"

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/Preconditioner.h"

namespace {

class TwoByTwo : public SpMat {
 public:
  int height() const override { return 2; }
  int width() const override { return 2; }
  void mult(const Vector* x, Vector* y) const override {
    const double x0 = x->data[0], x1 = x->data[1];
    y->grow(2);
    y->data[0] = 3.0 * x0 + x1;
    y->data[1] = x0 + 2.0 * x1;
  }
  void multT(const Vector* x, Vector* y) const override { mult(x, y); }
};

class Computed : public FullMatrix {
 public:
  Computed() : FullMatrix(2, 2) {}
  double& operator()(int i, int j) const override {
    static double element;
    return element = i != j ? 1.0 : i == 0 ? 3.0 : 2.0;
  }
};

class Diagonal : public Preconditioner {
 public:
  void solve(const Vector* r, Vector* z) override {
    *z = *r;
    z->data[0] /= 3.0;
    z->data[1] /= 2.0;
  }
};

}  // namespace

FullMatrix* denseMatrixWithoutTypeInformation() {
  static Computed matrix;
  return &matrix;
}

Preconditioner* preconditionerWithoutTypeInformation() {
  static Diagonal preconditioner;
  return &preconditioner;
}

SpMat* matrixWithoutTypeInformation() {
  static TwoByTwo matrix;
  return &matrix;
}
