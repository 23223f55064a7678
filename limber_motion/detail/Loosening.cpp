#include "limber_motion/detail/Loosening.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "limber_motion/Stiffness.h"
#include "limber_motion/detail/Degrees.h"
#include "limber_motion/detail/HeldJoints.h"
#include "limber_motion/detail/Jerk.h"
#include "limber_motion/detail/NameOf.h"
#include "limber_motion/detail/Numbers.h"
#include "limber_motion/detail/Reasons.h"

namespace limber::motion::detail {

namespace {

constexpr double mostTurn = 0.34;                                   // radians
constexpr double mostEdge = 2.8, meanEdge = 1.08, mostBody = 1.27;  // ratios of jerk
constexpr double unlimited = std::numeric_limits<double>::infinity();
constexpr double flat = 0.06, ramp = 0.16;  // seconds on each side of a moment that is loosened
constexpr double shorter = 3.0;             // factor: these are shorter for a part of a limb
constexpr double jump = 0.05;               // seconds: an angle is wrong for so long where it jumps
constexpr double unmet = 2.0;               // badness of a miss
constexpr double helped = 0.98;             // fraction of a badness that is left if loosening has helped

std::vector<int> limbsOf(const Task& task) {
  const std::vector<bool> trunk = trunkJoints(task.original, task.skeleton);
  std::vector<int> limb;
  for (std::size_t j = 0; j < trunk.size(); ++j) {
    const int up = task.original.joints[j].parent;
    const bool isTop = up < 0 || trunk[static_cast<std::size_t>(up)];
    limb.push_back(trunk[j] ? 0 : isTop ? static_cast<int>(j) : limb[static_cast<std::size_t>(up)]);
  }
  return limb;
}

std::vector<bool> framesNearConstraints(const Task& task) {
  std::vector<bool> asked(static_cast<std::size_t>(task.original.frames), false);
  const int reach = static_cast<int>(std::min(Loosening::actsFor / task.original.frameTime, 1e6));
  for (std::size_t i = 0; i < task.constraints.size(); ++i) {
    if (task.rank[i] == 0) continue;
    const int first = std::max(task.constraints[i].frame - reach, 0);
    const int last = std::min(task.constraints[i].frame + reach, task.original.frames - 1);
    for (int f = first; f <= last; ++f) asked[static_cast<std::size_t>(f)] = true;
  }
  return asked;
}

// From 1 near 0 to 0, with continuous second derivatives.
double fading(double seconds) {
  const double x = std::clamp((seconds - flat) / ramp, 0.0, 1.0);
  return 1.0 - x * x * x * (10.0 - 15.0 * x + 6.0 * x * x);
}

}  // namespace

Loosening::Loosening(const Task& task)
    : task_(task),
      before_(task.original, task.skeleton),
      stands_(findStands(task.original)),
      runs_(runsOf(task.constraints)),
      limb_(limbsOf(task)),
      asked_(framesNearConstraints(task)),
      looseness_(task.constraints.size(), 0.0) {}

int Loosening::count() const {
  return static_cast<int>(
      std::count_if(looseness_.begin(), looseness_.end(), [](double l) { return l > 0.0; }));
}

bool Loosening::isAsked(int frame) const { return asked_[static_cast<std::size_t>(frame)]; }

bool Loosening::isBefore(const Offence& a, const Offence& b) {
  return a.joint != b.joint ? a.joint < b.joint : a.frame < b.frame;
}

void Loosening::offend(int joint, int frame, double badness) {
  badness_ = std::max(badness_, badness);
  offences_.push_back({joint, frame, badness, joint});
}

void Loosening::judge(const Clip& edited, const std::vector<bool>& missed) {
  offences_.clear();
  badness_ = 0.0;
  const Places after(edited, task_.skeleton);
  judgeEnds(after, stands_, meanEdge);
  judgeEnds(after, runs_, unlimited);
  judgeTurns(edited);
  judgeBody(after);
  judgeMisses(missed);
}

// Each end must keep the bound for single ends. If the mean is above `mostMean`, the worse ends offend too.
void Loosening::judgeEnds(const Places& after, const std::vector<Stand>& stands, double mostMean) {
  std::vector<EndJerk> ends = endJerks(before_, after, stands, task_.original.frameTime);
  const auto asked = [&](const EndJerk& end) { return isAsked(end.frame); };
  ends.erase(std::remove_if(ends.begin(), ends.end(), asked), ends.end());
  double sum = 0.0;
  for (const EndJerk& end : ends) sum += end.ratio;
  std::sort(ends.begin(), ends.end(), [](const EndJerk& a, const EndJerk& b) { return a.ratio > b.ratio; });
  const double sumLimit = mostMean * static_cast<double>(ends.size()), mean = sum / sumLimit;
  for (const EndJerk& end : ends) {
    if (!(end.ratio > mostEdge) && !(sum > sumLimit && end.ratio > 1.0)) break;
    offend(limbOf(end.joint), end.frame + 1, std::max(end.ratio / mostEdge, mean));
    sum -= std::max(end.ratio - 0.9, 0.0);
  }
}

void Loosening::judgeTurns(const Clip& edited) {
  for (int c = 0; c < edited.channels; ++c) {
    if (!task_.skeleton.isRotation(c)) continue;
    std::vector<Offence> list;
    for (int f = 0; f < edited.frames; ++f) {
      const double turn = std::fabs(edited.frame(f)[c] - task_.original.frame(f)[c]);
      if (turn > mostTurn && !isAsked(f)) list.push_back({task_.skeleton.owner(c), f, turn / mostTurn, 0});
    }
    offendByPart(list);
  }
}

// Where a recorded angle jumps, a joint turns too far or targets are missed only briefly. Then only what is
// below the joint is loosened, otherwise the whole limb. The list is sorted by frame.
void Loosening::offendByPart(const std::vector<Offence>& list) {
  for (std::size_t begin = 0, end = 0; begin < list.size(); begin = end) {
    for (end = begin + 1; end < list.size() && list[end].frame == list[end - 1].frame + 1;) ++end;
    const bool brief = static_cast<double>(end - begin) * task_.original.frameTime <= jump;
    for (std::size_t i = begin; i < end; ++i) {
      const int limb = limbOf(list[i].joint);
      offend(brief && limb != 0 ? list[i].joint : limb, list[i].frame, list[i].badness);
    }
  }
}

void Loosening::judgeBody(const Places& after) {
  struct Excess {
    int joint, frame;
    double jerk;
  };
  std::vector<Excess> excess;
  for (int j = 0; j < after.joints(); ++j) {
    for (int f = 0; f + 3 < after.frames(); ++f) {
      const double b = before_.third(j, f), a = after.third(j, f);
      if (a > b && !isAsked(f)) excess.push_back({j, f, a * a - b * b});
    }
  }
  double is = squaredJerk(after);
  const double limit = mostBody * mostBody * squaredJerkToKeep(before_, task_.original.frameTime);
  if (!(is > limit)) return;
  std::sort(excess.begin(), excess.end(), [](const Excess& a, const Excess& b) { return a.jerk > b.jerk; });
  const double badness = std::sqrt(is / limit);
  for (const Excess& e : excess) {
    if (!(is > limit)) break;
    offend(limbOf(e.joint), e.frame + 1, badness);
    is -= e.jerk;
  }
}

// Only the last missed joint of a limb offends: those nearer to the trunk may be met without it.
void Loosening::judgeMisses(const std::vector<bool>& missed) {
  std::vector<std::vector<Offence>> lists(limb_.size());  // for each limb
  for (std::size_t i = 0; i < missed.size(); ++i) {
    const Constraint& constraint = task_.constraints[i];
    if (!missed[i] || task_.rank[i] > 0 || isAsked(constraint.frame)) continue;
    std::vector<Offence>& list = lists[static_cast<std::size_t>(limbOf(constraint.joint))];
    if (!list.empty() && list.back().frame == constraint.frame) list.pop_back();
    list.push_back({parentOf(constraint.joint), constraint.frame, unmet, 0});
  }
  for (const std::vector<Offence>& list : lists) offendByPart(list);
}

// The joint below which contacts are loosened for this offence: its own joint at first. If that has hardly
// helped, it is the top of the limb, and then the root, because the offence comes through the trunk.
int Loosening::topOf(const Offence& offence) const {
  const int near = static_cast<int>(std::min(flat / task_.original.frameTime, 1e6));
  const int limb = limbOf(offence.joint);
  Offence first = offence, last = offence;
  first.frame -= near;
  last.frame += near;
  int top = offence.joint;
  const auto end = std::upper_bound(loosened_.begin(), loosened_.end(), last, isBefore);
  for (auto o = std::lower_bound(loosened_.begin(), end, first, isBefore); o != end; ++o) {
    if (offence.badness > helped * o->badness) top = std::min(top, o->top <= limb ? 0 : limb);
  }
  return top;
}

bool Loosening::loosen() {
  std::vector<double> more(looseness_.size(), 0.0);
  // For each joint, the distance in frames from each frame to the nearest offence whose top it is.
  const int frames = task_.original.frames;
  std::vector<std::vector<int>> distance(limb_.size());
  bool byPart = false;
  for (Offence& offence : offences_) {
    offence.top = topOf(offence);
    byPart = byPart || offence.top != 0;
    std::vector<int>& own = distance[static_cast<std::size_t>(offence.top)];
    if (own.empty()) own.assign(static_cast<std::size_t>(frames), frames);
    own[static_cast<std::size_t>(offence.frame)] = 0;
  }
  loosened_ = offences_;
  std::sort(loosened_.begin(), loosened_.end(), isBefore);
  for (std::vector<int>& own : distance) {
    for (std::size_t f = 1; f < own.size(); ++f) own[f] = std::min(own[f], own[f - 1] + 1);
    for (std::size_t f = own.size(); f-- > 1;) own[f - 1] = std::min(own[f - 1], own[f] + 1);
  }
  bool news = false;
  for (std::size_t i = 0; i < looseness_.size(); ++i) {
    if (task_.rank[i] > 0) continue;
    const Constraint& constraint = task_.constraints[i];
    int j = constraint.joint;
    do {
      j = parentOf(j);
      const std::vector<int>& own = distance[static_cast<std::size_t>(j)];
      if (own.empty()) continue;
      const double seconds = own[static_cast<std::size_t>(constraint.frame)] * task_.original.frameTime;
      more[i] = std::max(more[i], fading(j == limbOf(j) ? seconds : shorter * seconds));
    } while (j != 0);
    looseness_[i] += more[i];
    news = news || more[i] > 0.0;
  }
  return news || (byPart && loosen());  // a part without contacts: those of a larger part
}

std::vector<std::string> Loosening::notes(const Clip& edited) const {
  const std::vector<double> misses = missesOf(task_.constraints, edited, task_.skeleton);
  struct Loose {
    int frames = 0, worst = 0;
    double miss = 0.0;
  };
  std::vector<Loose> of(limb_.size());
  for (std::size_t i = 0; i < misses.size(); ++i) {
    if (!isLoose(i)) continue;
    Loose& loose = of[static_cast<std::size_t>(task_.constraints[i].joint)];
    ++loose.frames;
    if (!(misses[i] > loose.miss)) continue;
    loose.miss = misses[i];
    loose.worst = task_.constraints[i].frame;
  }
  std::vector<std::string> sentences;
  for (std::size_t j = 0; j < of.size(); ++j) {
    if (of[j].frames == 0) continue;
    sentences.push_back(nameOf(task_.original, static_cast<int>(j)) + " is held loosely in " +
                        std::to_string(of[j].frames) + " frames, at most " + significant(of[j].miss, 2) +
                        " heights from its place (in frame " + std::to_string(of[j].worst + 1) +
                        "): held firmly, it would jerk or turn a joint too far");
  }
  return sentences;
}

}  // namespace limber::motion::detail
