// The quaternion w, x, y, z of any norm.
//
//     input                                 outcome
//     (0, 0, 0, 0)                          warning, w becomes 1 in the caller's array; then the identity
//     (w, 0, 0, 0) to matrixDeriv           w becomes 1 in the caller's array, silently
//     norm whose square leaves the range    scaled by a power of two first: the same rotation; derivatives
//                                           that are out of range themselves are infinite
//     NaN or infinite component             entries that are not finite
//     half turn, fromMatrix                 not finite for 95 % of random axes, for the others finite and
//                                           wrong (by 0.3 to 2). Contract: Quat::FromRotation is right
//     row 2 in fromMatrix                   is not read

#include "limber/foundation/Output.h"
#include "limber/geometry/Matrix3x3.h"
#include "limber/geometry/Quat.h"
#include "limber/geometry/detail/AngleFormat.h"
#include "limber/geometry/detail/QuaternionMatrix.h"

namespace limber::detail {

namespace {

class QuaternionFormat final : public RotHelper {
 public:
  void toMatrix(double* params, Matrix3x3* out) const override { quaternionToRows(params, out->m); }

  void fromMatrix(const Matrix3x3* in, double* params) const override {
    Quat q;
    rowsToQuaternion(in->m, &q);
    q.Get(params);
  }

  // With n = w^2 + x^2 + y^2 + z^2 and U the quadratic entries, M = I + (2 / n) U and
  // dM/dp = (2 / n) dU/dp - (4 p / n^2) U.
  void matrixDeriv(double* params, double* out) const override {
    if (params[1] == 0.0 && params[2] == 0.0 && params[3] == 0.0) {
      if (params[0] == 0.0) warnZeroQuaternion();
      // Contract: w becomes 1 whatever it was, so the derivative is that at the identity.
      params[0] = 1.0;
    }
    double q[4];
    const double scale = unscale(params, q);
    const double w = q[0], x = q[1], y = q[2], z = q[3];
    const double s = 1.0 / (w * w + z * z + y * y + x * x);
    const double U[9] = {-(y * y + z * z), x * y + w * z,    x * z - w * y,  //
                         x * y - w * z,    -(x * x + z * z), y * z + w * x,  //
                         x * z + w * y,    y * z - w * x,    -(x * x + y * y)};
    const double dU[4][9] = {{0.0, z, -y, -z, 0.0, x, y, -x, 0.0},
                             {0.0, y, z, y, -2.0 * x, w, z, -w, -2.0 * x},
                             {-2.0 * y, x, -w, x, 0.0, z, w, z, -2.0 * y},
                             {-2.0 * z, w, x, -w, -2.0 * z, y, x, y, 0.0}};
    const double s2 = 2.0 * s;
    for (int p = 0; p < 4; ++p) {
      const double c = 2.0 * s2 * s * q[p];
      for (int e = 0; e < 9; ++e) out[9 * p + e] = (s2 * dU[p][e] - c * U[e]) * scale;
    }
  }

  void setX(double* params, double angle) const override { setInZXY(params, 1, angle); }
  void setY(double* params, double angle) const override { setInZXY(params, 2, angle); }
  void setZ(double* params, double angle) const override { setInZXY(params, 0, angle); }

  // Converts to "XYZ" and "ZXY" through the matrix. The shorter formats cannot represent every quaternion.
  void convertTo(double* params, const char* toFormat) const override {
    const RotHelper* const target = formatNamed(toFormat);
    if (target == this) return;
    if (!target) {
      stdoutPrintf("WARNING: Unknown rotation format %s\n", toFormat ? toFormat : "(null)");
    } else if (target == xyzRot || target == zxyRot) {
      Matrix3x3 m;
      toMatrix(params, &m);
      target->fromMatrix(&m, params);
    } else {
      stdoutPrintf("WARNING: Can't get 'QRST' rotation in format %s\n", toFormat);
    }
  }

  const char* name() const override { return "QRST"; }

  void zero(double* params) const override { Quat().Get(params); }

 private:
  // Sets one of the Z-X-Y angles of the same rotation.
  void setInZXY(double* params, int position, double angle) const {
    convertTo(params, "ZXY");
    params[position] = angle;
    Quat("ZXY", params).Get(params);
  }
};

QuaternionFormat quaternionFormat;

}  // namespace

}  // namespace limber::detail

RotHelper* qRot = &limber::detail::quaternionFormat;
