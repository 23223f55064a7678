#include "tests/solvers/NoTypeInformation.h"

#include "limber/linalg/SpMat.h"
#include "limber/linalg/Vector.h"

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

}  // namespace

SpMat* matrixWithoutTypeInformation() {
  static TwoByTwo matrix;
  return &matrix;
}
