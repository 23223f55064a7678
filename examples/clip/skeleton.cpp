#include "skeleton.h"

#include <algorithm>
#include <cstring>

namespace {

const RotHelper* axisFormat(char axis) { return axis == 'X' ? xRot : axis == 'Y' ? yRot : zRot; }

/// The rotation angles of a joint, in channel order; returns how many there are.
int angles(const Joint& joint, const double* frame, double out[3]) {
  int n = 0, c = joint.firstChannel;
  for (const Channel& channel : joint.channels) {
    if (channel.rotation) out[n++] = frame[c];
    c++;
  }
  return n;
}

/// The axes of the rotation channels, in channel order.
std::string axes(const Joint& joint) {
  std::string letters;
  for (const Channel& channel : joint.channels) {
    if (channel.rotation) letters += channel.axis;
  }
  return letters;
}

/// factor[n-1] ... factor[1] factor[0]: with row vectors the last channel acts first.
void product(const Matrix3x3* factors, int n, Matrix3x3* out) {
  idMatrix(out);
  for (int i = 0; i < n; i++) multMatrix(&factors[i], out, out);
}

}  // namespace

Skeleton::Skeleton(const Clip& clip) : clip_(clip) {
  const RotHelper* const known[] = {xRot, yRot, zRot, zxRot, zyRot, xyRot, xyzRot, zxyRot};
  for (const Joint& joint : clip.joints) {
    const RotHelper* format = nullptr;
    for (const RotHelper* candidate : known) {
      if (axes(joint) == candidate->name()) format = candidate;
    }
    formats_.push_back(format);
  }
}

void Skeleton::localMatrix(int j, const double* frame, Matrix4x4* out) const {
  const Joint& joint = clip_.joints[static_cast<std::size_t>(j)];
  double angle[3];
  const int n = angles(joint, frame, angle);
  Matrix3x3 rotation;
  if (const RotHelper* format = formats_[static_cast<std::size_t>(j)]) {
    format->toMatrix(angle, &rotation);
  } else {
    const std::string letters = axes(joint);
    Matrix3x3 factors[3];
    for (int i = 0; i < n; i++)
      axisFormat(letters[static_cast<std::size_t>(i)])->toMatrix(&angle[i], &factors[i]);
    product(factors, n, &rotation);
  }
  as4x4(&rotation, out);
  Pnt3 at = joint.offset;
  int c = joint.firstChannel;
  for (const Channel& channel : joint.channels) {
    if (!channel.rotation) at.v()[channel.axis - 'X'] += frame[c];
    c++;
  }
  for (int i = 0; i < 3; i++) out->m[3][i] = at.v()[i];
}

void Skeleton::rotationDerivatives(int j, const double* frame, Matrix3x3 out[3]) const {
  const Joint& joint = clip_.joints[static_cast<std::size_t>(j)];
  double angle[3], blocks[27];
  const int n = angles(joint, frame, angle);
  if (const RotHelper* format = formats_[static_cast<std::size_t>(j)]) {
    format->matrixDeriv(angle, blocks);
    for (int i = 0; i < n; i++) std::memcpy(out[i].m, blocks + 9 * i, sizeof out[i].m);
    return;
  }
  const std::string letters = axes(joint);
  for (int i = 0; i < n; i++) {
    Matrix3x3 factors[3];
    for (int k = 0; k < n; k++) {
      const RotHelper* const format = axisFormat(letters[static_cast<std::size_t>(k)]);
      if (k == i) {
        format->matrixDeriv(&angle[k], blocks);
        std::memcpy(factors[k].m, blocks, sizeof factors[k].m);
      } else {
        format->toMatrix(&angle[k], &factors[k]);
      }
    }
    product(factors, n, &out[i]);
  }
}

Pnt3 Skeleton::position(int joint, const double* frame) const {
  Pnt3 p;
  for (int j = joint; j >= 0; j = clip_.joints[static_cast<std::size_t>(j)].parent) {
    Matrix4x4 local;
    localMatrix(j, frame, &local);
    trans(&local, p, p);
  }
  return p;
}

std::vector<Pnt3> Skeleton::positions(const double* frame) const {
  std::vector<Matrix4x4> world(clip_.joints.size());
  std::vector<Pnt3> at;
  for (std::size_t j = 0; j < clip_.joints.size(); j++) {
    const int parent = clip_.joints[j].parent;
    localMatrix(static_cast<int>(j), frame, &world[j]);
    if (parent >= 0) multMatrix(&world[j], &world[static_cast<std::size_t>(parent)], &world[j]);
    at.emplace_back(world[j].m[3][0], world[j].m[3][1], world[j].m[3][2]);
  }
  return at;
}

// From the joint up to the root, p is the position in the axes of joint j and `carried` its derivatives. One
// step turns both into the parent's axes and adds the derivatives by the joint's own channels.
Pnt3 Skeleton::position(int last, const double* frame, SpVec rows[3]) const {
  Pnt3 p;
  SpVec turned[3], own[3];
  for (int i = 0; i < 3; i++) rows[i].zero();
  Vector ones(2);
  ones = 1.0;
  for (int j = last; j >= 0; j = clip_.joints[static_cast<std::size_t>(j)].parent) {
    const Joint& joint = clip_.joints[static_cast<std::size_t>(j)];
    Matrix3x3 derivatives[3];
    rotationDerivatives(j, frame, derivatives);
    for (int i = 0; i < 3; i++) own[i].zero();
    int c = joint.firstChannel, angle = 0;
    for (const Channel& channel : joint.channels) {
      if (channel.rotation) {
        const Pnt3 slope = transformMatrix(&derivatives[angle++], p);
        own[0].insEnd(slope.x, c);
        own[1].insEnd(slope.y, c);
        own[2].insEnd(slope.z, c);
      } else {
        own[channel.axis - 'X'].insEnd(1.0, c);
      }
      c++;
    }
    Matrix4x4 local;
    localMatrix(j, frame, &local);
    transformMatrixMatrix(&local, &rows[0], &rows[1], &rows[2], &turned[0], &turned[1], &turned[2]);
    for (int i = 0; i < 3; i++) {
      SpVec* terms[2] = {&own[i], &turned[i]};
      linComb(&ones, terms, &rows[i]);
    }
    trans(&local, p, p);
  }
  return p;
}

double Skeleton::height() const {
  std::vector<Pnt3> at;
  Pnt3 low, high;
  for (const Joint& joint : clip_.joints) {
    at.push_back(joint.parent < 0 ? Pnt3() : at[static_cast<std::size_t>(joint.parent)] + joint.offset);
    low.includeMin(at.back());
    high.includeMax(at.back());
  }
  const Pnt3 extent = high - low;
  return extent.y > 0.0 ? extent.y : std::max(extent.x, extent.z);
}
