#include "limber_motion/detail/Reach.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "limber_motion/detail/GivingUp.h"
#include "limber_motion/detail/Numbers.h"

namespace limber::motion::detail {

namespace {

constexpr double unlimited = std::numeric_limits<double>::infinity();
constexpr double carried = 0.3;       // heights: how far a target may move the root, as in a squat
constexpr double leaned = 0.1;        // heights: how far a target that is out of reach moves the root
constexpr double comfortable = 0.97;  // fraction of the bones' length: a limb that is nearly straight
constexpr double fastestReach = 6.0;  // heights per second: a quick punch
constexpr double usual = 0.98;        // fraction of the frames that tell how fast a joint moves
constexpr double aroundJump = 0.3;  // seconds before and after a jump in which the joint's targets only pull

// The largest possible length of the bone to a joint: its offset, or unlimited if a position channel moves
// the joint.
double boneLength(const Joint& joint) {
  for (const Channel& c : joint.channels) {
    if (!c.rotation) return unlimited;
  }
  return joint.offset.length();
}

std::string inFrame(int frame) { return " in frame " + std::to_string(frame + 1); }

}  // namespace

ReachCheck::ReachCheck(const Clip& clip, const Skeleton& skeleton, const std::vector<Constraint>& constraints,
                       const std::vector<int>& rank, const std::vector<int>& feet, double slack)
    : clip_(clip),
      skeleton_(skeleton),
      constraints_(constraints),
      rank_(rank),
      feet_(feet),
      root_(skeleton.carrier()),
      slack_(slack),
      ways_(clip.joints.size() * clip.joints.size(), Way{-1.0, false}),
      fastest_(clip.joints.size(), -1.0),
      worst_(clip.joints.size()) {
  found_.givenUp.assign(constraints.size(), false);
  found_.aims = constraints;
}

Impossible ReachCheck::find() {
  comparePairs();
  compareWithRoot();
  spreadOverRuns(constraints_, &found_.givenUp);
  compareTimes();
  aimWithinReach();
  for (const Worst& worst : worst_) {
    if (worst.excess > 0.0) found_.reasons.push_back(worst.reason);
  }
  return std::move(found_);
}

bool ReachCheck::isFoot(int joint) const {
  return std::find(feet_.begin(), feet_.end(), joint) != feet_.end();
}

const ReachCheck::Way& ReachCheck::way(int a, int b) {
  Way& way = ways_[static_cast<std::size_t>(a) * clip_.joints.size() + static_cast<std::size_t>(b)];
  if (way.length >= 0.0) return way;
  way.length = 0.0;
  int bones = 0;
  while (a != b) {
    int& lower = a > b ? a : b;  // joints stand after their parents
    way.length += boneLength(clip_.joints[static_cast<std::size_t>(lower)]);
    lower = clip_.joints[static_cast<std::size_t>(lower)].parent;
    ++bones;
  }
  way.rigid = bones == 1 && std::isfinite(way.length);
  return way;
}

void ReachCheck::giveUp(std::size_t constraint, double excess, const std::string& reason) {
  found_.givenUp[constraint] = true;
  Worst& worst = worst_[static_cast<std::size_t>(constraints_[constraint].joint)];
  if (excess > worst.excess) worst = {excess, reason};
}

void ReachCheck::comparePairs() {
  for (std::size_t i = 0, begin = 0; i < constraints_.size(); ++i) {
    if (constraints_[i].frame != constraints_[begin].frame) begin = i;
    for (std::size_t k = begin; k < i; ++k) {
      if (!counts(i) || !counts(k)) continue;
      const Way& bones = way(constraints_[k].joint, constraints_[i].joint);
      const double apart = (constraints_[i].target - constraints_[k].target).length();
      const bool tooNear = bones.rigid && apart < bones.length - slack_;
      if (!(apart > bones.length + slack_) && !tooNear) continue;
      giveUp(rank_[i] < rank_[k] ? k : i, std::fabs(apart - bones.length),
             "the targets of " + name(constraints_[k].joint) + " and " + name(constraints_[i].joint) +
                 inFrame(constraints_[i].frame) + " are " + significant(apart, 4) +
                 " apart, but the bones between them " + (tooNear ? "are " : "reach only ") +
                 significant(bones.length, 4) + (tooNear ? " long" : ""));
    }
  }
}

// The root may move, but a target of a hand must not make the body fly. If the user asks for a place of the
// root or of a foot, that carries the body, and may put it anywhere.
void ReachCheck::compareWithRoot() {
  for (std::size_t begin = 0, end = 0; begin < constraints_.size(); begin = end) {
    bool carriedThere = false;
    for (end = begin; end < constraints_.size() && constraints_[end].frame == constraints_[begin].frame;
         ++end) {
      const bool carries = constraints_[end].joint <= root_ || isFoot(constraints_[end].joint);
      carriedThere = carriedThere || (carries && rank_[end] > 0);
    }
    if (carriedThere) continue;
    const Pnt3 root = skeleton_.position(root_, clip_.frame(constraints_[begin].frame));
    for (std::size_t i = begin; i < end; ++i) {
      const double apart = (constraints_[i].target - root).length(),
                   length = way(root_, constraints_[i].joint).length;
      if (!counts(i) || isFoot(constraints_[i].joint) || !(apart > length + carried * skeleton_.height()))
        continue;
      giveUp(i, apart - length,
             "the target of " + name(constraints_[i].joint) + inFrame(constraints_[i].frame) + " is " +
                 significant(apart, 4) + " from " + name(root_) + ", but the bones between them reach only " +
                 significant(length, 4));
    }
  }
}

// A few frames are left out, because a separate pose in the first frame is not a movement.
double ReachCheck::fastest(int joint) {
  double& fastest = fastest_[static_cast<std::size_t>(joint)];
  if (fastest >= 0.0) return fastest;
  std::vector<double> speeds = {0.0};
  for (int f = 0; f + 1 < clip_.frames; ++f) {
    const Pnt3 way =
        skeleton_.position(joint, clip_.frame(f + 1)) - skeleton_.position(joint, clip_.frame(f));
    speeds.push_back(way.length() / clip_.frameTime);
  }
  const auto quantile =
      speeds.begin() + static_cast<std::ptrdiff_t>(usual * static_cast<double>(speeds.size() - 1));
  std::nth_element(speeds.begin(), quantile, speeds.end());
  return fastest = *quantile;
}

void ReachCheck::compareTimes() {
  std::vector<int> last(clip_.joints.size(), -1);  // the latest constraint of each joint
  std::vector<std::size_t> late;                   // the second constraint of each jump
  for (std::size_t i = 0; i < constraints_.size(); ++i) {
    if (!counts(i) || found_.givenUp[i]) continue;
    const Constraint& constraint = constraints_[i];
    const int k = std::exchange(last[static_cast<std::size_t>(constraint.joint)], static_cast<int>(i));
    if (k < 0) continue;
    const Constraint& earlier = constraints_[static_cast<std::size_t>(k)];
    const double speed = (constraint.target - earlier.target).length() /
                         ((constraint.frame - earlier.frame) * clip_.frameTime);
    const double speedLimit = fastestReach * skeleton_.height();
    if (!(speed > speedLimit) || !(speed > 2.0 * fastest(constraint.joint))) continue;
    late.push_back(i);
    giveUp(i, speed,
           "the targets of " + name(constraint.joint) + " in frames " + std::to_string(earlier.frame + 1) +
               " and " + std::to_string(constraint.frame + 1) + " are " +
               significant((constraint.target - earlier.target).length(), 4) +
               " apart: no body moves that far in so short a time");
  }
  const int frames = static_cast<int>(aroundJump / clip_.frameTime);
  for (const std::size_t jump : late) {
    for (std::size_t i = 0; i < constraints_.size(); ++i) {
      if (constraints_[i].joint != constraints_[jump].joint) continue;
      if (std::abs(constraints_[i].frame - constraints_[jump].frame) <= frames) found_.givenUp[i] = true;
    }
  }
}

void ReachCheck::aimWithinReach() {
  const auto isBefore = [](const Constraint& a, const Constraint& b) { return a.frame < b.frame; };
  for (std::size_t i = 0; i < constraints_.size(); ++i) {
    if (!found_.givenUp[i] && counts(i)) continue;
    Pnt3& aim = found_.aims[i].target;
    const auto bringNearer = [&](const Pnt3& anchor, double distance) {
      const double apart = (aim - anchor).length();
      if (apart > distance) aim = anchor + (aim - anchor) * (distance / apart);
    };
    bringNearer(skeleton_.position(root_, clip_.frame(constraints_[i].frame)),
                way(root_, constraints_[i].joint).length + leaned * skeleton_.height());
    const auto [begin, end] =
        std::equal_range(constraints_.begin(), constraints_.end(), constraints_[i], isBefore);
    for (auto held = begin; held != end; ++held) {
      const auto k = static_cast<std::size_t>(held - constraints_.begin());
      if (k == i || found_.givenUp[k] || !counts(k)) continue;
      bringNearer(held->target, comfortable * way(constraints_[i].joint, held->joint).length);
    }
  }
}

}  // namespace limber::motion::detail
