#include "limber_motion/detail/BrokenBounds.h"

#include <algorithm>
#include <cmath>

#include "limber_motion/Quality.h"
#include "limber_motion/detail/Degrees.h"
#include "limber_motion/detail/Jerk.h"
#include "limber_motion/detail/NameOf.h"
#include "limber_motion/detail/Numbers.h"
#include "limber_motion/detail/Places.h"

namespace limber::motion::detail {

namespace {

constexpr double mostEdge = 3.0, meanEdge = 1.1, mostBody = 1.3;  // ratios of jerk
constexpr double mostTurn = 20.0;                                 // degrees
constexpr double mostSkate = 0.02, moreSkate = 0.001;             // heights a second, and more than before
constexpr double deeper = 5e-4;                                   // heights

std::string moment(const Clip& clip, int joint, int frame) {
  return nameOf(clip, joint) + " in frame " + std::to_string(frame + 1);
}

// "the WHAT is 4.2 at LeftToe in frame 7; at most 3 is allowed"
std::string tooLarge(const std::string& what, double value, const std::string& where, double limit) {
  return what + " " + significant(value, 3) + where + "; at most " + significant(limit, 3) + " is allowed";
}

// The horizontal distance that a joint slides in a stand.
double slide(const Places& places, const Stand& stand) {
  double way = 0.0;
  for (int f = stand.first; f + 1 < stand.end; ++f) {
    const Pnt3 step = places.at(stand.joint, f + 1) - places.at(stand.joint, f);
    way += std::hypot(step.x, step.z);
  }
  return way;
}

}  // namespace

std::vector<std::string> whoSinks(const Clip& clip, double before, double target, const Deepest& after) {
  if (after.depth <= std::max(before, target) + deeper) return {};
  return {moment(clip, after.joint, after.frame) + " is " + significant(after.depth, 3) +
          " heights below the ground; no foot was deeper than " + significant(before, 3) + " before"};
}

std::vector<std::string> brokenBounds(const Clip& original, const Clip& edited, const Skeleton& skeleton,
                                      int first, const Report& report) {
  double ground = 0.0;
  std::vector<Stand> stands = findStands(original, &ground);
  for (Stand& stand : stands) stand.first = std::max(stand.first, first);
  stands.erase(std::remove_if(stands.begin(), stands.end(), [](const Stand& s) { return s.first >= s.end; }),
               stands.end());
  const Quality quality = measureQuality(original, edited, stands, ground);
  const Places before(original, skeleton), after(edited, skeleton);
  std::vector<std::string> sentences;
  const auto check = [&](const std::string& what, double value, const std::string& where, double limit) {
    if (!(value <= limit)) sentences.push_back(tooLarge(what, value, where, limit));
  };
  if (quality.edgeJerk > meanEdge || quality.largestEdgeJerk > mostEdge) {
    const std::vector<EndJerk> ends = endJerks(before, after, stands, original.frameTime);
    const EndJerk worst = *std::max_element(
        ends.begin(), ends.end(), [](const EndJerk& a, const EndJerk& b) { return a.ratio < b.ratio; });
    const std::string where = ", most at " + moment(original, worst.joint, worst.frame);
    check("the mean jerk at the ends of the contacts, relative to before, is", quality.edgeJerk, where,
          meanEdge);
    check("the largest jerk at an end of a contact, relative to before, is", quality.largestEdgeJerk, where,
          mostEdge);
  }
  check("the jerk of the body, relative to before, is", quality.bodyJerk, "", mostBody);
  check("the largest turn in degrees is", report.turn * degreesOfRadian,
        " at " + report.turnJoint + " in frame " + std::to_string(report.turnFrame), mostTurn);
  if (quality.skateAfter > mostSkate || quality.skateAfter > quality.skateBefore + moreSkate) {
    const Stand worst = *std::max_element(stands.begin(), stands.end(), [&](const Stand& a, const Stand& b) {
      return slide(after, a) < slide(after, b);
    });
    check("the mean speed of standing feet, in heights a second, is", quality.skateAfter,
          ", most at " + nameOf(original, worst.joint) + " in the frames " + std::to_string(worst.first + 1) +
              " to " + std::to_string(worst.end),
          std::min(mostSkate, quality.skateBefore + moreSkate));
  }
  return sentences;
}

}  // namespace limber::motion::detail
