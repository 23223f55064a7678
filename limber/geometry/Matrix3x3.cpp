#include "limber/geometry/Matrix3x3.h"

#include <cstdio>

char* Matrix3x3::__repr__() const {
  static char text[512];
  // The tab after the second row is part of the format.
  std::snprintf(text, sizeof(text),
                "<C Matrix3x3 %5.3f\t%5.3f\t%5.3f\n             %5.3f\t%5.3f\t%5.3f\t\n"
                "             %5.3f\t%5.3f\t%5.3f >\n",
                m[0][0], m[0][1], m[0][2], m[1][0], m[1][1], m[1][2], m[2][0], m[2][1], m[2][2]);
  return text;
}
