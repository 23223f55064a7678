#include "limber/geometry/RotHelper.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "limber/geometry/Matrix3x3.h"

namespace {

// Records which virtual operation was called.
class Recorder : public RotHelper {
 public:
  void toMatrix(double*, Matrix3x3*) const override { called = 0; }
  void fromMatrix(const Matrix3x3*, double*) const override { called = 1; }
  void matrixDeriv(double*, double*) const override { called = 2; }
  void setX(double*, double) const override { called = 3; }
  void setY(double*, double) const override { called = 4; }
  void setZ(double*, double) const override { called = 5; }
  void convertTo(double*, const char*) const override { called = 6; }
  const char* name() const override { return called = 7, "r"; }
  void zero(double*) const override { called = 8; }
  mutable int called = -1;
};

static_assert(sizeof(RotHelper) == sizeof(void*), "a format is its operation table and nothing else");
static_assert(!std::has_virtual_destructor<RotHelper>::value, "slot 0 is the matrix, not a destructor");
static_assert(!std::is_abstract<RotHelper>::value, "a plain RotHelper is the null format");

// Filled during the static initialisation of this program.
struct FromAnInitialiser {
  double angle = 0.25;
  Matrix3x3 matrix;
  bool all = nullRot && qRot && xRot && yRot && zRot && zxRot && zyRot && xyRot && xyzRot && zxyRot;
  FromAnInitialiser() { xRot->toMatrix(&angle, &matrix); }
};
const FromAnInitialiser early;

}  // namespace

// Calls through the n-th entry of the operation table reach the n-th documented operation.
TEST(RotHelper, OperationTableIsInTheDocumentedOrder) {
  const Recorder recorder;
  void* const* const slots = *reinterpret_cast<void* const* const*>(&recorder);
  using Plain = void (*)(const RotHelper*, double*, double*);
  using WithAngle = void (*)(const RotHelper*, double*, double);
  using Name = const char* (*)(const RotHelper*);
  for (int slot = 0; slot < 9; ++slot) {
    recorder.called = -1;
    if (slot >= 3 && slot <= 5)
      reinterpret_cast<WithAngle>(slots[slot])(&recorder, nullptr, 0.0);
    else if (slot == 7)
      reinterpret_cast<Name>(slots[slot])(&recorder);
    else
      reinterpret_cast<Plain>(slots[slot])(&recorder, nullptr, nullptr);
    EXPECT_EQ(recorder.called, slot);
  }
}

TEST(RotHelper, SetCallsTheSlotOfItsAxis) {
  const Recorder recorder;
  double p = 0.0;
  recorder.Set('X', &p, 1.0);
  EXPECT_EQ(recorder.called, 3);
  recorder.Set('Y', &p, 1.0);
  EXPECT_EQ(recorder.called, 4);
  recorder.Set('Z', &p, 1.0);
  EXPECT_EQ(recorder.called, 5);
}

TEST(RotHelper, PointersServeStaticInitialisers) {
  EXPECT_TRUE(early.all);
  EXPECT_EQ(early.matrix.m[0][0], 1.0);
  EXPECT_GT(early.matrix.m[1][2], 0.2);
}

TEST(RotHelper, EachFormatIsAnObjectOfItsOwn) {
  RotHelper* const all[] = {nullRot, qRot, xRot, yRot, zRot, zxRot, zyRot, xyRot, xyzRot, zxyRot};
  for (int i = 0; i < 10; ++i)
    for (int j = 0; j < i; ++j) EXPECT_NE(all[i], all[j]);
}

TEST(RotHelper, CopiesAndAssignsWithoutEffect) {
  RotHelper a;
  const RotHelper b(a);
  EXPECT_EQ(&(a = b), &a);
  EXPECT_STREQ(b.name(), "...");
}
