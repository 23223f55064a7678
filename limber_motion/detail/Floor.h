#pragma once

#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Contacts.h"
#include "limber_motion/Holds.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion::detail {

/// The place at which a foot is deepest.
struct Deepest {
  double depth = 0.0;  ///< below the ground, in heights; 0 if no foot is below the ground
  int joint = -1, frame = -1;
};

/// Keeps the feet, and whatever else stands in the clip, from going too deep. Each of these joints has a
/// least height: that of the ground or, if the ground is not strict and the joint was deeper in the original,
/// its lowest height there. This is an active-set method: a joint that is too low is watched, and it is held
/// at its least height until it is clearly above it.
class Floor {
 public:
  /// The skeleton must outlive the floor.
  Floor(const Clip& original, const Skeleton& skeleton, const Contacts& feet, bool strict);

  /// Starts to watch the joints that are too low in the frames first .. end - 1 of `clip`, except those that
  /// `holds` holds in that frame. `holds` is sorted by frame. Returns the frames in which a joint is too low.
  std::vector<int> watch(const Clip& clip, int first, int end, const std::vector<Hold>& holds);
  /// Adds a hold of the height for each joint that is watched in one of these frames and not held already.
  /// The order by frame is kept.
  void addTo(const Clip& clip, int first, int end, double weight, std::vector<Hold>* holds) const;
  /// The least height of a joint; minus infinity if it is not a foot joint.
  double least(int joint) const;
  /// The place at which one of these joints is deepest in a clip, from the first frame of the motion on.
  Deepest deepest(const Clip& clip) const;
  const std::vector<int>& feet() const { return feet_; }
  /// The first frame of the motion, after separate poses such as a T-pose.
  int first() const { return first_; }

 private:
  const Skeleton& skeleton_;
  int first_;
  double ground_;
  std::vector<int> feet_;
  std::vector<double> least_;  // one per foot joint
  std::vector<bool> watched_;  // frame after frame, one per foot joint
};

}  // namespace limber::motion::detail
