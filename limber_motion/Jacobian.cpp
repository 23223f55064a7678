#include "limber_motion/Jacobian.h"

#include <algorithm>

namespace limber::motion {

Jacobian::Jacobian(const std::vector<Constraint>& constraints, const Spline& spline, int channels)
    : constraints_(constraints), spline_(spline), channels_(channels), matrix_(0), residual_(rows()) {
  for (int i = 0; i < rows(); i++) {
    rows_.push_back(new SpVec(4));
    matrix_.add(rows_.back());
  }
}

Jacobian::~Jacobian() {
  for (SpVec* row : rows_) delete row;
}

// Each derivative by a channel of the frame becomes four, by the coefficients that the frame depends on. The
// rows by channel have few indices; those by coefficient may pass 10000, where sums of sparse rows end, and
// are written straight away in ascending order.
void Jacobian::linearize(const Clip& clip, const Skeleton& skeleton) {
  for (std::size_t i = 0; i < constraints_.size(); i++) {
    const Constraint& wish = constraints_[i];
    const Pnt3 miss = wish.target - skeleton.position(wish.joint, clip.frame(wish.frame), byChannel_);
    const double misses[3] = {miss.x, miss.y, miss.z};
    const Spline::Basis basis = spline_.at(wish.frame);
    for (std::size_t axis = 0; axis < 3; axis++) {
      const SpVec& slopes = byChannel_[axis];
      SpVec& row = *rows_[3 * i + axis];
      row.zero();
      for (int k = 0; k < 4; k++) {
        for (int e = 0; e < slopes.numEntries; e++) {
          row.insEnd(wish.weight * basis.weight[k] * slopes.values[e],
                     (basis.first + k) * channels_ + slopes.indices[e]);
        }
      }
      residual_[static_cast<int>(3 * i + axis)] = wish.weight * misses[axis];
    }
  }
}

int Jacobian::halfBandwidth() const {
  std::size_t widest = 0;
  for (std::size_t i = 0, j = 0; i < constraints_.size(); i++) {
    const int last = spline_.at(constraints_[i].frame).first + 3;
    while (j + 1 < constraints_.size() && spline_.at(constraints_[j + 1].frame).first <= last) j++;
    widest = std::max(widest, j - i);
  }
  return std::min(3 * static_cast<int>(widest) + 2, std::max(rows() - 1, 0));
}

}  // namespace limber::motion
