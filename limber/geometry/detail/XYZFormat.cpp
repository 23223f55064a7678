// Three angles x, y, z with M = Z(z) Y(y) X(x). The conversion from a matrix is as stable as that to Z-X-Y
// angles.
//
//     given to fromMatrix         comes back
//     y = +-pi/2 exactly          z = atan2 of the tiny rest of its column (a zero or a half turn when
//                                 nothing is), x the rest: the matrix is kept, the split is arbitrary
//     half turns                  +pi or -pi, by the sign of the zero in the matrix
//     rows scaled by one s > 0    the angles of the unscaled rows
//     the zero matrix             angles that are multiples of pi
//     NaN                         NaN for the angles that depend on it
//     row 2                       of it only the x entry is read

#include "limber/geometry/Pnt3.h"
#include "limber/geometry/detail/AngleFormat.h"
#include "limber/geometry/detail/AxisTurns.h"

namespace limber::detail {

namespace {

class XYZFormat final : public AngleFormat {
 public:
  void toMatrix(double* params, Matrix3x3* out) const override {
    const Turn x(params[0]), y(params[1]), z(params[2]);
    rows(x, y, z, out->m);
  }

  void fromMatrix(const Matrix3x3* in, double* params) const override {
    const Pnt3 R0(in->m[0]), R1(in->m[1]);
    const double y = std::atan2(in->m[2][0], std::hypot(R0.x, R1.x));
    const double z = std::atan2(-R1.x, R0.x);
    const Pnt3 r = R0 * std::sin(z) + R1 * std::cos(z);  // (0, cos x, sin x)
    params[0] = std::atan2(r.z, r.y), params[1] = y, params[2] = z;
  }

  void matrixDeriv(double* params, double* out) const override {
    const Turn x(params[0]), y(params[1]), z(params[2]);
    double m[3][3];
    rows(x, y, z, m);
    differentiateLast<0>(m, out);
    // Z Y'(y) X with Y' X = (a / 0 / b).
    const double a[3] = {-y.s, x.s * y.c, -x.c * y.c};
    const double b[3] = {y.c, x.s * y.s, -x.c * y.s};
    for (int k = 0; k < 3; ++k) {
      out[9 + k] = z.c * a[k];
      out[12 + k] = -z.s * a[k];
      out[15 + k] = b[k];
    }
    differentiateFirst<2>(m, out + 18);
  }

  void setX(double* params, double angle) const override { setInZXY(params, 1, angle); }
  void setY(double* params, double angle) const override { setInZXY(params, 2, angle); }
  void setZ(double* params, double angle) const override { setInZXY(params, 0, angle); }

  const char* name() const override { return "XYZ"; }

 private:
  // Contract: sets one of the Z-X-Y angles of the same rotation, not the angle of this format.
  void setInZXY(double* params, int position, double angle) const {
    convertTo(params, "ZXY");
    params[position] = angle;
    zxyRot->convertTo(params, "XYZ");
  }

  static void rows(const Turn& x, const Turn& y, const Turn& z, double (*m)[3]) {
    const double xsys = x.s * y.s, xcys = x.c * y.s;
    setRows(m, y.c * z.c, x.c * z.s + xsys * z.c, x.s * z.s - xcys * z.c,  //
            -y.c * z.s, x.c * z.c - xsys * z.s, x.s * z.c + xcys * z.s,    //
            y.s, -x.s * y.c, x.c * y.c);
  }
};

XYZFormat xyzFormat;

}  // namespace

}  // namespace limber::detail

RotHelper* xyzRot = &limber::detail::xyzFormat;
