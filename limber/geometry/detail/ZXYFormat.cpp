// Three angles z, x, y with M = Y(y) X(x) Z(z). The conversion from a matrix uses no arc cosine: every angle
// is an atan2 of two numbers that are not both small. Near gimbal lock (x = +-pi/2) the angles are not
// unique, but they still give the original matrix.
//
//     given to fromMatrix         comes back
//     x = +-pi/2 exactly          z = atan2 of the tiny rest of its row (a zero or a half turn when
//                                 nothing is), y the rest: the matrix is kept, the split is arbitrary
//     half turns                  +pi or -pi, by the sign of the zero in the matrix
//     rows scaled by one s > 0    the unscaled rows' z and x, another y: lengths count as sines there
//     the zero matrix             angles that are multiples of pi
//     NaN in row 0 or 1           NaN for the angles that depend on it
//     row 2                       is not read

#include "limber/geometry/Pnt3.h"
#include "limber/geometry/detail/AngleFormat.h"
#include "limber/geometry/detail/AxisTurns.h"

namespace limber::detail {

namespace {

class ZXYFormat final : public AngleFormat {
 public:
  void toMatrix(double* params, Matrix3x3* out) const override {
    const Turn z(params[0]), x(params[1]), y(params[2]);
    rows(z, x, y, out->m);
  }

  void fromMatrix(const Matrix3x3* in, double* params) const override {
    const Pnt3 R0(in->m[0]), R1(in->m[1]);
    const double z = std::atan2(-R1.x, R1.y);
    const double x = std::atan2(R1.z, std::hypot(R1.x, R1.y));
    const Pnt3 N(std::cos(z), std::sin(z), 0.0);  // the image of the x axis before the turn about Y
    const Pnt3 across = N * R0;
    const double y = std::atan2(across.x * R1.x + across.y * R1.y + across.z * R1.z, N.x * R0.x + N.y * R0.y);
    params[0] = z, params[1] = x, params[2] = y;
  }

  void matrixDeriv(double* params, double* out) const override {
    const Turn z(params[0]), x(params[1]), y(params[2]);
    double m[3][3];
    rows(z, x, y, m);
    differentiateLast<2>(m, out);
    // Y X'(x) Z with X' Z = (0 / a / b).
    const double a[3] = {z.s * x.s, -z.c * x.s, x.c};
    const double b[3] = {z.s * x.c, -z.c * x.c, -x.s};
    for (int k = 0; k < 3; ++k) {
      out[9 + k] = -y.s * b[k];
      out[12 + k] = a[k];
      out[15 + k] = y.c * b[k];
    }
    differentiateFirst<1>(m, out + 18);
  }

  void setX(double* params, double angle) const override { params[1] = angle; }
  void setY(double* params, double angle) const override { params[2] = angle; }
  void setZ(double* params, double angle) const override { params[0] = angle; }

  const char* name() const override { return "ZXY"; }

 private:
  static void rows(const Turn& z, const Turn& x, const Turn& y, double (*m)[3]) {
    const double zsxs = z.s * x.s, zcxs = z.c * x.s;
    setRows(m, z.c * y.c - zsxs * y.s, z.s * y.c + zcxs * y.s, -x.c * y.s,  //
            -z.s * x.c, z.c * x.c, x.s,                                     //
            z.c * y.s + zsxs * y.c, z.s * y.s - zcxs * y.c, x.c * y.c);
  }
};

ZXYFormat zxyFormat;

}  // namespace

}  // namespace limber::detail

RotHelper* zxyRot = &limber::detail::zxyFormat;
