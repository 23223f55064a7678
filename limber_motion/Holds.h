#pragma once

/// @file
/// The linearized constraints of an edit.

#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber/linalg/SpMat.h"
#include "limber/linalg/Vector.h"
#include "limber_motion/Api.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Curves.h"
#include "limber_motion/Skeleton.h"

class FullMatrix;

namespace limber::motion {

LIMBER_FIXED_TABLE_BEGIN

/// One joint that is held at `target` in one frame: at the world's x, y and z, or only at the height y.
struct Hold {
  int frame, joint;
  Pnt3 target;
  double weight;    ///< the factor of its squared misses in the sum of squares
  bool exact;       ///< must be met, not only approached
  bool heightOnly;  ///< only y counts
};

/// The derivative J of the held joints' positions with respect to the unknowns of an edit. Its rows have the
/// order of the holds, three for each (x, y, z; rows that do not count are zero). The unknown of channel c at
/// time t has the index t channels + c. Only channels that move a held joint are included: the other channels
/// are best left unchanged, because the measure of smoothness does not couple channels. J^T W J is a band
/// matrix, because a row depends only on unknowns of the times near its frame.
class LIMBER_MOTION_API Holds : public SpMat {
 public:
  /// `channels` are indices in a frame, in ascending order. The skeleton and the curves must outlive this
  /// object.
  Holds(const Skeleton& skeleton, const Curves& curves, const std::vector<int>& channels);

  /// Sets the holds, which are sorted by frame, and computes J and the misses for the motion `clip`.
  void linearize(const std::vector<Hold>& holds, const Clip& clip);
  /// target - position, three numbers per hold.
  const Vector& misses() const { return misses_; }
  const std::vector<Hold>& list() const { return holds_; }

  int height() const override { return 3 * static_cast<int>(holds_.size()); }
  int width() const override { return curves_.times() * channels_; }
  /// y = J x, overwriting y, which gets height() elements. x and y are different vectors.
  void mult(const Vector* x, Vector* y) const override;
  /// y = J^T x, overwriting y, which gets width() elements. x and y are different vectors.
  void multT(const Vector* x, Vector* y) const override;
  double acc(int i, int j) const override;

  /// Elements of J^T W J further from the diagonal than this are zero.
  int halfBandwidth() const { return curves_.overlap() * channels_ - 1; }
  /// Adds J^T W J to the upper band of a symmetric matrix in the layout of cholFactorBanded, where W is
  /// diagonal and contains the weights of the holds: band(j, kd - (j - i)) += (J^T W J)(i, j) for i <= j.
  void addSquareTo(FullMatrix* band) const;

 private:
  struct Entry {
    int channel;      // its index among the edit's channels
    double slope[3];  // the derivatives of x, y and z
  };

  const Skeleton& skeleton_;
  const Curves& curves_;
  int channels_;
  std::vector<int> place_;  // for each channel of a clip its index among the edit's channels, or -1
  std::vector<Hold> holds_;
  std::vector<std::size_t> begin_;  // where the entries of each hold begin, then the end
  std::vector<Entry> entries_;
  Vector misses_;
};

LIMBER_FIXED_TABLE_END

}  // namespace limber::motion
