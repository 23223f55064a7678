#include "chart.h"

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

// 1, 2 or 5 times a power of ten, about a sixth of the range.
double roundStep(double range) {
  const double rough = range / 6.0, power = std::pow(10.0, std::floor(std::log10(rough)));
  for (const double digit : {1.0, 2.0, 5.0}) {
    if (digit * power >= rough) return digit * power;
  }
  return 10.0 * power;
}

// The multiples of `step` from low to high. They are counted, because adding a step below the last digit of
// the numbers would never reach the end.
std::vector<double> roundNumbers(double low, double high, double step) {
  std::vector<double> numbers;
  const double first = std::ceil(low / step), last = std::floor(high / step);
  for (int i = 0; i <= 20 && first + i <= last; ++i) numbers.push_back((first + i) * step);
  return numbers;
}

std::string plain(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%g", std::fabs(value) < 1e-12 ? 0.0 : value);
  return text;
}

const char font[] = "Helvetica";

}  // namespace

Chart::Chart(AIPSWriter* writer, double left, double bottom, double width, double height)
    : writer_(*writer), left_(left), bottom_(bottom), width_(width), height_(height) {
  writer_.push();
  writer_.setBox(left, bottom, width, height);
}

Chart::~Chart() { writer_.pop(); }

void Chart::setRange(double x0, double x1, double y0, double y1) {
  x0_ = x0;
  x1_ = x1 > x0 ? x1 : x0 + 1.0;
  y0_ = y0;
  y1_ = y1 > y0 ? y1 : y0 + 1.0;
  writer_.pop();
  writer_.push();
  writer_.setBox(left_, bottom_, width_, height_);
  writer_.setCoords(x1_ - x0_, y1_ - y0_);
}

void Chart::makeEqual() {
  const double unit = std::fmin(width_ / (x1_ - x0_), height_ / (y1_ - y0_));
  const double moreX = width_ / unit - (x1_ - x0_), moreY = height_ / unit - (y1_ - y0_);
  setRange(x0_ - moreX / 2, x1_ + moreX / 2, y0_, y1_ + moreY);
}

void Chart::line(double xa, double ya, double xb, double yb) { writer_.line2(x(xa), y(ya), x(xb), y(yb)); }

void Chart::label(double atX, double atY, const std::string& text, double size) {
  writer_.text(x(atX), y(atY), text.c_str(), size, font);
}

void Chart::drawAxes(const std::string& title, const std::string& xLabel, const std::string& yLabel,
                     Powers powers) {
  const double unitX = (x1_ - x0_) / width_, unitY = (y1_ - y0_) / height_;  // the length of a page point
  writer_.reset();
  writer_.strokeGray(0.5);
  writer_.setWidth(0.5);
  writer_.strokeBox();
  const bool exponents = powers == Powers::Up;
  const double stepX = roundStep(x1_ - x0_),
               stepY = exponents ? std::ceil((y1_ - y0_) / 8.0) : roundStep(y1_ - y0_);
  for (const double at : roundNumbers(x0_, x1_, stepX)) {
    writer_.strokeGray(0.5);
    writer_.setWidth(0.5);
    line(at, y0_, at, y0_ - 3 * unitY);
    const std::string text = plain(at);
    label(at - 2 * static_cast<double>(text.size()) * unitX, y0_ - 12 * unitY, text, 8);
  }
  for (const double at : roundNumbers(y0_, y1_, stepY)) {
    writer_.strokeGray(0.5);
    writer_.setWidth(0.5);
    line(x0_, at, x0_ - 3 * unitX, at);
    const std::string text = (exponents ? "1e" : "") + plain(at);
    label(x0_ - (7 + 4.3 * static_cast<double>(text.size())) * unitX, at - 3 * unitY, text, 8);
  }
  label(x0_, y1_ + 8 * unitY, title, 11);
  label((x0_ + x1_) / 2 - 2.2 * static_cast<double>(xLabel.size()) * unitX, y0_ - 25 * unitY, xLabel, 9);
  label(x1_ - 4.4 * static_cast<double>(yLabel.size()) * unitX, y1_ + 8 * unitY, yLabel, 9);
  writer_.reset();
}
