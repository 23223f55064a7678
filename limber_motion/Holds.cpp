#include "limber_motion/Holds.h"

#include <algorithm>
#include <cstddef>

#include "limber/linalg/FullMatrix.h"
#include "limber_motion/detail/Memory.h"

namespace limber::motion {

Holds::Holds(const Skeleton& skeleton, const Curves& curves, const std::vector<int>& channels)
    : skeleton_(skeleton),
      curves_(curves),
      channels_(static_cast<int>(channels.size())),
      place_(static_cast<std::size_t>(skeleton.channels()), -1) {
  for (int i = 0; i < channels_; ++i) {
    place_[static_cast<std::size_t>(channels[static_cast<std::size_t>(i)])] = i;
  }
}

void Holds::linearize(const std::vector<Hold>& holds, const Clip& clip) {
  holds_ = holds;
  begin_.assign(1, 0);
  entries_.clear();
  detail::setLength(&misses_, height());
  Pose pose;
  for (std::size_t i = 0; i < holds_.size(); ++i) {
    const Hold& hold = holds_[i];
    if (i == 0 || hold.frame != holds_[i - 1].frame) skeleton_.pose(clip.frame(hold.frame), &pose);
    Pnt3 miss = hold.target - pose.position[static_cast<std::size_t>(hold.joint)];
    for (int k = 0; k < 3; ++k) {
      misses_[static_cast<int>(3 * i) + k] = hold.heightOnly && k != 1 ? 0.0 : miss.v()[k];
    }
    for (const int c : skeleton_.chain(hold.joint)) {
      if (place_[static_cast<std::size_t>(c)] < 0) continue;
      const Pnt3 slope = skeleton_.derivative(pose, hold.joint, c);
      Entry entry = {place_[static_cast<std::size_t>(c)], {slope.x, slope.y, slope.z}};
      if (hold.heightOnly) entry.slope[0] = entry.slope[2] = 0.0;
      entries_.push_back(entry);
    }
    begin_.push_back(entries_.size());
  }
}

void Holds::mult(const Vector* x, Vector* y) const {
  detail::setLength(y, height());
  for (std::size_t i = 0; i < holds_.size(); ++i) {
    const Curves::Basis basis = curves_.at(holds_[i].frame);
    double sum[3] = {0.0, 0.0, 0.0};
    for (std::size_t e = begin_[i]; e < begin_[i + 1]; ++e) {
      double change = 0.0;
      for (int k = 0; k < basis.count; ++k) {
        change += basis.weight[k] * (*x)[(basis.first + k) * channels_ + entries_[e].channel];
      }
      for (int axis = 0; axis < 3; ++axis) sum[axis] += entries_[e].slope[axis] * change;
    }
    for (int axis = 0; axis < 3; ++axis) (*y)[static_cast<int>(3 * i) + axis] = sum[axis];
  }
}

void Holds::multT(const Vector* x, Vector* y) const {
  detail::setLength(y, width());
  *y = 0.0;
  for (std::size_t i = 0; i < holds_.size(); ++i) {
    const Curves::Basis basis = curves_.at(holds_[i].frame);
    for (std::size_t e = begin_[i]; e < begin_[i + 1]; ++e) {
      double sum = 0.0;
      for (int axis = 0; axis < 3; ++axis) {
        sum += entries_[e].slope[axis] * (*x)[static_cast<int>(3 * i) + axis];
      }
      for (int k = 0; k < basis.count; ++k) {
        (*y)[(basis.first + k) * channels_ + entries_[e].channel] += basis.weight[k] * sum;
      }
    }
  }
}

double Holds::acc(int i, int j) const {
  if (i < 0 || j < 0 || i >= height() || j >= width()) return 0.0;
  const std::size_t hold = static_cast<std::size_t>(i / 3);
  const Curves::Basis basis = curves_.at(holds_[hold].frame);
  const int k = j / channels_ - basis.first;
  if (k < 0 || k >= basis.count) return 0.0;
  for (std::size_t e = begin_[hold]; e < begin_[hold + 1]; ++e) {
    if (entries_[e].channel == j % channels_) return basis.weight[k] * entries_[e].slope[i % 3];
  }
  return 0.0;
}

void Holds::addSquareTo(FullMatrix* band) const {
  const int kd = band->numColumns - 1;
  for (std::size_t i = 0; i < holds_.size(); ++i) {
    const Curves::Basis basis = curves_.at(holds_[i].frame);
    for (std::size_t b = begin_[i]; b < begin_[i + 1]; ++b) {
      for (std::size_t a = begin_[i]; a < begin_[i + 1]; ++a) {
        double square = 0.0;
        for (int axis = 0; axis < 3; ++axis) square += entries_[a].slope[axis] * entries_[b].slope[axis];
        square *= holds_[i].weight;
        for (int l = 0; l < basis.count; ++l) {
          const int column = (basis.first + l) * channels_ + entries_[b].channel;
          double* const diagonal = band->data + static_cast<std::ptrdiff_t>(column) * (kd + 1) + kd;
          for (int k = 0; k < basis.count; ++k) {
            const int apart = column - (basis.first + k) * channels_ - entries_[a].channel;
            if (apart >= 0) diagonal[-apart] += basis.weight[k] * basis.weight[l] * square;
          }
        }
      }
    }
  }
}

}  // namespace limber::motion
