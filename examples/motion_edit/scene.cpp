#include "scene.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>

#include "page.h"

namespace {

using limber::motion::Clip;
using limber::motion::Constraint;
using limber::motion::Contacts;
using limber::motion::Joint;
using limber::motion::Skeleton;

std::size_t index(int i) { return static_cast<std::size_t>(i); }

// The positions of the joints when only the offsets count and all rotations are zero.
std::vector<Pnt3> restPose(const std::vector<Joint>& joints) {
  std::vector<Pnt3> rest;
  for (const Joint& joint : joints) {
    rest.push_back(joint.parent < 0 ? joint.offset : rest[index(joint.parent)] + joint.offset);
  }
  return rest;
}

// True if a joint hangs on the root of the body.
bool hangsOn(const std::vector<Joint>& joints, int root, int joint) {
  if (joint == root) return false;
  while (joint > root) joint = joints[index(joint)].parent;
  return joint == root;
}

// The side in a joint's name: Left or left anywhere in it, or L or l as a separate word, and the same for the
// right.
Side sideOfName(const std::string& name) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  std::string words = " ";
  for (const char c : name) words += std::isalnum(static_cast<unsigned char>(c)) ? lower(c) : ' ';
  words += ' ';
  const auto has = [&](const char* part) { return words.find(part) != std::string::npos; };
  if (has("left") || has(" l ")) return Side::Left;
  return has("right") || has(" r ") ? Side::Right : Side::Middle;
}

double dot(const Pnt3& a, const Pnt3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

Pnt3 flat(const Pnt3& p) { return Pnt3(p.x, 0.0, p.z); }

// The horizontal direction of the largest extent of points: the first axis of their covariance.
Pnt3 mainDirection(const std::vector<Pnt3>& points) {
  Pnt3 mean;
  for (const Pnt3& p : points) mean += p;
  mean /= static_cast<double>(points.size());
  double xx = 0.0, xz = 0.0, zz = 0.0;
  for (const Pnt3& p : points) {
    const Pnt3 d = p - mean;
    xx += d.x * d.x, xz += d.x * d.z, zz += d.z * d.z;
  }
  const double angle = 0.5 * std::atan2(2.0 * xz, xx - zz);
  return Pnt3(std::cos(angle), 0.0, std::sin(angle));
}

}  // namespace

Scene::Scene(const Clip& before, const Clip& after, const Contacts& contacts,
             const std::vector<Constraint>& held)
    : clip_(upright(before)),
      height_(Skeleton(clip_).height()),
      root_(Skeleton(clip_).carrier()),
      first_(contacts.first) {
  if (!(height_ > 0.0)) height_ = 1.0;
  const Clip was = clip_, is = upright(after);
  const std::vector<Pnt3> rest = restPose(clip_.joints);
  for (std::size_t j = 0; j < rest.size(); ++j)
    drawn_.push_back(hangsOn(clip_.joints, root_, static_cast<int>(j)));
  findFeet(contacts.feet, rest);
  findSides(rest);
  findHandsAndHead(rest);
  track(was, is, contacts.ground);
  for (const Constraint& constraint : held) {
    const bool foot =
        std::find(contacts.feet.begin(), contacts.feet.end(), constraint.joint) != contacts.feet.end();
    const Pnt3 place = inView(upright(constraint.target, before.up));
    targets_.push_back(
        {constraint.frame, constraint.joint, place, foot && place.y < 0.15, constraint.weight >= 1.0});
  }
}

// Places the heel behind the ankle, by a third of the distance between the ankle and the toes, and as low as
// the toes are when the body stands.
void Scene::findFeet(const std::vector<int>& feet, const std::vector<Pnt3>& rest) {
  const auto isFoot = [&](int j) { return std::find(feet.begin(), feet.end(), j) != feet.end(); };
  double lowest = rest[0].y;
  for (const Pnt3& p : rest) lowest = std::min(lowest, p.y);
  for (const int ankle : feet) {
    if (isFoot(clip_.joints[index(ankle)].parent) || rest[index(ankle)].y > lowest + 0.3 * height_) continue;
    Foot foot = {ankle, -1, {}};
    int tip = ankle;
    for (const int j : feet) {
      int up = j;
      while (up > ankle) up = clip_.joints[index(up)].parent;
      if (up == ankle && (rest[index(j)] - rest[index(ankle)]).lengthSq() >
                             (rest[index(tip)] - rest[index(ankle)]).lengthSq())
        tip = j;
    }
    if (tip == ankle) continue;
    for (int j = tip; j != ankle; j = clip_.joints[index(j)].parent) foot.sole.insert(foot.sole.begin(), j);
    foot.sole.insert(foot.sole.begin(), ankle);
    const Pnt3 way = rest[index(tip)] - rest[index(ankle)];
    Joint heel = {"", ankle,          flat(way) * (-1.0 / 3.0) + Pnt3(0, std::min(way.y, 0.0), 0),
                  {}, clip_.channels, true};
    foot.heel = static_cast<int>(clip_.joints.size());
    clip_.joints.push_back(heel);
    drawn_.push_back(false);
    for (const int j : foot.sole) drawn_[index(j)] = drawn_[index(j)] && j == ankle;
    feet_.push_back(foot);
  }
}

// The sides follow from the names if these name both, and otherwise from the rest pose. With all angles 0,
// the left side is on the left of someone who looks in the direction of the feet.
void Scene::findSides(const std::vector<Pnt3>& rest) {
  Pnt3 forward;
  for (const Foot& foot : feet_) forward += flat(rest[index(foot.sole.back())] - rest[index(foot.ankle)]);
  if (!(forward.length() > 1e-6 * height_)) forward = Pnt3(0, 0, 1);
  forward /= forward.length();
  const Pnt3 left = Pnt3(0, 1, 0) * forward;
  const auto named = [&](Side side) {
    return std::any_of(clip_.joints.begin(), clip_.joints.end(),
                       [&](const Joint& joint) { return sideOfName(joint.name) == side; });
  };
  const bool byName = named(Side::Left) && named(Side::Right);
  for (std::size_t j = 0; j < clip_.joints.size(); ++j) {
    const int parent = clip_.joints[j].parent;
    Side own = Side::Middle;
    const double aside = j < rest.size() ? dot(rest[j] - rest[index(root_)], left) / height_ : 0.0;
    if (byName) {
      own = sideOfName(clip_.joints[j].name);
    } else if (std::fabs(aside) > 0.02) {
      own = aside > 0.0 ? Side::Left : Side::Right;
    }
    sides_.push_back(own == Side::Middle && parent >= 0 ? sides_[index(parent)] : own);
  }
}

void Scene::findHandsAndHead(const std::vector<Pnt3>& rest) {
  std::map<Side, double> farthest;
  std::map<Side, int> ends;
  for (std::size_t j = 0; j < rest.size(); ++j) {
    const int joint = static_cast<int>(j);
    bool isEnd = true, isFoot = false;
    for (std::size_t k = j + 1; k < rest.size(); ++k) isEnd = isEnd && clip_.joints[k].parent != joint;
    for (const Foot& foot : feet_)
      isFoot = isFoot || std::count(foot.sole.begin(), foot.sole.end(), joint) > 0;
    if (!isEnd || isFoot) continue;
    const Side side = sides_[j];
    const double far =
        side == Side::Middle ? rest[j].y - rest[index(root_)].y : (rest[j] - rest[index(root_)]).length();
    if (ends.count(side) && farthest[side] >= far) continue;
    farthest[side] = far;
    ends[side] = joint;
  }
  for (const auto& [side, end] : ends) {
    const int parent = clip_.joints[index(end)].parent;
    if (side != Side::Middle) {
      hands_.push_back(clip_.joints[index(end)].endSite && parent > 0 ? parent : end);
    } else if (parent >= 0 && farthest[side] > 0.0) {
      head_ = end;
      headRadius_ =
          std::clamp((rest[index(end)] - rest[index(parent)]).length() / height_ / 2.0, 0.045, 0.07);
      drawn_[index(end)] = false;
    }
  }
}

Pnt3 Scene::inView(const Pnt3& place) const {
  const Pnt3 p = place - origin_;
  return Pnt3(dot(p, along_), p.y, dot(p, right_)) * (1.0 / height_);
}

void Scene::track(const Clip& before, const Clip& after, double ground) {
  std::vector<Pnt3> places[2], roots;
  for (const bool edited : {false, true}) {
    Clip clip = edited ? after : before;
    clip.joints = clip_.joints;
    const Skeleton skeleton(clip);
    limber::motion::Pose pose;
    for (int f = 0; f < clip.frames; ++f) {
      skeleton.pose(clip.frame(f), &pose);
      places[edited].insert(places[edited].end(), pose.position.begin(), pose.position.end());
      if (!edited && f >= first_) roots.push_back(flat(pose.position[index(root_)]));
    }
  }
  along_ = mainDirection(roots);
  Range way;
  for (const Pnt3& p : roots) way.include(dot(p, along_));
  if (way.size() < 0.5 * height_) {  // a body that stays in place is drawn from the side
    const std::size_t middle = index(before.frames / 2) * clip_.joints.size();
    Pnt3 left;
    for (std::size_t j = 0; j < clip_.joints.size(); ++j) {
      if (sides_[j] != Side::Middle)
        left += flat(places[0][middle + j] - places[0][middle + index(root_)]) *
                (sides_[j] == Side::Left ? 1.0 : -1.0);
    }
    if (left.length() > 0.0) along_ = left * Pnt3(0, 1, 0) * (1.0 / left.length());
  } else if (dot(roots.back() - roots.front(), along_) < 0.0) {
    along_ *= -1.0;
  }
  right_ = along_ * Pnt3(0, 1, 0);
  origin_ = flat(roots.front()) + Pnt3(0, ground, 0);
  for (const bool edited : {false, true}) {
    for (const Pnt3& p : places[edited]) tracks_[edited].push_back(inView(p));
  }
}
