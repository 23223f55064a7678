#include "limber/linalg/GaussJordan.h"

#include <algorithm>
#include <utility>

#include "limber/foundation/detail/CreatedOnFirstUse.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/GaussJordanSpace.h"
#include "limber/linalg/detail/RowStorage.h"

using namespace limber::detail;

namespace {

// Applies the steps of the elimination to the right-hand side. Elements outside the storage of b are
// skipped.
class RightHandSide : public GaussJordanWatcher {
 public:
  explicit RightHandSide(Vector* b) : b_(b) {}

  void columnUsedTwice() { ReportSite{"Vectors", 1344}.error("GAUSSJ: Singular Matrix-1"); }
  void zeroPivot() { ReportSite{"Vectors", 1353}.error("GAUSSJ: Singular Matrix-2"); }
  void rowsSwapped(int i, int j) {
    if (has(i) && has(j)) std::swap(b_->data[i], b_->data[j]);
  }
  // Contract: the whole vector b[column] of the array is scaled, not the element of *b.
  void pivotRowScaled(int column, double factor) {
    if (b_) b_[column] *= factor;
  }
  void rowReduced(int row, int column, double factor) {
    if (has(row) && has(column)) b_->data[row] -= b_->data[column] * factor;
  }

 private:
  bool has(int i) const { return b_ && inStorage(*b_, i); }

  Vector* b_;
};

constexpr int firstLength = 100;

}  // namespace

void gaussj(FullMatrix& A, Vector*, Vector* b) {
  const int n = std::min(A.numRows, A.numColumns);
  GaussJordanSpace& space = createdOnFirstUse<GaussJordanSpace>();
  if (!space.reserve(std::max(n, firstLength))) {
    ReportSite{"Vectors", 1326}.fatal("new fails - memory problem");
    return;
  }
  if (n < 1 || !A.data) return;
  RightHandSide rightHandSide(b);
  gaussJordan(A.data, n, A.numColumns, space.scratch(n), rightHandSide);
}
