#include "limber_motion/detail/Reasons.h"

#include <algorithm>

#include "limber_motion/detail/Degrees.h"
#include "limber_motion/detail/NameOf.h"
#include "limber_motion/detail/Numbers.h"

namespace limber::motion::detail {

namespace {

constexpr double lifted = 0.1;  // heights: a foot that travels further in the clip must be lifted in between

}  // namespace

std::vector<Stand> runsOf(std::vector<Constraint> constraints) {
  std::sort(constraints.begin(), constraints.end(), [](const Constraint& a, const Constraint& b) {
    return a.joint != b.joint ? a.joint < b.joint : a.frame < b.frame;
  });
  std::vector<Stand> runs;
  for (const Constraint& constraint : constraints) {
    if (constraint.weight < 1.0) continue;
    if (!runs.empty() && runs.back().joint == constraint.joint && runs.back().end == constraint.frame) {
      ++runs.back().end;
    } else {
      runs.push_back({constraint.joint, constraint.frame, constraint.frame + 1});
    }
  }
  return runs;
}

std::vector<std::string> feetThatNeverLeave(const std::vector<Constraint>& constraints, const Clip& original,
                                            const Skeleton& skeleton) {
  std::vector<std::string> sentences;
  for (const Stand& run : runsOf(constraints)) {
    if (run.first > 0 || run.end < original.frames || original.frames == 1) continue;
    double travels = 0.0, asked = 0.0;  // distances from the first place and target
    const Constraint* first = nullptr;
    for (const Constraint& constraint : constraints) {
      if (constraint.joint != run.joint) continue;
      if (!first) first = &constraint;
      const Pnt3 way = skeleton.position(run.joint, original.frame(constraint.frame)) -
                       skeleton.position(run.joint, original.frame(0));
      travels = std::max(travels, way.length());
      asked = std::max(asked, (constraint.target - first->target).length());
    }
    if (travels < lifted * skeleton.height() || asked > 0.5 * travels) continue;
    sentences.push_back(nameOf(original, run.joint) + " is held in all " + std::to_string(original.frames) +
                        " frames, but it travels " + significant(travels / skeleton.height(), 2) +
                        " heights in the clip: leave out the frames in which it moves on");
  }
  return sentences;
}

std::string whyMissed(const Report& report, Hindrance hindrance, double mostTurn) {
  const std::string miss = report.missJoint + " stays " + significant(report.missAfter, 2) +
                           " heights from its target in frame " + std::to_string(report.missFrame);
  if (hindrance == Hindrance::Steps) {
    return miss + " after " + std::to_string(report.steps.size()) + " steps; the goal is " +
           significant(report.goal, 2);
  }
  if (hindrance == Hindrance::Jerk) return miss + ": the motion that came nearer was not smooth";
  return miss + ": the steps towards it turn joints by more than the " +
         significant(mostTurn * degreesOfRadian, 4) + " degrees allowed";
}

}  // namespace limber::motion::detail
