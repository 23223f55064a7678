// Compares the measure of smoothness, the derivatives of held joints and the system of a step with their
// definitions.

#include "limber_motion/Smoothness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber_motion/motion.h"
#include "tests/support/TemporaryFile.h"

using namespace limber::motion;

namespace {

Vector random(int n, unsigned seed) {
  std::mt19937 generator(seed);
  Vector x(n);
  for (int i = 0; i < n; ++i) x[i] = static_cast<double>(generator()) / 2147483648.0 - 1.0;
  return x;
}

// mass (d^2 + s^4 (d'')^2 + r^6 (d''')^2), summed over all times of one channel.
double sizeOf(const std::vector<double>& d, double dt, double s, double r) {
  double sum = 0.0;
  for (std::size_t t = 0; t < d.size(); ++t) {
    sum += d[t] * d[t];
    if (t + 2 < d.size()) sum += std::pow(s * s * (d[t] - 2 * d[t + 1] + d[t + 2]) / (dt * dt), 2);
    if (t + 3 < d.size()) {
      sum += std::pow(r * r * r * (d[t + 3] - 3 * d[t + 2] + 3 * d[t + 1] - d[t]) / (dt * dt * dt), 2);
    }
  }
  return sum;
}

Clip walk() { return readClip(sourceFile("examples/data/walk.bvh")); }

}  // namespace

TEST(Smoothness, IsTheSumOfSquaresOfTheChangeAndItsDerivatives) {
  for (const int times : {1, 2, 3, 4, 9}) {
    for (const double r : {0.0, 0.03}) {
      const std::vector<double> masses = {0.5, 2.0};
      const Smoothness measure(times, masses, 0.04, 0.1, r);
      const Vector x = random(2 * times, 7);
      Vector y(0);
      measure.mult(&x, &y);
      double product = 0.0, wanted = 0.0;
      for (int i = 0; i < x.size(); ++i) product += x[i] * y[i];
      for (std::size_t c = 0; c < 2; ++c) {
        std::vector<double> d;
        for (int t = 0; t < times; ++t) d.push_back(x[2 * t + static_cast<int>(c)]);
        wanted += masses[c] * sizeOf(d, 0.04, 0.1, r);
      }
      EXPECT_NEAR(product, wanted, 1e-12 * wanted) << times << " times, r " << r;
    }
  }
}

TEST(Smoothness, ElementsProductAndBandAgree) {
  const Smoothness measure(6, {1.0, 3.0}, 0.04, 0.1, 0.05);
  const int n = measure.height(), kd = measure.halfBandwidth();
  FullMatrix band(n, kd + 1);
  measure.addTo(2.0, &band);
  for (int j = 0; j < n; ++j) {
    Vector unit(n), column(0);
    unit[j] = 1.0;
    measure.mult(&unit, &column);
    for (int i = 0; i < n; ++i) {
      EXPECT_EQ(column[i], measure.acc(i, j));
      if (i <= j && j - i <= kd) {
        EXPECT_EQ(band.acc(j, kd - (j - i)), 2.0 * column[i]);
      }
      if (std::abs(i - j) > kd) {
        EXPECT_EQ(column[i], 0.0);
      }
    }
  }
}

TEST(Smoothness, APartHasTheElementsOfTheWhole) {
  const std::vector<double> masses = {1.0, 2.5};
  const int first = 3, end = 11, n = 2;
  for (const double round : {0.0, 0.1}) {
    const Smoothness whole(20, masses, 1.0 / 30.0, 0.2, round, 5), part = whole.part(first, end);
    ASSERT_EQ(part.height(), (end - first) * n);
    for (int i = 0; i < part.height(); ++i) {
      for (int j = 0; j < part.width(); ++j)
        EXPECT_EQ(part.acc(i, j), whole.acc(first * n + i, first * n + j));
    }
  }
}

TEST(Curves, APartCountsItsTimesFromItsBeginning) {
  const Curves whole(20, 0), part = whole.part(3, 11);
  EXPECT_EQ(part.times(), 8);
  EXPECT_EQ(part.at(5).first, 2);
  EXPECT_EQ(part.part(1, 4).at(5).first, 1);
  EXPECT_EQ(part.part(1, 4).times(), 3);
}

TEST(Smoothness, MeasuresTheSameCurveAlikeAtEveryFrameRate) {
  const auto size = [](double rate) {
    const int times = static_cast<int>(4.0 * rate) + 1;
    const Smoothness measure(times, {1.0}, 1.0 / rate, 0.2, 0.1);
    Vector x(times), y(0);
    for (int t = 0; t < times; ++t) x[t] = std::exp(-std::pow((t / rate - 2.0) / 0.3, 2));
    measure.mult(&x, &y);
    double sum = 0.0;
    for (int t = 0; t < times; ++t) sum += x[t] * y[t];
    return sum / rate;
  };
  for (const double rate : {24.0, 30.0, 60.0})
    EXPECT_NEAR(size(rate), size(480.0), 0.02 * size(480.0)) << rate;
}

TEST(Holds, DerivativesAreThoseOfThePositions) {
  Clip clip = walk();
  const Skeleton skeleton(clip);
  const Curves curves(clip.frames, 0);
  const int hand = clip.find("LeftHand"), toe = clip.find("RightToeBase");
  std::vector<int> channels = skeleton.chain(hand);
  for (const int c : skeleton.chain(toe)) channels.push_back(c);
  std::sort(channels.begin(), channels.end());
  channels.erase(std::unique(channels.begin(), channels.end()), channels.end());
  Holds holds(skeleton, curves, channels);
  holds.linearize({{7, hand, Pnt3(1, 2, 3), 1.0, true, false}, {7, toe, Pnt3(), 1.0, true, true}}, clip);
  const int n = static_cast<int>(channels.size());
  for (int c = 0; c < n; ++c) {
    const int channel = channels[static_cast<std::size_t>(c)];
    const double was = clip.frame(7)[channel], h = 1e-5;
    clip.frame(7)[channel] = was + h;
    const Pnt3 hand1 = skeleton.position(hand, clip.frame(7)), toe1 = skeleton.position(toe, clip.frame(7));
    clip.frame(7)[channel] = was - h;
    const Pnt3 hand0 = skeleton.position(hand, clip.frame(7)), toe0 = skeleton.position(toe, clip.frame(7));
    clip.frame(7)[channel] = was;
    for (int axis = 0; axis < 3; ++axis) {
      EXPECT_NEAR(holds.acc(axis, 7 * n + c), (hand1 - hand0).v()[axis] / (2 * h), 1e-5);
      const double slope = axis == 1 ? (toe1 - toe0).v()[axis] / (2 * h) : 0.0;
      EXPECT_NEAR(holds.acc(3 + axis, 7 * n + c), slope, 1e-5);
    }
  }
  // <J x, y> = <x, J^T y>.
  const Vector x = random(holds.width(), 1), y = random(holds.height(), 2);
  Vector jx(0), jty(0);
  holds.mult(&x, &jx);
  holds.multT(&y, &jty);
  double left = 0.0, right = 0.0;
  for (int i = 0; i < y.size(); ++i) left += jx[i] * y[i];
  for (int i = 0; i < x.size(); ++i) right += jty[i] * x[i];
  EXPECT_NEAR(left, right, 1e-10 * std::fabs(left));
}

TEST(StepSystem, MeetsExactRowsAndIsStationaryWhereTheyAllow) {
  for (const int knots : {0, 4}) {
    const Clip clip = walk();
    const Skeleton skeleton(clip);
    const Curves curves(clip.frames, knots);
    const int hand = clip.find("LeftHand");
    const std::vector<int>& channels = skeleton.chain(hand);
    const std::vector<double> masses(channels.size(), 1.0);
    const Smoothness measure(curves.times(), masses, clip.frameTime * curves.spacing(), 0.2);
    Holds holds(skeleton, curves, channels);
    std::vector<Hold> list;
    for (const int f : {20, 60, 61}) {
      list.push_back({f, hand, skeleton.position(hand, clip.frame(f)) + Pnt3(0, 5, 0), 1e3, true, false});
    }
    holds.linearize(list, clip);
    StepSystem system(measure, holds, 0.0);
    ASSERT_TRUE(system.factored());
    const Vector none(measure.height());
    Vector step(0), reached(0), gradient(0);
    system.solve(none, 4, &step);
    holds.mult(&step, &reached);
    for (int i = 0; i < holds.height(); ++i) EXPECT_NEAR(reached[i], holds.misses()[i], 1e-7);
    // R step lies in the range of J^T: unknowns of frames on which no hold depends have no gradient.
    measure.mult(&step, &gradient);
    const int n = static_cast<int>(channels.size());
    for (int c = 0; c < n; ++c) EXPECT_NEAR(gradient[c], 0.0, 1e-7);
  }
}
