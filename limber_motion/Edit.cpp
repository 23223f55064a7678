#include "limber_motion/Edit.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "limber_motion/Error.h"
#include "limber_motion/Stiffness.h"
#include "limber_motion/Upright.h"
#include "limber_motion/detail/CheckClip.h"
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

void check(const EditOptions& options) {
  const double longest = 1e6;
  const auto refuse = [](const char* what) { throw Error(std::string("EditOptions::") + what); };
  if (!(options.smooth >= 0.0 && options.smooth <= longest))
    refuse("smooth is not a time from 0 to 1e6 seconds");
  if (!(options.knots >= 0.0)) refuse("knots is not a number from 0 on");
  if (!(options.goal > 0.0)) refuse("goal is not a number above 0");
  if (!(options.mostTurn > 0.0)) refuse("mostTurn is not a number above 0");
  if (options.mostSteps < 1 || options.mostSteps > 1000) refuse("mostSteps is not a number from 1 to 1000");
}

void checkPlace(const Clip& clip, int frame, int joint) {
  if (joint < 0 || joint >= static_cast<int>(clip.joints.size())) {
    throw Error("there is no joint " + std::to_string(joint) + " in the clip, which has joints 0 to " +
                std::to_string(clip.joints.size() - 1));
  }
  if (frame < 0 || frame >= clip.frames) {
    throw Error(nameOf(clip, joint) + " cannot be held in frame " + std::to_string(frame + 1LL) +
                " of a clip of " + std::to_string(clip.frames) + " frames");
  }
}

}  // namespace

Edit::Edit(Clip& clip, EditOptions options) : clip_(clip), options_(std::move(options)), skeleton_(clip) {
  check(options_);
  if (clip.frames < 1) throw Error("the clip has no frames");
  if (!(skeleton_.height() > 0.0)) throw Error("the skeleton has no extent: all its bones have length zero");
  jointStiffness(clip, skeleton_, options_.stiffness);  // throws Error if one is not usable
}

void Edit::plant(const Contacts& contacts) {
  for (const Contact& contact : contacts.list) {
    checkPlace(clip_, contact.first, contact.joint);
    checkPlace(clip_, contact.last, contact.joint);
    if (!detail::isFinite(contact.place))
      throw Error("the place of a contact of " + nameOf(clip_, contact.joint) + " is not a finite point");
  }
  for (const int foot : contacts.feet) checkPlace(clip_, contacts.first, foot);
  feet_ = contacts;
  planted_ = true;
  plants_ = constraintsOf(contacts);
}

void Edit::reach(int frame, int joint, const Pnt3& point, double weight) {
  checkPlace(clip_, frame, joint);
  const std::string target =
      "the target of " + nameOf(clip_, joint) + " in frame " + std::to_string(frame + 1);
  if (!detail::isFinite(point)) throw Error(target + " is not a finite point");
  if (!(weight >= 0.0 && std::isfinite(weight)))
    throw Error(target + " has a weight that is not a number from 0 on");
  constraints_.push_back({frame, joint, point, weight});
}

void Edit::hold(int first, int last, int joint, int easeIn, int easeOut) {
  checkPlace(clip_, first, joint);
  checkPlace(clip_, last, joint);
  if (last < first)
    throw Error(nameOf(clip_, joint) + " is to be held from frame " + std::to_string(first + 1) +
                " to the earlier frame " + std::to_string(last + 1));
  const Pnt3 place = skeleton_.position(joint, clip_.frame(first));
  const std::vector<double> weights = easedWeights(last - first + 1, easeIn, easeOut);
  for (int f = first; f <= last; ++f) reach(f, joint, place, weights[static_cast<std::size_t>(f - first)]);
}

void Edit::hold(int first, int last, int joint) { hold(first, last, joint, 0, 0); }

void Edit::reach(int frame, const std::string& joint, const Pnt3& point, double weight) {
  reach(frame, jointCalled(joint), point, weight);
}

void Edit::hold(int first, int last, const std::string& joint) { hold(first, last, jointCalled(joint)); }

void Edit::hold(int first, int last, const std::string& joint, int easeIn, int easeOut) {
  hold(first, last, jointCalled(joint), easeIn, easeOut);
}

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
  for (std::size_t i = 1; i < constraints_.size(); ++i) {
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
  report.height = skeleton_.height();
  report.goal = options_.goal;
  report.impossible = true;
  report.reasons.push_back(planted_ && !feet_.note.empty() ? feet_.note : "nothing is to be held");
  return report;
}

}  // namespace limber::motion
