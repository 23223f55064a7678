// The paths and text of the Illustrator writer.

#include <charconv>
#include <cmath>
#include <cstdarg>
#include <utility>

#include "limber/foundation/Report.h"
#include "limber/graphics/AIPSWriter.h"

namespace {

// Two coordinates as "%g %g" writes them in the "C" locale. to_chars takes a fraction of printf's time.
struct Coordinates {
  char text[32];  // the longest number has 13 characters, as in -1.23457e-308

  Coordinates(double x, double y) {
    char* const end = text + sizeof text;
    char* at = std::to_chars(text, end, x, std::chars_format::general, 6).ptr;
    *at++ = ' ';
    *std::to_chars(at, end, y, std::chars_format::general, 6).ptr = 0;
  }
};

// Polylines through n points, whose coordinates are the results of n pairs of calls of next().

template <class Next>
void openPath(AIPSWriter& writer, int n, Next next) {
  for (int i = 0; i < n; ++i) {
    const double x = next(), y = next();
    if (i == 0) {
      writer.m(x, y);
    } else {
      writer.L(x, y);
    }
  }
  writer.stroke();
}

template <class Next>
void closedPath(AIPSWriter& writer, int n, const char* paint, Next next) {
  const double x0 = next(), y0 = next();
  writer.m(x0, y0);
  for (int i = 1; i < n; ++i) {
    const double x = next(), y = next();
    writer.L(x, y);
  }
  writer.L(x0, y0);
  writer.apr("%s", paint);
}

}  // namespace

void AIPSWriter::stroke() { apr("S\n"); }
void AIPSWriter::fill() { apr("f\n"); }
void AIPSWriter::closeFillAndStroke() { apr("b\n"); }

// The box is already in page points and is not transformed again.
void AIPSWriter::boxPath(double inset) {
  const AIPSMatrix t = current();
  const double x0 = t.x0 + inset, y0 = t.y0 + inset, x1 = t.x1 - inset, y1 = t.y1 - inset;
  apr("%g %g m %g %g L %g %g L %g %g L %g %g L ", x0, y0, x1, y0, x1, y1, x0, y1, x0, y0);
}

void AIPSWriter::strokeBox() {
  boxPath(0.0);
  apr("s\n");
}

void AIPSWriter::fillBox() {
  boxPath(0.0);
  apr("f\n");
}

void AIPSWriter::clipBoxStart(double inset) {
  apr("q ");
  boxPath(inset);
  apr("h W n\n");
}

void AIPSWriter::clipBoxEnd() { apr("Q\n"); }

void AIPSWriter::m(double x, double y) {
  double X, Y;
  transform(x, y, X, Y);
  apr("%s m ", Coordinates(X, Y).text);
}

void AIPSWriter::L(double x, double y) {
  double X, Y;
  transform(x, y, X, Y);
  apr("%s L ", Coordinates(X, Y).text);
}

// Polylines. The templates know how many coordinates a call has; the C forms trust the count.

int AIPSWriter::points(int announced, std::size_t coordinates) const {
  const int present = static_cast<int>(coordinates / 2);
  if (announced <= present) return announced;
  errReport("More points announced than given to AIPSWriter", "AIPS", __LINE__);
  return present;
}

void AIPSWriter::drawNothing(int announced, const char* paint) {
  static_cast<void>(points(announced, 0));
  apr("%s", paint);
}

void AIPSWriter::drawLine(int n, const double* xy) {
  openPath(*this, n, [&xy] { return *xy++; });
}

void AIPSWriter::drawClosed(int n, const double* xy, const char* paint) {
  closedPath(*this, n, paint, [&xy] { return *xy++; });
}

void AIPSWriter::line(int n, ...) {
  va_list pairs;
  va_start(pairs, n);
  openPath(*this, n, [&pairs] { return va_arg(pairs, double); });
  va_end(pairs);
}

void AIPSWriter::closedPairs(int n, va_list pairs, const char* paint) {
  closedPath(*this, n, paint, [&pairs] { return va_arg(pairs, double); });
}

void AIPSWriter::poly(int n, ...) {
  va_list pairs;
  va_start(pairs, n);
  closedPairs(n, pairs, "f\n");
  va_end(pairs);
}

void AIPSWriter::polyAndStroke(int n, ...) {
  va_list pairs;
  va_start(pairs, n);
  closedPairs(n, pairs, "b\n");
  va_end(pairs);
}

void AIPSWriter::closedLine(int n, ...) {
  va_list pairs;
  va_start(pairs, n);
  closedPairs(n, pairs, "s\n");
  va_end(pairs);
}

// The most common path. It writes the bytes of line() with two points in one call.
void AIPSWriter::line2(double x1, double y1, double x2, double y2) {
  double X1, Y1, X2, Y2;
  transform(x1, y1, X1, Y1);
  transform(x2, y2, X2, Y2);
  apr("%s m %s L S\n", Coordinates(X1, Y1).text, Coordinates(X2, Y2).text);
}

void AIPSWriter::circle(double x, double y, double r) {
  double cx, cy, xl, yl, xh, yh;
  transform(x, y, cx, cy);
  transform(x - r, y - r, xl, yl);
  transform(x + r, y + r, xh, yh);
  if (xl > xh) std::swap(xl, xh);
  if (yl > yh) std::swap(yl, yh);
  // 0.5523 r: the control points of the Bezier arc closest to a quarter circle.
  const double rx = std::fabs(xl - cx) * 0.5523, ry = std::fabs(yh - cy) * 0.5523;
  apr("%g %g m\n", cx, yl);
  apr("%g %g %g %g %g %g c\n", cx + rx, yl, xh, cy - ry, xh, cy);
  apr("%g %g %g %g %g %g c\n", xh, cy + ry, cx + rx, yh, cx, yh);
  apr("%g %g %g %g %g %g c\n", cx - rx, yh, xl, cy + ry, xl, cy);
  apr("%g %g %g %g %g %g c\n", xl, cy - ry, cx - rx, yl, cx, yl);
}

void AIPSWriter::box(double x, double y, double r) {
  polyAndStroke(4, x + r, y + r, x - r, y + r, x - r, y - r, x + r, y - r);
}

void AIPSWriter::dot(double x, double y, double r) {
  double X, Y;
  transform(x, y, X, Y);
  apr("%g %g m %g %g L %g %g L %g %g L %g %g L b\n", X + r, Y + r, X - r, Y + r, X - r, Y - r, X + r, Y - r,
      X + r, Y + r);
}

void AIPSWriter::tick(double x, double y, double r) {
  double X, Y;
  transform(x, y, X, Y);
  apr("%g %g m %g %g L S %g %g m %g %g L S\n", X + r, Y + r, X - r, Y - r, X - r, Y + r, X + r, Y - r);
}

// This line also sets the fill to black and the width to 1, for the text and for everything after it.
void AIPSWriter::text(double x, double y, const char* string, double size, const char* font) {
  double X, Y;
  transform(x, y, X, Y);
  apr("0 To 1 0 0 1 %g %g 0 Tp TP 0 Tr /_%s %g Tf \n", X, Y, font, size);
  apr("0 O 0 g 1 w 0 Ts 100 Tz 0 Tt 0 TA 0 0 5 TC 100 100 200 TW 0 Ta 0 0 2 2 3 Th 0 Tq 0 0 Tl 0 Tc 0 Tw\n");
  apr("(%s) Tx TO\n", string);
}
