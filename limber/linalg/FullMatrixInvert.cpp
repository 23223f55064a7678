#include <cstddef>

#include "limber/foundation/Report.h"
#include "limber/foundation/detail/CreatedOnFirstUse.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/detail/GaussJordanSpace.h"
#include "limber/linalg/detail/LapackLayout.h"

using namespace limber::detail;

namespace {

struct SingularFlag : GaussJordanWatcher {
  bool singular = false;
  void columnUsedTwice() { singular = true; }
  void zeroPivot() { singular = true; }
};

constexpr int fixedLength = 200;
FixedGaussJordanScratch<fixedLength> fixedScratch;

}  // namespace

int FullMatrix::invert() {
  // Contract: the copies go through operator(), so a class that overrides it is inverted with the elements
  // that its operator() returns, and a matrix of kind 1 prints a message for each element.
  double* const copy = lapackWorkspace(static_cast<long long>(numRows) * numColumns);
  if (!copy) return 0;
  GaussJordanScratch scratch = fixedScratch;
  if (numRows > fixedLength) {
    GaussJordanSpace& larger = createdOnFirstUse<GaussJordanSpace>();
    if (!larger.reserve(numRows)) {
      FATAL_ERROR(newFails);
      return 0;
    }
    scratch = larger.scratch(numRows);
  }
  const auto at = [this, copy](int i, int j) -> double& {
    return copy[static_cast<std::ptrdiff_t>(i) * numColumns + j];
  };
  for (int i = 0; i < numRows; ++i) {
    for (int j = 0; j < numColumns; ++j) at(i, j) = (*this)(i, j);
  }
  if (numRows != numColumns) {
    kind = 1;
    return 0;
  }
  SingularFlag flag;
  gaussJordan(copy, numRows, numColumns, scratch, flag);
  if (flag.singular) kind = 3;
  for (int i = 0; i < numRows; ++i) {
    for (int j = 0; j < numColumns; ++j) (*this)(i, j) = at(i, j);
  }
  return 1;
}
