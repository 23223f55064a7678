#include "limber_motion/Contacts.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "limber_motion/Error.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/Upright.h"
#include "limber_motion/detail/Feet.h"
#include "limber_motion/detail/FootPlaces.h"
#include "limber_motion/detail/Numbers.h"
#include "limber_motion/detail/OnTheSpot.h"
#include "limber_motion/detail/Tracks.h"

namespace limber::motion {

namespace {

using detail::FootJoint;
using detail::Tracks;

constexpr double sliding = 3.0;  // factor for the speeds and distances of the options if no foot stands still

constexpr double aside =
    0.75;  // fraction of ContactOptions::nearby: a joint that stands this far away has stepped aside

constexpr double elsewhere = 0.1;  // heights: a joint that is this far away after a short gap has jumped

constexpr double stillFor = 0.25;  // seconds: a foot that is still so long may stand on something higher

// A run of frames, both ends included.
struct Run {
  int first, last;
};

class ContactFinder {
 public:
  ContactFinder(const Clip& clip, const ContactOptions& options)
      : clip_(clip), options_(options), skeleton_(clip), tracks_(clip, skeleton_) {}

  Contacts find() {
    Contacts found;
    found.first = tracks_.first();
    feet_ = detail::findFeet(clip_, skeleton_, tracks_, &found.ground);
    for (const FootJoint& foot : feet_) found.feet.push_back(foot.joint);
    belt_ = detail::slidesOnTheSpot(tracks_, skeleton_.carrier(), feet_, options_.low * skeleton_.height(),
                                    options_.slow * skeleton_.height());
    if (belt_ == 0.0) findRuns(&found);
    if (belt_ == 0.0 && found.list.empty()) {  // no foot stands still, so look for feet that slide slowly
      slide_ = sliding;
      findRuns(&found);
    }
    detail::choosePlaces(clip_, tracks_, skeleton_.height(), feet_, found.ground, &found.list);
    found.note = note(found);
    return found;
  }

 private:
  int frames(double seconds) const {
    return static_cast<int>(std::lrint(std::min(seconds / clip_.frameTime, 1e9)));
  }

  void findRuns(Contacts* found) const {
    for (const FootJoint& foot : feet_) {
      for (const Run& run : runs(foot))
        found->list.push_back({foot.joint, run.first, run.last, Pnt3(), foot.foot});
    }
  }

  // The frames in which one joint stands.
  std::vector<Run> runs(const FootJoint& foot) const {
    std::vector<Run> certain;
    for (int f = tracks_.first(); f < clip_.frames; ++f) {
      if (!within(foot, f, options_.low, options_.slow)) continue;
      if (!certain.empty() && f - certain.back().last - 1 <= frames(options_.longestGap) &&
          !jumps(foot, certain.back().last, f)) {
        certain.back().last = f;
      } else {
        certain.push_back({f, f});
      }
    }
    std::vector<Run> found;
    for (const Run& run : certain) {
      if (run.last - run.first + 1 < std::max(2, frames(options_.shortest))) continue;
      if (!found.empty() && isOne(foot, found.back(), run)) {
        found.back().last = run.last;
      } else {
        found.push_back(run);
      }
    }
    for (std::size_t i = 0; i < found.size(); ++i) {
      const int begin = i == 0 ? tracks_.first() : found[i - 1].last + 1;
      const int end = i + 1 == found.size() ? clip_.frames : found[i + 1].first;
      extend(foot, begin, end, &found[i]);
    }
    return found;
  }

  bool within(const FootJoint& foot, int f, double high, double fast) const {
    const double height = skeleton_.height();
    return tracks_.at(foot.joint, f).y < foot.low + high * height &&
           tracks_.speed(foot.joint, f) < slide_ * fast * height;
  }
  // True if a joint is somewhere else after a gap between two frames in which it stands.
  bool jumps(const FootJoint& foot, int a, int b) const {
    const double way = (tracks_.at(foot.joint, b) - tracks_.at(foot.joint, a)).length();
    return b > a + 1 && way > slide_ * elsewhere * skeleton_.height();
  }
  bool lasts(const FootJoint& foot, int f) const {
    return within(foot, f, options_.notHigh, options_.notFast);
  }
  Pnt3 placeOf(const FootJoint& foot, const Run& run) const {
    return detail::stillestPlace(tracks_, skeleton_.height(), foot.joint, run.first, run.last);
  }

  // True if two runs are one contact: the joint soon stands at the same place again and stays near it in
  // between.
  bool isOne(const FootJoint& foot, const Run& a, const Run& b) const {
    if (b.first - a.last - 1 > frames(options_.soon)) return false;
    const Pnt3 place = placeOf(foot, a);
    const double radius = slide_ * options_.nearby * skeleton_.height();
    if ((placeOf(foot, b) - place).length() > aside * radius) return false;
    for (int f = a.last + 1; f <= b.first; ++f) {
      if ((tracks_.at(foot.joint, f) - place).length() > radius) return false;
    }
    return true;
  }

  // Extends the run on both sides, from `begin` to before `end`, over the frames in which the contact lasts.
  void extend(const FootJoint& foot, int begin, int end, Run* run) const {
    const Pnt3 place = placeOf(foot, *run);
    const double stray = slide_ * options_.stray * skeleton_.height();
    const auto belongs = [&](int f) {
      return lasts(foot, f) && (tracks_.at(foot.joint, f) - place).length() <= stray;
    };
    while (run->first > begin && belongs(run->first - 1)) --run->first;
    while (run->last + 1 < end && belongs(run->last + 1)) ++run->last;
  }

  std::string note(const Contacts& found) const {
    if (!(skeleton_.height() > 0.0)) return "no feet found: the skeleton has no extent";
    if (clip_.frames < 2) return "no feet found: one frame does not show what stands";
    if (belt_ > 0.0) {
      return "no feet found: the feet slide at about " + detail::fixed(belt_ / skeleton_.height(), 2) +
             " heights a second under a body that stays where it is; if it walks on the spot, add its path "
             "to the root first";
    }
    std::vector<int> limbs;
    std::string names;
    for (const FootJoint& foot : feet_) {
      if (std::find(limbs.begin(), limbs.end(), foot.foot) != limbs.end()) continue;
      limbs.push_back(foot.foot);
      names += (names.empty() ? "" : ", ") + clip_.joints[static_cast<std::size_t>(foot.foot)].name;
    }
    if (found.list.empty()) {
      return "no feet found: the lowest parts of the body (" + names +
             ") never stand still near the ground; a script can name what stands";
    }
    if (limbs.size() > 2) {
      return std::to_string(limbs.size()) +
             " parts of the body come near the ground and may stand there: " + names;
    }
    std::string text;
    if (slide_ > 1.0) {
      text = "the feet never stand still: they are taken to stand where they slide slower than " +
             detail::fixed(slide_ * options_.slow, 2) + " heights a second";
    }
    for (const int limb : limbs) {
      const int still = stillFramesAbove(limb);
      if (still == 0) continue;
      text += (text.empty() ? "" : "; ") + clip_.joints[static_cast<std::size_t>(limb)].name +
              " is also still in " + std::to_string(still) +
              " frames in which it is higher, as on stairs; it is not held there, but a script can do so";
    }
    return text;
  }

  // The number of frames in which all joints of a foot are still for a while, but too high for a contact.
  int stillFramesAbove(int limb) const {
    const int least = std::max(2, frames(stillFor));
    int count = 0, run = 0;
    for (int f = tracks_.first(); f < clip_.frames; ++f) {
      const bool still = std::all_of(feet_.begin(), feet_.end(), [&](const FootJoint& foot) {
        return foot.foot != limb ||
               (tracks_.at(foot.joint, f).y >= foot.low + options_.notHigh * skeleton_.height() &&
                tracks_.speed(foot.joint, f) < options_.slow * skeleton_.height());
      });
      run = still ? run + 1 : 0;
      count += run == least ? least : run > least ? 1 : 0;
    }
    return count;
  }

  const Clip& clip_;
  const ContactOptions& options_;
  const Skeleton skeleton_;
  const Tracks tracks_;
  std::vector<FootJoint> feet_;
  double slide_ = 1.0;  // factor for the speeds and distances of the options
  double belt_ = 0.0;   // the speed of the feet if the body walks on the spot
};

}  // namespace

Contacts findContacts(const Clip& clip, const ContactOptions& options) {
  if (clip.frames < 1) throw Error("the clip has no frames");
  Contacts found = ContactFinder(upright(clip), options).find();
  for (Contact& contact : found.list) contact.place = fromUpright(contact.place, clip.up);
  return found;
}

Contacts contactsBeside(const Contacts& contacts, const std::vector<Constraint>& constraints) {
  std::map<int, int> footOf;  // the foot of each joint that stands
  for (const Contact& contact : contacts.list) footOf[contact.joint] = contact.foot;
  std::set<std::pair<int, int>> asked;  // foot and frame
  for (const Constraint& constraint : constraints) {
    const auto found = footOf.find(constraint.joint);
    if (found != footOf.end()) asked.insert({found->second, constraint.frame});
  }
  Contacts left = contacts;
  left.list.clear();
  for (const Contact& contact : contacts.list) {
    Contact part = contact;
    for (part.last = contact.first; part.last <= contact.last; ++part.last) {
      if (asked.count({contact.foot, part.last}) == 0) continue;
      if (part.first < part.last)
        left.list.push_back({part.joint, part.first, part.last - 1, part.place, part.foot});
      part.first = part.last + 1;
    }
    part.last = contact.last;
    if (part.first <= part.last) left.list.push_back(part);
  }
  return left;
}

std::vector<Constraint> constraintsOf(const Contacts& contacts) {
  std::vector<Constraint> constraints;
  for (const Contact& contact : contacts.list) {
    for (int f = contact.first; f <= contact.last; ++f)
      constraints.push_back({f, contact.joint, contact.place, 1.0});
  }
  sortByFrame(&constraints);
  return constraints;
}

}  // namespace limber::motion
