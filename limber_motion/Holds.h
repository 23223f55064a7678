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

/// One joint in one frame, held at `target`: in the world's x, y and z, or in the height y alone.
struct Hold {
  int frame, joint;
  Pnt3 target;
  double weight;    ///< of its rows in the sum of squares
  bool exact;       ///< to be met, not only approached
  bool heightOnly;  ///< only y counts
};

/// The derivative J of the held joints' positions by the unknowns of an edit. Rows stand in the order of the
/// holds, three each (x, y, z; those that do not count are zero). The unknown of channel c at time t has the
/// index t channels + c, where the channels are only those that move a held joint: all others are best left
/// alone, because the measure of smoothness does not couple channels. J^T W J is a band matrix, because a row
/// depends on unknowns of its own frame's times only.
class LIMBER_MOTION_API Holds : public SpMat {
 public:
  /// `channels`: places in a frame, ascending. The skeleton and the curves must outlive it.
  Holds(const Skeleton& skeleton, const Curves& curves, const std::vector<int>& channels);

  /// Takes the holds, sorted by frame, with J and the misses at the motion `clip`.
  void linearize(const std::vector<Hold>& holds, const Clip& clip);
  /// target - position, three a hold.
  const Vector& misses() const { return misses_; }
  const std::vector<Hold>& list() const { return holds_; }

  int height() const override { return 3 * static_cast<int>(holds_.size()); }
  int width() const override { return curves_.times() * channels_; }
  /// y = J x, overwriting y, which gets height() elements. x and y are different vectors.
  void mult(const Vector* x, Vector* y) const override;
  /// y = J^T x, overwriting y, which gets width() elements. x and y are different vectors.
  void multT(const Vector* x, Vector* y) const override;
  double acc(int i, int j) const override;

  /// No element of J^T W J further from the diagonal than this is different from 0.
  int halfBandwidth() const { return curves_.overlap() * channels_ - 1; }
  /// Adds J^T W J, W being diagonal with the holds' weights, to the upper band of a symmetric matrix in the
  /// layout of cholFactorBanded: band(j, kd - (j - i)) += (J^T W J)(i, j) for i <= j.
  void addSquareTo(FullMatrix* band) const;

 private:
  struct Entry {
    int channel;      // its place among the edit's channels
    double slope[3];  // of x, y and z
  };

  const Skeleton& skeleton_;
  const Curves& curves_;
  int channels_;
  std::vector<int> place_;  // of a clip's channel among the edit's, -1 for the others
  std::vector<Hold> holds_;
  std::vector<std::size_t> begin_;  // of each hold's entries, and one behind the last
  std::vector<Entry> entries_;
  Vector misses_;
};

LIMBER_FIXED_TABLE_END

}  // namespace limber::motion
