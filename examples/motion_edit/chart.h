#pragma once

#include <string>

#include "limber/limber.h"

/// A panel of a drawing with a frame of axes: the caller's coordinates x0..x1 and y0..y1 span a rectangle of
/// the page.
class Chart {
 public:
  /// The rectangle is in page points. It does not include the labels, which are below it and to its left.
  Chart(AIPSWriter* writer, double left, double bottom, double width, double height);
  ~Chart();
  Chart(const Chart&) = delete;
  Chart& operator=(const Chart&) = delete;

  void setRange(double x0, double x1, double y0, double y1);
  /// Widens one of the ranges so that a unit has the same length in both directions.
  void makeEqual();
  /// Up: the numbers along the vertical axis are exponents of ten.
  enum class Powers { None, Up };
  /// Draws the frame, round numbers along both axes, and their labels.
  void drawAxes(const std::string& title, const std::string& xLabel, const std::string& yLabel,
                Powers powers = Powers::None);

  /// Converts a point of the panel for the writer's drawing functions.
  double x(double value) const { return value - x0_; }
  double y(double value) const { return value - y0_; }
  void line(double xa, double ya, double xb, double yb);
  void label(double x, double y, const std::string& text, double size);
  double x0() const { return x0_; }
  double x1() const { return x1_; }
  double y0() const { return y0_; }
  double y1() const { return y1_; }
  /// The size of the panel in page points.
  double width() const { return width_; }
  double height() const { return height_; }

 private:
  AIPSWriter& writer_;
  double left_, bottom_, width_, height_;
  double x0_ = 0, x1_ = 1, y0_ = 0, y1_ = 1;
};
