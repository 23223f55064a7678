#include "limber/linalg/Compact.h"

#include "limber/linalg/SpMat.h"
#include "limber/linalg/detail/CompactRows.h"

namespace {

class AnyMatrix final : public limber::detail::RowSource {
 public:
  AnyMatrix(const SpMat& m, double diagAdd) : m_(m), width_(m.width()), diagAdd_(diagAdd) {}

  void appendRow(int i, SpVec& row) const override {
    for (int j = 0; j < width_; ++j) limber::detail::appendCompacted(row, i, j, m_.acc(i, j), diagAdd_);
  }

 private:
  const SpMat& m_;
  int width_;
  double diagAdd_;
};

}  // namespace

HSpMat* naiveCompact(SpMat* m, double diagAdd, int, int reset) {
  return limber::detail::compactRows(m->height(), AnyMatrix(*m, diagAdd), reset);
}
