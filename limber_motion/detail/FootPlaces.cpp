#include "limber_motion/detail/FootPlaces.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace limber::motion::detail {

namespace {

constexpr double still = 0.05;    // heights a second: slower frames count alike
constexpr double level = 0.01;    // heights: contacts of a joint that differ by less are on the same ground
constexpr double upright = 1e-3;  // how readily a place leaves its height, compared with its other directions
constexpr int mostSweeps = 20000;

constexpr double again = 0.15;  // seconds: a joint that comes back after less stands where it stood,
constexpr double near = 0.02;   // if that is within so many heights

/// Two contacts that overlap in time and whose joints a rigid bone holds apart; or two of one joint that
/// shall have one place, which is a bone of length 0.
struct Bone {
  Contact *a, *b;
  double length;
};

/// The height at which most frames of these contacts stand: the median over frames.
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

/// How far a contact stands below the height that its joint usually stands at; 0 where that is another level.
double sunk(double height, double usual, const Contact& contact) {
  const double depth = usual - contact.place.y;
  return std::fabs(depth) <= level * height ? depth : 0.0;
}

/// A foot is lifted or lowered as a whole, all joints that stand at overlapping times by the same, so that it
/// keeps its tilt; then nothing stays below the ground.
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
  for (std::size_t i = 0; i < contacts->size(); i++) {
    Contact& contact = (*contacts)[i];
    contact.place.y = std::max(contact.place.y + lifts[i], ground);
  }
}

/// The joints whose axes a joint's origin is fixed in: its own, its parent's and, past joints that do not
/// turn, those above.
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

std::vector<Bone> bonesBetween(const Clip& clip, const Tracks& tracks, double height,
                               std::vector<Contact>* contacts) {
  std::vector<Bone> bones;
  for (Contact& a : *contacts) {
    for (Contact& b : *contacts) {
      const int first = std::max(a.first, b.first);
      if (a.joint == b.joint && a.last < b.first && (b.first - a.last) * clip.frameTime <= again &&
          (a.place - b.place).length() <= near * height) {
        bones.push_back({&a, &b, 0.0});
      }
      if (a.joint >= b.joint || first > std::min(a.last, b.last)) continue;
      if (a.foot != b.foot || !rigid(clip, a.joint, b.joint)) continue;
      bones.push_back({&a, &b, (tracks.at(a.joint, first) - tracks.at(b.joint, first)).length()});
    }
  }
  return bones;
}

/// Moves both ends of a bone, mostly in the ground's plane, until it has its length to first order; how far
/// off it was.
double stretch(const Bone& bone) {
  const Pnt3 way = bone.b->place - bone.a->place;
  const double excess = way.lengthSq() - bone.length * bone.length;
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
  for (int f = first; f <= last; f++) {
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
    usual[foot.joint] = usualHeight(own);
  }
  putOnTheGround(height, ground, usual, contacts);
  const std::vector<Bone> bones = bonesBetween(clip, tracks, height, contacts);
  double off = bones.empty() ? 0.0 : height;
  for (int sweep = 0; sweep < mostSweeps && off > 1e-10 * height; sweep++) {
    off = 0.0;
    for (const Bone& bone : bones) off = std::max(off, stretch(bone));
  }
}

}  // namespace limber::motion::detail
