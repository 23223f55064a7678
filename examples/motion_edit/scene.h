#pragma once

#include <vector>

#include "limber_motion/motion.h"

/// The side of the body that a joint belongs to.
enum class Side { Middle, Left, Right };

/// An edit in the form that the drawings need. It has the paths of all joints before and after, in body
/// heights above and along the ground, and the parts of the body: its sides, feet with heels, hands and head.
/// The sides, hands and head are found from the skeleton's structure, not from names.
class Scene {
 public:
  /// `held` are the constraints of the edit, sorted by frame.
  Scene(const limber::motion::Clip& before, const limber::motion::Clip& after,
        const limber::motion::Contacts& contacts, const std::vector<limber::motion::Constraint>& held);

  int frames() const { return clip_.frames; }
  /// The first frame of the motion, after a separate pose such as a T-pose.
  int first() const { return first_; }
  double frameTime() const { return clip_.frameTime; }
  const std::vector<limber::motion::Joint>& joints() const { return clip_.joints; }
  /// The position: x in the direction in which the body travels, y above the ground, z to the right of that
  /// direction.
  const Pnt3& at(bool after, int frame, int joint) const {
    return tracks_[after]
                  [static_cast<std::size_t>(frame) * joints().size() + static_cast<std::size_t>(joint)];
  }
  /// The joint that carries the body. Those before it are not drawn.
  int root() const { return root_; }

  Side side(int joint) const { return sides_[static_cast<std::size_t>(joint)]; }
  /// An ankle, its heel (an additional joint that only the scene has), and the joints of the sole.
  struct Foot {
    int ankle, heel;
    std::vector<int> sole;  ///< from the ankle to the tip, both included
  };
  const std::vector<Foot>& feet() const { return feet_; }
  const std::vector<int>& hands() const { return hands_; }
  int head() const { return head_; }  ///< -1 if none is found
  double headRadius() const { return headRadius_; }
  bool isDrawn(int joint) const {
    return drawn_[static_cast<std::size_t>(joint)];
  }  ///< true if the bone to the parent is drawn

  /// A held joint, with its target in the coordinates of the scene.
  struct Target {
    int frame, joint;
    Pnt3 place;
    bool stands;  ///< true for a foot on the ground, false for another target
    bool held;    ///< true if the target must be met, false if it only pulls
  };
  const std::vector<Target>& targets() const { return targets_; }

 private:
  Pnt3 inView(const Pnt3& place) const;
  void findSides(const std::vector<Pnt3>& rest);
  void findFeet(const std::vector<int>& feet, const std::vector<Pnt3>& rest);
  void findHandsAndHead(const std::vector<Pnt3>& rest);
  void track(const limber::motion::Clip& before, const limber::motion::Clip& after, double ground);

  limber::motion::Clip clip_;  // includes the heels; only the times of its motion are used
  double height_;
  int root_, first_;
  Pnt3 origin_, along_, right_;
  std::vector<Pnt3> tracks_[2];
  std::vector<Side> sides_;
  std::vector<bool> drawn_;
  std::vector<Foot> feet_;
  std::vector<int> hands_;
  int head_ = -1;
  double headRadius_ = 0.0;
  std::vector<Target> targets_;
};
