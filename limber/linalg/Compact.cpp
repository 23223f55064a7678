#include "limber/linalg/Compact.h"

#include "limber/linalg/SpMat.h"
#include "limber/linalg/detail/CompactRows.h"

using namespace limber::detail;

namespace {

class AnyMatrix final : public RowSource {
 public:
  AnyMatrix(const SpMat& m, double diagAdd) : m_(m), width_(m.width()), diagAdd_(diagAdd) {}

  void appendRow(int i, SpVec& row) const override {
    for (int j = 0; j < width_; ++j) appendCompacted(row, i, j, m_.acc(i, j), diagAdd_);
  }

 private:
  const SpMat& m_;
  int width_;
  double diagAdd_;
};

}  // namespace

HSpMat* naiveCompact(SpMat* m, double diagAdd, int, int reset) {
  return compactRows(m->height(), AnyMatrix(*m, diagAdd), reset);
}
