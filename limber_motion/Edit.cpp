#include "limber_motion/Edit.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "limber_motion/Error.h"
#include "limber_motion/Quality.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/Upright.h"
#include "limber_motion/detail/EditRun.h"
#include "limber_motion/detail/LineReader.h"
#include "limber_motion/detail/NameOf.h"
#include "limber_motion/detail/SecondsNow.h"

namespace limber::motion {

namespace {

using detail::nameOf;

bool before(const Constraint& a, const Constraint& b) {
  return a.frame != b.frame ? a.frame < b.frame : a.joint < b.joint;
}

void checkClip(const Clip& clip) {
  if (clip.frames < 1) throw Error("the clip has no frames");
  for (int f = 0; f < clip.frames; f++) {
    for (int c = 0; c < clip.channels; c++) {
      if (std::isfinite(clip.frame(f)[c])) continue;
      throw Error("frame " + std::to_string(f + 1) + " of the clip has a channel of " +
                  nameOf(clip, clip.owner(c)) + " that is not a finite number");
    }
  }
  if (!(Skeleton(clip).height() > 0.0))
    throw Error("the skeleton has no extent: all its bones have length zero");
}

}  // namespace

Edit::Edit(Clip& clip, EditOptions options) : clip_(clip), options_(std::move(options)) { checkClip(clip); }

void Edit::plant(const Contacts& contacts) {
  feet_ = contacts;
  planted_ = true;
  plants_ = constraintsOf(contacts);
}

void Edit::reach(int frame, int joint, const Pnt3& point, double weight) {
  if (joint < 0 || joint >= static_cast<int>(clip_.joints.size())) {
    throw Error("there is no joint " + std::to_string(joint) + " in the clip, which has joints 0 to " +
                std::to_string(clip_.joints.size() - 1));
  }
  const std::string name = nameOf(clip_, joint);
  if (frame < 0 || frame >= clip_.frames) {
    throw Error(name + " cannot reach for a point in frame " + std::to_string(frame + 1) + " of a clip of " +
                std::to_string(clip_.frames) + " frames");
  }
  if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.z) || !(weight >= 0.0)) {
    throw Error("the target of " + name + " in frame " + std::to_string(frame + 1) +
                " is not a finite point");
  }
  constraints_.push_back({frame, joint, point, weight});
}

void Edit::hold(int first, int last, int joint) {
  const bool exists = joint >= 0 && joint < static_cast<int>(clip_.joints.size());
  const bool inClip = first >= 0 && first < clip_.frames;
  const Pnt3 place = exists && inClip ? Skeleton(clip_).position(joint, clip_.frame(first)) : Pnt3();
  for (int f = first; f <= last; f++) reach(f, joint, place);
}

void Edit::reach(int frame, const std::string& joint, const Pnt3& point, double weight) {
  reach(frame, jointCalled(joint), point, weight);
}

void Edit::hold(int first, int last, const std::string& joint) { hold(first, last, jointCalled(joint)); }

int Edit::jointCalled(const std::string& name) const {
  const int joint = clip_.find(name);
  if (joint < 0) throw Error("there is no joint called " + detail::quoted(name) + " in the clip");
  return joint;
}

void Edit::add(const std::vector<Constraint>& constraints) {
  for (const Constraint& c : constraints) reach(c.frame, c.joint, c.target, c.weight);
}

// All constraints, sorted by frame and joint. Those of the user replace those of contacts. `rank` is 1 for
// constraints of the user, 0 for contacts.
std::vector<Constraint> Edit::allConstraints(std::vector<int>* rank) {
  std::stable_sort(constraints_.begin(), constraints_.end(), before);
  for (std::size_t i = 1; i < constraints_.size(); i++) {
    if (before(constraints_[i - 1], constraints_[i])) continue;
    throw Error("two targets for " + nameOf(clip_, constraints_[i].joint) + " in frame " +
                std::to_string(constraints_[i].frame + 1));
  }
  std::vector<Constraint> constraints = plants_;
  constraints.insert(constraints.end(), constraints_.begin(), constraints_.end());
  sortByFrame(&constraints);
  for (const Constraint& constraint : constraints) {
    rank->push_back(std::binary_search(constraints_.begin(), constraints_.end(), constraint, before) ? 1 : 0);
  }
  return constraints;
}

Report Edit::solve() {
  const double begun = detail::secondsNow();
  if (!planted_) feet_ = findContacts(clip_);
  std::vector<int> rank;
  const std::vector<Constraint> constraints = allConstraints(&rank);
  Report report = constraints.empty() ? nothingToDo() : solveUpright(constraints, rank);
  report.seconds = detail::secondsNow() - begun;
  return report;
}

// The edit itself knows only clips in which y is up.
Report Edit::solveUpright(std::vector<Constraint> constraints, const std::vector<int>& rank) {
  Clip turned = upright(clip_);
  for (Constraint& constraint : constraints) constraint.target = upright(constraint.target, clip_.up);
  Report report = detail::EditRun(&turned, feet_, constraints, rank, options_).run();
  takeFrames(turned, &clip_);
  if (clip_.up != Up::Y) report.notes.insert(report.notes.begin(), nameOf(clip_.up) + " is up");
  return report;
}

Report Edit::nothingToDo() const {
  Report report;
  report.height = Skeleton(clip_).height();
  report.goal = options_.goal;
  report.impossible = true;
  report.reasons.push_back(planted_ && !feet_.note.empty() ? feet_.note : "nothing is to be held");
  return report;
}

}  // namespace limber::motion
