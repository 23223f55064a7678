#include "limber_motion/Contacts.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "limber_motion/Skeleton.h"
#include "limber_motion/detail/Feet.h"
#include "limber_motion/detail/FootPlaces.h"
#include "limber_motion/detail/Numbers.h"
#include "limber_motion/detail/Tracks.h"

namespace limber::motion {

namespace {

using detail::FootJoint;
using detail::Tracks;

constexpr double mostSliding = 4.0;  // times the speeds of the options

/// A run of frames, both ends included.
struct Run {
  int first, last;
};

class ContactFinder {
 public:
  ContactFinder(const Clip& clip, const ContactOptions& options)
      : clip_(clip), options_(options), skeleton_(clip), tracks_(clip, skeleton_) {}

  Contacts find() {
    Contacts found;
    feet_ = detail::findFeet(clip_, skeleton_, tracks_, &found.ground);
    for (const FootJoint& foot : feet_) found.feet.push_back(foot.joint);
    // Where no foot stands still at all, all of them slide: those are looked for that slide slowly.
    for (slide_ = 1.0; found.list.empty() && slide_ <= mostSliding; slide_ *= 2.0) {
      for (const FootJoint& foot : feet_) {
        for (const Run& run : runs(foot))
          found.list.push_back({foot.joint, run.first, run.last, Pnt3(), foot.foot});
      }
      if (!found.list.empty()) break;
    }
    detail::choosePlaces(clip_, tracks_, skeleton_.height(), feet_, found.ground, &found.list);
    found.note = note(found);
    return found;
  }

 private:
  int frames(double seconds) const {
    return static_cast<int>(std::lrint(std::min(seconds / clip_.frameTime, 1e9)));
  }

  /// The frames in which one joint stands.
  std::vector<Run> runs(const FootJoint& foot) const {
    const double height = skeleton_.height();
    const auto within = [&](int f, double high, double fast) {
      return tracks_.at(foot.joint, f).y < foot.low + high * height &&
             tracks_.speed(foot.joint, f) < slide_ * fast * height;
    };
    std::vector<Run> found;
    for (int f = tracks_.first(); f < clip_.frames; f++) {
      if (!within(f, options_.low, options_.slow)) continue;
      const int behind = found.empty() ? tracks_.first() : found.back().last + 1;
      Run run = {f, f};
      const auto lasts = [&](int g) { return within(g, options_.notHigh, options_.notFast); };
      while (run.first > behind && lasts(run.first - 1)) run.first--;
      while (run.last + 1 < clip_.frames && lasts(run.last + 1)) run.last++;
      if (!found.empty() && run.first - found.back().last - 1 <= frames(options_.longestGap)) {
        found.back().last = run.last;
      } else {
        found.push_back(run);
      }
      f = run.last;
    }
    const int least = std::max(2, frames(options_.shortest));
    const auto tooShort = [&](const Run& run) { return run.last - run.first + 1 < least; };
    found.erase(std::remove_if(found.begin(), found.end(), tooShort), found.end());
    return found;
  }

  std::string note(const Contacts& found) const {
    if (!(skeleton_.height() > 0.0)) return "no feet found: the skeleton has no extent";
    if (clip_.frames < 2) return "no feet found: one frame does not show what stands";
    std::vector<int> limbs;
    std::string names;
    for (const FootJoint& foot : feet_) {
      if (std::find(limbs.begin(), limbs.end(), foot.foot) != limbs.end()) continue;
      limbs.push_back(foot.foot);
      names += (names.empty() ? "" : ", ") + clip_.joints[static_cast<std::size_t>(foot.foot)].name;
    }
    if (found.list.empty()) {
      return "no feet found: the lowest parts of the body (" + names +
             ") never stand still near the ground; a script can say what shall stand";
    }
    if (limbs.size() > 2) {
      return std::to_string(limbs.size()) +
             " parts of the body come near the ground and may stand there: " + names;
    }
    if (slide_ > 1.0) {
      return "the feet never stand still: they are taken to stand where they slide slower than " +
             detail::shortest(slide_ * options_.slow) + " heights a second";
    }
    return "";
  }

  const Clip& clip_;
  const ContactOptions& options_;
  const Skeleton skeleton_;
  const Tracks tracks_;
  std::vector<FootJoint> feet_;
  double slide_ = 1.0;  // times the speeds of the options
};

}  // namespace

Contacts findContacts(const Clip& clip, const ContactOptions& options) {
  return ContactFinder(clip, options).find();
}

Contacts contactsBeside(const Contacts& contacts, const std::vector<Constraint>& constraints) {
  std::map<int, int> footOf;  // of the joints that stand
  for (const Contact& contact : contacts.list) footOf[contact.joint] = contact.foot;
  std::set<std::pair<int, int>> asked;  // foot and frame
  for (const Constraint& wish : constraints) {
    const auto found = footOf.find(wish.joint);
    if (found != footOf.end()) asked.insert({found->second, wish.frame});
  }
  Contacts left = contacts;
  left.list.clear();
  for (const Contact& contact : contacts.list) {
    Contact part = contact;
    for (part.last = contact.first; part.last <= contact.last; part.last++) {
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
  std::vector<Constraint> wishes;
  for (const Contact& contact : contacts.list) {
    for (int f = contact.first; f <= contact.last; f++)
      wishes.push_back({f, contact.joint, contact.place, 1.0});
  }
  sortByFrame(&wishes);
  return wishes;
}

}  // namespace limber::motion
