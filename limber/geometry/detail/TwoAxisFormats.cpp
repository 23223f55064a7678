// Two angles. Their matrices are only a part of all rotations, so there is no conversion from a matrix. A NaN
// or infinite angle makes exactly those entries NaN that contain its sine or cosine.

#include "limber/foundation/Output.h"
#include "limber/geometry/detail/AngleFormat.h"
#include "limber/geometry/detail/AxisTurns.h"

namespace limber::detail {

namespace {

// M = B(p1) A(p0) with A about the axis `inner`, B about `outer`. `Subclass::rows` writes the product.
template <class Subclass, int inner, int outer>
class TwoAxisFormat : public AngleFormat {
 public:
  void toMatrix(double* params, Matrix3x3* out) const final {
    Subclass::rows(Turn(params[0]), Turn(params[1]), out->m);
  }

  void fromMatrix(const Matrix3x3*, double* params) const final {
    stdoutPrintf("WARNING: Can't convert matrix to 2 dof rotation\n");
    zero(params);
  }

  void matrixDeriv(double* params, double* out) const final {
    Matrix3x3 M;
    toMatrix(params, &M);
    differentiateLast<inner>(M.m, out);
    differentiateFirst<outer>(M.m, out + 9);
  }

  void setX(double* params, double angle) const final { set<0>(params, angle); }
  void setY(double* params, double angle) const final { set<1>(params, angle); }
  void setZ(double* params, double angle) const final { set<2>(params, angle); }

 private:
  template <int which>
  void set(double* params, double angle) const {
    if (which == inner)
      params[0] = angle;
    else if (which == outer)
      params[1] = angle;
    else
      warnSet("xyz"[which], name());
  }
};

class ZXFormat final : public TwoAxisFormat<ZXFormat, 2, 0> {
 public:
  static void rows(const Turn& z, const Turn& x, double (*m)[3]) {
    setRows(m, z.c, z.s, 0.0,            //
            -z.s * x.c, z.c * x.c, x.s,  //
            z.s * x.s, -z.c * x.s, x.c);
  }
  const char* name() const override { return "ZX"; }
};

class ZYFormat final : public TwoAxisFormat<ZYFormat, 2, 1> {
 public:
  static void rows(const Turn& z, const Turn& y, double (*m)[3]) {
    setRows(m, z.c * y.c, z.s * y.c, -y.s,  //
            -z.s, z.c, 0.0,                 //
            z.c * y.s, z.s * y.s, y.c);
  }
  const char* name() const override { return "ZY"; }
};

class XYFormat final : public TwoAxisFormat<XYFormat, 0, 1> {
 public:
  static void rows(const Turn& x, const Turn& y, double (*m)[3]) {
    setRows(m, y.c, x.s * y.s, -x.c * y.s,  //
            0.0, x.c, x.s,                  //
            y.s, -x.s * y.c, x.c * y.c);
  }
  const char* name() const override { return "XY"; }
};

ZXFormat zxFormat;
ZYFormat zyFormat;
XYFormat xyFormat;

}  // namespace

}  // namespace limber::detail

RotHelper* zxRot = &limber::detail::zxFormat;
RotHelper* zyRot = &limber::detail::zyFormat;
RotHelper* xyRot = &limber::detail::xyFormat;
