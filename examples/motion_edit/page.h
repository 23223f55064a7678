#pragma once

#include <algorithm>
#include <functional>
#include <string>

#include "limber/limber.h"

// Things that all drawings share: the page, colours and ranges.

constexpr double pageWidth = 576.0, pageHeight = 720.0;  // points

const Pnt3 grey(0.68, 0.68, 0.68), dark(0.25, 0.25, 0.28), red(0.85, 0.10, 0.12), earth(0.45, 0.36, 0.22);
const Pnt3 leftColour(0.09, 0.38, 0.78), rightColour(0.93, 0.50, 0.05);

/// The text of an Illustrator file of one page, drawn by `draw`. Throws std::runtime_error when it cannot be
/// written to the folder for temporary files.
std::string drawnPage(const std::function<void(AIPSWriter*)>& draw);

/// A polyline through points that are added one by one. A gap begins a new line.
class Polyline {
 public:
  explicit Polyline(AIPSWriter* writer) : writer_(*writer) {}
  ~Polyline() { gap(); }
  Polyline(const Polyline&) = delete;
  Polyline& operator=(const Polyline&) = delete;

  void to(double x, double y) {
    if (points_++ == 0) {
      writer_.m(x, y);
    } else {
      writer_.L(x, y);
    }
  }
  void gap() {
    if (points_ > 0) writer_.stroke();
    points_ = 0;
  }

 private:
  AIPSWriter& writer_;
  int points_ = 0;
};

struct Range {
  double low = 1e300, high = -1e300;
  void include(double value) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
  void widen(double part) {
    const double by = part * (high - low);
    low -= by;
    high += by;
  }
  double size() const { return high - low; }
};
