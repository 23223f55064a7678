#include "limber_motion/Constraint.h"

#include <algorithm>

namespace limber::motion {

void sortByFrame(std::vector<Constraint>* constraints) {
  std::stable_sort(constraints->begin(), constraints->end(), [](const Constraint& a, const Constraint& b) {
    return a.frame != b.frame ? a.frame < b.frame : a.joint < b.joint;
  });
  std::vector<Constraint> kept;
  for (const Constraint& constraint : *constraints) {
    if (!kept.empty() && kept.back().frame == constraint.frame && kept.back().joint == constraint.joint)
      kept.pop_back();
    kept.push_back(constraint);
  }
  *constraints = kept;
}

}  // namespace limber::motion
