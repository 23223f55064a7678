// The library's objects are linked into this program, whose initialiser runs before all others. If any
// exported format were set by an initialiser, it would still be null here.
#include <initializer_list>

#include "limber/geometry/Matrix3x3.h"
#include "limber/geometry/Rotation.h"

namespace {

struct Early {
  int good = 0;
  Early() {
    double p[4];
    Matrix3x3 m;
    for (RotHelper* format : {nullRot, qRot, xRot, yRot, zRot, zxRot, zyRot, xyRot, xyzRot, zxyRot}) {
      if (!format) return;
      format->zero(p);
      format->toMatrix(p, &m);
      good += m.m[0][0] == 1.0 && m.m[1][2] == 0.0;
    }
  }
};
const Early early __attribute__((init_priority(101)));

}  // namespace

int main() { return early.good == 10 ? 0 : 1; }
