#pragma once

#include <string>

#include "limber/limber.h"

/// A panel of a drawing with a frame of axes: the caller's coordinates x0..x1 and y0..y1 span a rectangle of
/// the page.
class Chart {
 public:
  /// The rectangle is in page points, without its labels, which stand below it and to its left.
  Chart(AIPSWriter* writer, double left, double bottom, double width, double height);
  ~Chart();
  Chart(const Chart&) = delete;
  Chart& operator=(const Chart&) = delete;

  void setRange(double x0, double x1, double y0, double y1);
  /// Widens one of the ranges so that a unit has the same length in both directions.
  void makeEqual();
  /// Whether the numbers along the axis upwards are exponents of ten.
  enum class Powers { None, Up };
  /// The frame, round numbers along both axes, and what they mean.
  void drawAxes(const std::string& title, const std::string& xLabel, const std::string& yLabel,
                Powers powers = Powers::None);

  /// A point of the panel for the writer's drawing calls.
  double x(double value) const { return value - x0_; }
  double y(double value) const { return value - y0_; }
  void line(double xa, double ya, double xb, double yb);
  void label(double x, double y, const std::string& text, double size);
  double x0() const { return x0_; }
  double x1() const { return x1_; }
  double y0() const { return y0_; }
  double y1() const { return y1_; }
  /// Of the panel, in page points.
  double width() const { return width_; }
  double height() const { return height_; }

 private:
  AIPSWriter& writer_;
  double left_, bottom_, width_, height_;
  double x0_ = 0, x1_ = 1, y0_ = 0, y1_ = 1;
};
