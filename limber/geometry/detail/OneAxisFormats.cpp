// One angle about one axis. With c the cosine and -s the entry of the negated sine of a given matrix:
//
//     given to fromMatrix                     comes back
//     half turn, -s = -0.0 or below           +pi
//     half turn, -s > 0                       -pi
//     c above 1 or below -1 (rounding)        0 or pi, with the sign of -s
//     c or -s of another axis' rotation       the angle of those two entries alone
//     NaN for c                               NaN
//     NaN for -s                              the positive angle

#include "limber/geometry/detail/AngleFormat.h"
#include "limber/geometry/detail/AxisTurns.h"

namespace limber::detail {

namespace {

// A format of one axis. warnX, warnY and warnZ are the axes that the warnings of setX, setY and setZ name if
// the format does not have that axis.
template <int axis, char warnX, char warnY, char warnZ>
class OneAxisFormat final : public AngleFormat {
 public:
  void toMatrix(double* params, Matrix3x3* out) const override {
    const Turn turn(params[0]);
    for (int k = 0; k < 3; ++k) out->m[axis][k] = out->m[k][axis] = k == axis ? 1.0 : 0.0;
    out->m[i][i] = out->m[j][j] = turn.c;
    out->m[i][j] = turn.s;
    out->m[j][i] = -turn.s;
  }

  void fromMatrix(const Matrix3x3* in, double* params) const override {
    double c = in->m[cosine][cosine];
    if (c > 1.0) c = 1.0;
    if (c < -1.0) c = -1.0;
    const double a = std::acos(c);
    params[0] = in->m[j][i] > 0.0 ? -a : a;
  }

  void matrixDeriv(double* params, double* out) const override {
    Matrix3x3 M;
    toMatrix(params, &M);
    differentiateFirst<axis>(M.m, out);
  }

  void setX(double* params, double angle) const override { set<0>(params, angle, warnX); }
  void setY(double* params, double angle) const override { set<1>(params, angle, warnY); }
  void setZ(double* params, double angle) const override { set<2>(params, angle, warnZ); }

  const char* name() const override { return axis == 0 ? "X" : axis == 1 ? "Y" : "Z"; }

 private:
  static constexpr int i = nextAxis<axis>;
  static constexpr int j = lastAxis<axis>;
  static constexpr int cosine = i < j ? i : j;  // of the two cosines fromMatrix reads the upper one

  template <int which>
  void set(double* params, double angle, char warned) const {
    if (which == axis)
      params[0] = angle;
    else
      warnSet(warned, name());
  }
};

OneAxisFormat<0, 'x', 'y', 'z'> xFormat;
// Contract: setting X on a "Y" joint warns of the y-axis.
OneAxisFormat<1, 'y', 'y', 'z'> yFormat;
OneAxisFormat<2, 'x', 'y', 'z'> zFormat;

}  // namespace

}  // namespace limber::detail

RotHelper* xRot = &limber::detail::xFormat;
RotHelper* yRot = &limber::detail::yFormat;
RotHelper* zRot = &limber::detail::zFormat;
