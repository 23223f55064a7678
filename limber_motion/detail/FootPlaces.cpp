#include "limber_motion/detail/FootPlaces.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "limber_motion/detail/SmoothPlaces.h"

namespace limber::motion::detail {

namespace {

constexpr double still = 0.05;    // heights per second: slower frames have about equal weights
constexpr double level = 0.004;   // heights: contacts of a joint that differ by less are on one ground
constexpr double upright = 1e-3;  // how much a place moves up or down, relative to horizontal moves
constexpr double nearlyStraight = 0.9995;  // fraction of the reach of a foot's bones that its joints may use
constexpr int mostSweeps = 20000, alignSweeps = 50;

constexpr double again = 0.35;  // seconds: a joint that comes back sooner stands at its previous place,
constexpr double abrupt = 3.0;  // if the movement would otherwise be this many times more abrupt than it was,
constexpr double risen =
    0.02;  // heights: unless it is so much higher or lower, as an ankle when the heel rises

// A condition on two contacts. Either they overlap in time and their joints are a fixed distance apart, or at
// most that distance. Or they are contacts of one joint that must have one place, as if a bone of length 0
// connected them.
struct Bone {
  Contact *a, *b;
  double length;
  Pnt3 way;     // from a to b, the mean over the frames that they share
  bool atMost;  // the joints may be nearer together
};

// The usual height of these contacts: the median over their frames.
double usualHeight(const std::vector<Contact*>& contacts) {
  std::vector<Contact*> sorted = contacts;
  std::sort(sorted.begin(), sorted.end(), [](Contact* a, Contact* b) { return a->place.y < b->place.y; });
  int frames = 0, passed = 0;
  for (const Contact* contact : sorted) frames += contact->last - contact->first + 1;
  for (const Contact* contact : sorted) {
    passed += contact->last - contact->first + 1;
    if (2 * passed >= frames) return contact->place.y;
  }
  return 0.0;
}

// How far a contact stands below the usual height of its joint; 0 if the difference is so large that the
// contact is on another level.
double sunk(double height, double usual, const Contact& contact) {
  const double depth = usual - contact.place.y;
  return std::fabs(depth) <= level * height ? depth : 0.0;
}

// Lifts or lowers a foot as a whole, all joints that stand at overlapping times by the same amount, so that
// it keeps its tilt. Afterwards nothing is below the ground.
void putOnTheGround(double height, double ground, const std::map<int, double>& usual,
                    std::vector<Contact>* contacts) {
  std::vector<double> lifts;
  for (const Contact& a : *contacts) {
    double sum = 0.0, frames = 0.0;
    for (const Contact& b : *contacts) {
      const int shared = std::min(a.last, b.last) - std::max(a.first, b.first) + 1;
      if (a.foot != b.foot || shared <= 0) continue;
      sum += shared * sunk(height, usual.at(b.joint), b);
      frames += shared;
    }
    lifts.push_back(sum / frames);
  }
  for (std::size_t i = 0; i < contacts->size(); ++i) {
    Contact& contact = (*contacts)[i];
    contact.place.y = std::max(contact.place.y + lifts[i], ground);
  }
}

// The joints in whose axes a joint's origin is fixed: the joint itself and its ancestors up to the first one
// that turns.
std::vector<int> holders(const Clip& clip, int joint) {
  const auto turns = [&](int j) {
    const std::vector<Channel>& channels = clip.joints[static_cast<std::size_t>(j)].channels;
    return std::any_of(channels.begin(), channels.end(), [](const Channel& c) { return c.rotation; });
  };
  std::vector<int> found = {joint};
  for (int j = clip.joints[static_cast<std::size_t>(joint)].parent; j >= 0;
       j = clip.joints[static_cast<std::size_t>(j)].parent) {
    found.push_back(j);
    if (turns(j)) break;
  }
  return found;
}

bool rigid(const Clip& clip, int a, int b) {
  const std::vector<int> ofA = holders(clip, a), ofB = holders(clip, b);
  return std::find_first_of(ofA.begin(), ofA.end(), ofB.begin(), ofB.end()) != ofA.end();
}

// True if a joint would have to jump from one contact to the next: compares the jerk of the smoothest
// movement from rest to rest (60 distances / time^3 at its ends; Flash and Hogan 1985) with the jerk of the
// original in that time.
bool wouldJump(const Clip& clip, const Tracks& tracks, double height, const Contact& a, const Contact& b) {
  const double dt = clip.frameTime, seconds = (b.first - a.last) * dt;
  const Pnt3 way = b.place - a.place;
  if (a.joint != b.joint || a.last >= b.first || seconds > again) return false;
  if (std::fabs(way.y) > risen * height) return false;
  double jerk = 0.0;
  for (int f = std::max(a.last - 3, 0); f + 3 <= std::min(b.first + 3, clip.frames - 1); ++f) {
    const Pnt3 third = tracks.at(a.joint, f + 3) - tracks.at(a.joint, f + 2) * 3.0 +
                       tracks.at(a.joint, f + 1) * 3.0 - tracks.at(a.joint, f);
    jerk = std::max(jerk, third.length() / (dt * dt * dt));
  }
  return 60.0 * way.length() > abrupt * jerk * seconds * seconds * seconds;
}

// True if no other joint of the same foot has a contact.
bool standsAlone(const std::vector<Contact*>& own, const std::vector<Contact>& contacts) {
  return !own.empty() && std::all_of(contacts.begin(), contacts.end(), [&](const Contact& c) {
    return c.foot != own.front()->foot || c.joint == own.front()->joint;
  });
}

// The length of the bones from a joint down to another one; 0 if they are not on one limb or if a position
// channel moves a joint between them.
double reachBetween(const Clip& clip, int from, int to) {
  double reach = 0.0;
  for (int j = to; j != from; j = clip.joints[static_cast<std::size_t>(j)].parent) {
    if (j < from) return 0.0;
    const Joint& joint = clip.joints[static_cast<std::size_t>(j)];
    for (const Channel& c : joint.channels) {
      if (!c.rotation) return 0.0;
    }
    reach += joint.offset.length();
  }
  return reach;
}

std::vector<Bone> bonesBetween(const Clip& clip, const Tracks& tracks, double height,
                               std::vector<Contact>* contacts) {
  std::vector<Bone> bones;
  for (Contact& a : *contacts) {
    for (Contact& b : *contacts) {
      const int first = std::max(a.first, b.first);
      if (wouldJump(clip, tracks, height, a, b)) bones.push_back({&a, &b, 0.0, Pnt3(), false});
      if (a.joint >= b.joint || first > std::min(a.last, b.last)) continue;
      if (a.foot != b.foot) continue;
      if (!rigid(clip, a.joint, b.joint)) {
        const double reach = reachBetween(clip, a.joint, b.joint);
        if (reach > 0.0) bones.push_back({&a, &b, nearlyStraight * reach, Pnt3(), true});
        continue;
      }
      Bone bone = {&a, &b, (tracks.at(a.joint, first) - tracks.at(b.joint, first)).length(), Pnt3(), false};
      const int last = std::min(a.last, b.last);
      for (int f = first; f <= last; ++f) bone.way += tracks.at(b.joint, f) - tracks.at(a.joint, f);
      bone.way *= 1.0 / (last - first + 1);
      bones.push_back(bone);
    }
  }
  return bones;
}

// Moves the ends of each bone until its direction is the mean direction over the shared frames. If a foot
// slides or tips, its joints are at their own mean places at different times, and short bones would turn far
// between two such places.
void align(double ground, const std::vector<Bone>& bones) {
  for (int sweep = 0; sweep < alignSweeps; ++sweep) {
    for (const Bone& bone : bones) {
      if (bone.atMost) continue;
      const Pnt3 off = bone.b->place - bone.a->place - bone.way;
      bone.a->place += off * 0.5;
      bone.b->place -= off * 0.5;
    }
  }
  for (const Bone& bone : bones) {
    bone.a->place.y = std::max(bone.a->place.y, ground);
    bone.b->place.y = std::max(bone.b->place.y, ground);
  }
}

// Moves both ends of a bone, mostly horizontally, until it has its length to first order. Returns by how much
// the length was wrong.
double stretch(const Bone& bone) {
  const Pnt3 way = bone.b->place - bone.a->place;
  const double excess = way.lengthSq() - bone.length * bone.length;
  if (bone.atMost && excess <= 0.0) return 0.0;
  const Pnt3 along(way.x, upright * way.y, way.z);
  const double slope = 4.0 * (along.x * way.x + along.y * way.y + along.z * way.z);
  if (!(slope > 0.0)) return 0.0;
  const Pnt3 move = along * (excess / slope);
  bone.a->place += move;
  bone.b->place -= move;
  return std::fabs(way.length() - bone.length);
}

}  // namespace

Pnt3 stillestPlace(const Tracks& tracks, double height, int joint, int first, int last) {
  Pnt3 sum;
  double weights = 0.0;
  for (int f = first; f <= last; ++f) {
    const double speed = tracks.speed(joint, f) / height;
    const double weight = 1.0 / (speed * speed + still * still);
    sum += tracks.at(joint, f) * weight;
    weights += weight;
  }
  return sum * (1.0 / weights);
}

void choosePlaces(const Clip& clip, const Tracks& tracks, double height, const std::vector<FootJoint>& feet,
                  double ground, std::vector<Contact>* contacts) {
  std::map<int, double> usual;
  for (const FootJoint& foot : feet) {
    std::vector<Contact*> own;
    for (Contact& contact : *contacts) {
      if (contact.joint != foot.joint) continue;
      contact.place = stillestPlace(tracks, height, contact.joint, contact.first, contact.last);
      own.push_back(&contact);
    }
    if (standsAlone(own, *contacts)) smoothPlaces(tracks, own);
    usual[foot.joint] = usualHeight(own);
  }
  putOnTheGround(height, ground, usual, contacts);
  const std::vector<Bone> bones = bonesBetween(clip, tracks, height, contacts);
  align(ground, bones);
  double off = bones.empty() ? 0.0 : height;
  for (int sweep = 0; sweep < mostSweeps && off > 1e-10 * height; ++sweep) {
    off = 0.0;
    for (const Bone& bone : bones) off = std::max(off, stretch(bone));
  }
}

}  // namespace limber::motion::detail
