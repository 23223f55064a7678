#pragma once

/// @file
/// What every conversion to the row-sparse form shares: the threshold, the entry counter, and the result
/// matrix with its pool of rows.

class HSpMat;
class SpVec;

namespace limber::detail {

/// Appends value (plus diagAdd if i = j) as entry j of row i and counts it, unless its magnitude is below
/// 1e-12.
void appendCompacted(SpVec& row, int i, int j, double value, double diagAdd);

/// The number of entries counted since the shared result was last reset, including those of
/// FullMatrix::compact.
long compactedEntries();

/// Fills one row of the image: calls appendCompacted for each entry of row i, in ascending order.
class RowSource {
 public:
  virtual void appendRow(int i, SpVec& row) const = 0;

 protected:
  ~RowSource() = default;
};

/// Takes the rows of any matrix, element by element.
template <class Matrix>
class ElementRows final : public RowSource {
 public:
  ElementRows(Matrix& m, double diagAdd) : m_(m), width_(m.width()), diagAdd_(diagAdd) {}
  void appendRow(int i, SpVec& row) const override {
    for (int j = 0; j < width_; ++j) appendCompacted(row, i, j, m_.acc(i, j), diagAdd_);
  }

 private:
  Matrix& m_;
  const int width_;
  const double diagAdd_;
};

/// naiveCompact for a matrix of `height` rows that `source` supplies.
HSpMat* compactRows(int height, const RowSource& source, int reset);

}  // namespace limber::detail
