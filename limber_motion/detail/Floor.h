#pragma once

#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Contacts.h"
#include "limber_motion/Holds.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion::detail {

/// Keeps the feet from going deeper: each foot joint has a least height, which is the ground's or, unless
/// the ground is strict, the lowest that it had in the original when that was deeper. An active set: a joint
/// that is too low is watched, and held at its least height until it has come clear of it.
class Floor {
 public:
  /// The skeleton must outlive the floor.
  Floor(const Clip& original, const Skeleton& skeleton, const Contacts& feet, bool strict);

  /// Watches what is too low in `clip`, except joints held in that frame by `holds`, which are sorted by
  /// frame. True when anything is too low.
  bool watch(const Clip& clip, const std::vector<Hold>& holds);
  /// Adds a hold of the height for what is watched and not held already, keeping the order.
  void addTo(const Clip& clip, double weight, std::vector<Hold>* holds) const;
  const std::vector<int>& feet() const { return feet_; }
  /// The first frame of the motion, behind poses of their own.
  int first() const { return first_; }

 private:
  const Skeleton& skeleton_;
  int first_;
  std::vector<int> feet_;
  std::vector<double> least_;  // one a foot joint
  std::vector<bool> watched_;  // frame after frame, one a foot joint
};

}  // namespace limber::motion::detail
