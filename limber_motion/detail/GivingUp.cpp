#include "limber_motion/detail/GivingUp.h"

#include <algorithm>
#include <cstdlib>
#include <set>

namespace limber::motion::detail {

namespace {

constexpr double softer = 0.2, softest = 0.002;

bool anyOf(const std::vector<bool>& flags) {
  return std::find(flags.begin(), flags.end(), true) != flags.end();
}

std::vector<std::size_t> inOrderOfJoints(const std::vector<Constraint>& constraints) {
  std::vector<std::size_t> order;
  for (std::size_t i = 0; i < constraints.size(); ++i) order.push_back(i);
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return constraints[a].joint < constraints[b].joint; });
  return order;
}

}  // namespace

void spreadOverRuns(const std::vector<Constraint>& constraints, std::vector<bool>* givenUp) {
  const std::vector<std::size_t> order = inOrderOfJoints(constraints);
  const auto spread = [&](std::size_t to, std::size_t from) {
    const bool neighbours = constraints[to].joint == constraints[from].joint &&
                            std::abs(constraints[to].frame - constraints[from].frame) == 1;
    if ((*givenUp)[from] && neighbours) (*givenUp)[to] = true;
  };
  for (std::size_t i = 1; i < order.size(); ++i) spread(order[i], order[i - 1]);
  for (std::size_t i = order.size(); i-- > 1;) spread(order[i - 1], order[i]);
}

bool GivingUp::tryAgain(const std::vector<bool>& missed) {
  if (anyOf(givenUp_) && pull_ > softest) {
    pull_ *= softer;
    return true;
  }
  if (giveUpMore(missed) || giveUpBeside()) {
    pull_ = 1.0;
    return true;
  }
  if (pull_ == 0.0) return false;
  pull_ = 0.0;
  return true;
}

bool GivingUp::giveUpMore(const std::vector<bool>& missed) {
  for (const int rank : {1, 0}) {
    std::vector<bool> more = givenUp_;
    for (std::size_t i = 0; i < missed.size(); ++i) more[i] = more[i] || (missed[i] && rank_[i] == rank);
    if (more == givenUp_) continue;
    spreadOverRuns(constraints_, &more);
    givenUp_ = more;
    return true;
  }
  return false;
}

// Gives up constraints in the same frames as those that cannot be met: they may be met only by a jump.
bool GivingUp::giveUpBeside() {
  std::set<int> frames;
  for (std::size_t i = 0; i < constraints_.size(); ++i) {
    if (givenUp_[i]) frames.insert(constraints_[i].frame);
  }
  std::vector<bool> beside;
  for (const Constraint& constraint : constraints_) beside.push_back(frames.count(constraint.frame) > 0);
  return giveUpMore(beside);
}

}  // namespace limber::motion::detail
