#pragma once

/// @file
/// Matrices and vectors that every process creates identically, and the parts of them that it passes to a
/// solve.

#include <memory>
#include <random>
#include <vector>

#include "bench/support/SwayingClip.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "limber_petsc/petsc.h"

/// The whole matrix and this process's part of its rows.
class Spread {
 public:
  /// Row i of the whole matrix is *rows[i].
  explicit Spread(std::vector<std::unique_ptr<SpVec>> rows, int columns, MPI_Comm comm = MPI_COMM_WORLD)
      : rows_(std::move(rows)),
        part_(limber::petsc::evenPart(comm, static_cast<int>(rows_.size()))),
        columns_(columns) {
    for (auto& row : rows_) whole_.add(row.get());
    for (int i = 0; i < part_.count; ++i) own_.add(rows_[static_cast<std::size_t>(part_.first + i)].get());
  }
  const HSpMat& whole() const { return whole_; }
  HSpMat& own() { return own_; }
  SpVec& row(int i) { return *rows_[static_cast<std::size_t>(i)]; }
  limber::petsc::Part part() const { return part_; }
  limber::petsc::Rows rows() const { return {&own_, part_.first, columns_}; }

 private:
  std::vector<std::unique_ptr<SpVec>> rows_;
  HSpMat whole_{0}, own_{0};
  limber::petsc::Part part_;
  int columns_;
};

/// This process's part of a vector that every process has completely.
inline Vector partOf(const Vector& whole, limber::petsc::Part part) {
  Vector own(part.count);
  for (int i = 0; i < part.count; ++i) own[i] = whole[part.first + i];
  return own;
}

inline Vector random(int n, unsigned seed) {
  std::mt19937 bits(seed);
  std::uniform_real_distribution<double> number(-1.0, 1.0);
  Vector v(n);
  for (int i = 0; i < n; ++i) v[i] = number(bits);
  return v;
}

/// Rows of `entries` entries each, near the place of the row in the width.
inline std::vector<std::unique_ptr<SpVec>> randomRows(int rows, int columns, int entries, unsigned seed) {
  std::mt19937 bits(seed);
  std::uniform_real_distribution<double> number(-1.0, 1.0);
  std::vector<std::unique_ptr<SpVec>> all;
  for (int i = 0; i < rows; ++i) {
    all.push_back(std::make_unique<SpVec>());
    const int first =
        static_cast<int>(static_cast<long long>(i) * (columns - entries) / (rows > 1 ? rows - 1 : 1));
    for (int k = 0; k < entries; ++k)
      all.back()->ins(k == i % entries ? 3.0 + number(bits) : number(bits), first + k);
  }
  return all;
}

/// The five-point Laplacian of a side x side grid.
inline std::vector<std::unique_ptr<SpVec>> laplacian(int side) {
  std::vector<std::unique_ptr<SpVec>> all;
  for (int i = 0; i < side * side; ++i) {
    all.push_back(std::make_unique<SpVec>());
    if (i >= side) all.back()->ins(-1.0, i - side);
    if (i % side > 0) all.back()->ins(-1.0, i - 1);
    all.back()->ins(4.0, i);
    if (i % side < side - 1) all.back()->ins(-1.0, i + 1);
    if (i < side * (side - 1)) all.back()->ins(-1.0, i + side);
  }
  return all;
}

/// The system of a motion's constraints: (J V^-1 J^T + D) lambda = c. Four joints of a swaying figure of 60
/// channels are held in each frame, and the changes are curves with knots four frames apart.
struct MotionSystem {
  std::vector<std::unique_ptr<SpVec>> rows;
  int columns;
  Vector mass, damp, misses;

  explicit MotionSystem(int frames) {
    using namespace limber::motion;
    const Clip clip = swaying::clipOf(frames);
    const Skeleton skeleton(clip);
    const Curves curves(frames, 4);
    std::vector<int> channels;
    for (int c = 0; c < clip.channels; ++c) channels.push_back(c);
    std::vector<Hold> list;
    for (const Constraint& constraint : swaying::constraintsFor(clip))
      list.push_back({constraint.frame, constraint.joint, constraint.target, 1.0, false, false});
    Holds J(skeleton, curves, channels);
    J.linearize(list, clip);
    columns = J.width();
    for (int i = 0; i < J.height(); ++i) {
      rows.push_back(std::make_unique<SpVec>());
      for (int j = 0; j < columns; ++j) {
        if (J.acc(i, j) != 0.0) rows.back()->insEnd(J.acc(i, j), j);
      }
    }
    const std::vector<double> masses = channelMasses(clip, skeleton, jointStiffness(clip, skeleton));
    mass.grow(columns);
    for (int j = 0; j < columns; ++j) mass[j] = masses[static_cast<std::size_t>(j % clip.channels)];
    damp.grow(J.height());
    for (int i = 0; i < damp.count; ++i) damp[i] = 1.0 + 0.25 * (i % 3);
    misses = J.misses();
  }
};
