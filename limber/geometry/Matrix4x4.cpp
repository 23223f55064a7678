#include "limber/geometry/Matrix4x4.h"

#include <cmath>
#include <cstdio>

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/geometry/Matrix3x3.h"
#include "limber/geometry/detail/QuaternionMatrix.h"

using namespace limber::detail;

// Degenerate input:
//   rotMatrix          another letter         "Bad axis to rotMatrix", the identity
//                      a non-finite angle     NaN in the four entries of the turn
//   quaternionMatrix   zero quaternion        a warning, the identity
//   __repr__           numbers too long       the text ends after 511 characters

char* Matrix4x4::__repr__() const {
  static char text[512];
  std::snprintf(text, sizeof(text),
                "<C MQ3Matrix %5.3f\t%5.3f\t%5.3f\t%5.3f\n             %5.3f\t%5.3f\t%5.3f\t%5.3f\n"
                "             %5.3f\t%5.3f\t%5.3f\t%5.3f\n             %5.3f\t%5.3f\t%5.3f\t%5.3f >\n",
                m[0][0], m[0][1], m[0][2], m[0][3], m[1][0], m[1][1], m[1][2], m[1][3], m[2][0], m[2][1],
                m[2][2], m[2][3], m[3][0], m[3][1], m[3][2], m[3][3]);
  return text;
}

void printMatrix(const Matrix4x4* M) {
  const double(*m)[4] = M->m;
  stdoutPrintf("  [%5.3f\t%5.3f\t%5.3f\t%5.3f \n", m[0][0], m[0][1], m[0][2], m[0][3]);
  for (int i = 1; i < 3; ++i)
    stdoutPrintf("   %5.3f\t%5.3f\t%5.3f\t%5.3f \n", m[i][0], m[i][1], m[i][2], m[i][3]);
  stdoutPrintf("   %5.3f\t%5.3f\t%5.3f\t%5.3f]\n", m[3][0], m[3][1], m[3][2], m[3][3]);
}

void rotMatrix(Matrix4x4* M, char axis, double angle) {
  idMatrix(M);
  const double c = std::cos(angle), s = std::sin(angle);
  double(*m)[4] = M->m;
  switch (axis) {
    case 'X':
    case 'x':
      m[1][1] = c, m[1][2] = -s, m[2][1] = s, m[2][2] = c;
      break;
    case 'Y':
    case 'y':
      m[0][0] = c, m[0][2] = -s, m[2][0] = s, m[2][2] = c;
      break;
    case 'Z':
    case 'z':
      m[0][0] = c, m[0][1] = -s, m[1][0] = s, m[1][1] = c;
      break;
    default:
      ReportSite{"Matrix", 207}.error("Bad axis to rotMatrix");
  }
}

void rotMatrix(Matrix4x4* M, double angle) { rotMatrix(M, 'Z', angle); }

void quaternionMatrix(double w, double x, double y, double z, Matrix4x4* out) {
  double q[4] = {w, x, y, z};
  Matrix3x3 r;
  quaternionToRows(q, r.m);
  as4x4(&r, out);
}

void as4x4(const Matrix3x3* M, Matrix4x4* out) {
  idMatrix(out);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) out->m[i][j] = M->m[i][j];
}
