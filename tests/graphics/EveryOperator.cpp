// Draws every operator of the Illustrator writer, one per cell, to the file that the first argument names.
// Prints for each cell where its ink must be: "name x0 y0 x1 y1 least most r g b". These are a box in page
// points, the least and the most ink in it in square points, and the colour of most of the ink (-1 if there
// are several).
#include <cstdio>

#include "limber/geometry/Pnt3.h"
#include "limber/graphics/AIPSWriter.h"
#include "tests/support/DecimalPoint.h"

namespace {

int cells = 0;
double left, bottom;  // of the current cell, 96 points wide and high

void cell(const char* name, double x0, double y0, double x1, double y1, double ink, int r, int g, int b,
          double tolerance = 0.05) {
  left = 96 * (cells % 6);
  bottom = 624 - 96 * (cells / 6);
  ++cells;
  const DecimalPoint point;
  std::printf("%s %g %g %g %g %g %g %d %d %d\n", name, left + x0, bottom + y0, left + x1, bottom + y1,
              (1 - tolerance) * ink - 2, (1 + tolerance) * ink + 2, r, g, b);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  AIPSWriter w(arguments[1]);
  const auto at = [&](double x, double y, auto draw) {
    w.reset();
    w.push();
    w.setBox(left + x, bottom + y, 96 - x, 96 - y);
    draw();
    w.pop();
  };

  cell("line", 9, 9, 71, 31, 60 + 2 * 20, 0, 0, 0);
  at(10, 10, [&] { w.line(4, 0, 0, 0, 20, 60, 20, 60, 0); });
  cell("line2", 9, 48, 81, 52, 70 * 3, 0, 0, 255);
  at(10, 50, [&] {
    w.setWidth(3);
    w.strokeRGB(0, 0, 1);
    w.line2(0, 0, 70, 0);
  });
  cell("poly", 10, 10, 70, 50, 60 * 40 / 2, 255, 0, 0);
  at(10, 10, [&] {
    w.fillRGB(255, 0, 0);
    w.poly(3, 0, 0, 60, 0, 60, 40);
  });
  cell("polyAndStroke", 6, 6, 74, 54, 68 * 48, -1, -1, -1);
  at(10, 10, [&] {
    w.setWidth(8);
    w.strokeRGB(0, 0.5, 0);
    w.fillRGB(Pnt3(1, 1, 0));
    w.polyAndStroke(4, 0, 0, 60, 0, 60, 40, 0, 40);
  });
  cell("closedLine", 6, 6, 74, 54, 68 * 48 - 52 * 32, 255, 0, 255);
  at(10, 10, [&] {
    w.setWidth(8);
    w.strokeRGB(Pnt3(1, 0, 1));
    w.closedLine(4, 0, 0, 60, 0, 60, 40, 0, 40);
  });
  cell("circle", 18, 18, 78, 78, 3.14159265 * 30 * 30, 128, 128, 128);
  at(48, 48, [&] {
    w.fillGray(0.5);
    w.circle(0, 0, 30);
    w.fill();
  });

  cell("circleStroked", 16, 16, 80, 80, 3.14159265 * (32 * 32 - 28 * 28), 64, 64, 64);
  at(48, 48, [&] {
    w.strokeGray(63.75);
    w.setWidth(4);
    w.circle(0, 0, 30);
    w.stroke();
  });
  cell("box", 28, 28, 52, 52, 24 * 24, 0, 0, 0);
  at(40, 40, [&] {
    w.setWidth(4);
    w.box(0, 0, 10);
  });
  cell("dot", 28, 28, 52, 52, 24 * 24, 0, 0, 0);
  at(40, 40, [&] {
    w.setWidth(4);
    w.setCoords(1, 1);
    w.dot(0, 0, 10);
  });
  cell("tick", 29, 29, 51, 51, 2 * 28.28 * 2 - 4, 0, 0, 0);
  at(40, 40, [&] {
    w.setWidth(2);
    w.setCoords(1, 1);
    w.tick(0, 0, 10);
  });
  cell("text", 10, 14, 90, 38, 250, 0, 0, 0, 0.4);
  at(12, 20, [&] { w.text(0, 0, "Limber", 22, "Helvetica"); });
  cell("strokeBox", 18, 18, 82, 62, 64 * 44 - 56 * 36, 0, 0, 0);
  at(20, 20, [&] {
    w.setWidth(4);
    w.setBox(0, 0, 60, 40);
    w.strokeBox();
  });

  cell("fillBox", 20, 20, 80, 60, 60 * 40, 0, 255, 255);
  at(20, 20, [&] {
    w.fillRGB(0, 255, 255);
    w.setBox(0, 0, 60, 40);
    w.fillBox();
  });
  cell("clipBox", 25, 25, 75, 55, 50 * 30, 0, 0, 0);
  at(20, 20, [&] {
    w.setBox(0, 0, 60, 40);
    w.clipBoxStart(5);
    w.poly(4, -15, -15, 70, -15, 70, 70, -15, 70);
    w.clipBoxEnd();
  });
  cell("namedColours", 16, 16, 84, 64, 68 * 48, -1, -1, -1);
  at(20, 20, [&] {
    w.setWidth(8);
    w.strokeRGB(0, 0, 0.5, "Navy");
    w.fillRGB(1, 0.5, 0, "Orange");
    w.polyAndStroke(4, 0, 0, 60, 0, 60, 40, 0, 40);
  });
  cell("dash", 10, 46, 86, 54, 8 * 40, 0, 0, 0);
  at(10, 50, [&] {
    w.setWidth(8);
    w.setDash(8, 9);
    w.line2(0, 0, 76, 0);
  });
  cell("lineCap", 10, 40, 90, 60, 80 * 20, 0, 0, 0);
  at(20, 50, [&] {
    w.setWidth(20);
    w.setLineCap(2);
    w.line2(0, 0, 60, 0);
    w.setLineCap(0);
  });
  cell("lineJoin", 10, 10, 90, 90, 20 * 70 * 2 - 100 + 3.14159265 * 100 / 4 - 0, 0, 0, 0);
  at(20, 80, [&] {
    w.setWidth(20);
    w.setLineJoin(1);
    w.line(3, 0, -70, 0, 0, 70, 0);
    w.setLineJoin(0);
  });

  cell("moveAndLine", 10, 10, 70, 50, 60 * 40 / 2, 0, 0, 0);
  at(10, 10, [&] {
    w.m(0, 0);
    w.L(60, 0);
    w.L(60, 40);
    w.fill();
  });
  cell("closeFillAndStroke", 6, 6, 74, 54, 68 * 48, 0, 0, 0);
  at(10, 10, [&] {
    w.setWidth(8);
    w.m(0, 0);
    w.L(60, 0);
    w.L(60, 40);
    w.L(0, 40);
    w.closeFillAndStroke();
  });
  cell("coordsAndFlip", 20, 60, 50, 80, 30 * 20, 0, 0, 0);
  at(20, 40, [&] {
    w.setBox(0, 0, 60, 99);
    w.forceAspect(2.0 / 3.0);
    w.setCoords(6, 4);
    w.flipBox();
    w.poly(4, 0, 0, 3, 0, 3, 2, 0, 2);
  });
  cell("group", 20, 20, 30, 30, 100, 0, 0, 0);
  at(20, 20, [&] {
    w.beginGroup();
    w.poly(4, 0, 0, 10, 0, 10, 10, 0, 10);
    w.endGroup();
  });
  cell("apr", 20, 20, 30, 30, 100, 0, 0, 0);
  at(20, 20, [&] {
    w.apr("%g %g m %g %g L %g %g L %g %g L ", left + 20, bottom + 20, left + 30, bottom + 20, left + 30,
          bottom + 30, left + 20, bottom + 30);
    w.fill();
  });
  return 0;
}
