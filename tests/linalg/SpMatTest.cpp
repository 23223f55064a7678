#include "limber/linalg/SpMat.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "limber/linalg/Compact.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"

namespace {

class Plain : public SpMat {};

// Records which operation each slot of the table reaches.
class Slots : public SpMat {
 public:
  mutable int last = 0;
  int height() const override { return last = 1; }
  int width() const override { return last = 2; }
  void mult(const Vector*, Vector*) const override { last = 3; }
  void multT(const Vector*, Vector*) const override { last = 4; }
  double acc(int, int) const override { return last = 5; }
  void depict(int) override { last = 6; }
  SpMat* compact(double, int, int) override {
    last = 7;
    return this;
  }
  void scalar(double) override { last = 8; }
};

// The warning consists of three writes. Its line number may be any.
void expectWarning(const CapturedOutput& output, const std::string& operation) {
  ASSERT_EQ(output.errCalls().size(), 3u);
  EXPECT_EQ(output.errCalls()[0].rfind("WARNING @ (Vectors:", 0), 0u);
  EXPECT_EQ(output.errCalls()[1], "Function (" + operation + ") not implemented");
  EXPECT_EQ(output.errCalls()[2], "\n");
}

TEST(SpMat, HeightLeftOutWarnsAndIsZero) {
  CapturedOutput output;
  EXPECT_EQ(Plain().height(), 0);
  expectWarning(output, "generic sparse matrix height");
}

TEST(SpMat, WidthLeftOutWarnsAndIsZero) {
  CapturedOutput output;
  EXPECT_EQ(Plain().width(), 0);
  expectWarning(output, "generic sparse matrix width");
}

TEST(SpMat, MultLeftOutWarnsAndLeavesTheResult) {
  CapturedOutput output;
  Vector x(2), y = vectorOf({1, 2});
  Plain().mult(&x, &y);
  expectWarning(output, "generic sparse matrix mult");
  expectElements(y, {1, 2});
}

TEST(SpMat, MultTLeftOutWarnsAndLeavesTheResult) {
  CapturedOutput output;
  Vector x(2), y = vectorOf({1, 2});
  Plain().multT(&x, &y);
  expectWarning(output, "generic sparse matrix multT");
  expectElements(y, {1, 2});
}

TEST(SpMat, AccLeftOutWarnsAndIsZero) {
  CapturedOutput output;
  EXPECT_EQ(Plain().acc(1, 1), 0.0);
  expectWarning(output, "generic sparse matrix acc");
}

TEST(SpMat, ScalarLeftOutWarns) {
  CapturedOutput output;
  Plain().scalar(2.0);
  expectWarning(output, "generic SpMat scalar");
}

TEST(SpMat, HoldsNothingButTheTablePointer) { EXPECT_EQ(sizeof(SpMat), sizeof(void*)); }

TEST(SpMat, DepictShowsThePattern) {
  FullMatrix m(2, 2);
  m.identity();
  CapturedOutput output;
  m.depict(0);
  EXPECT_EQ(output.out(), "* \n *\n");
}

TEST(SpMat, DepictOfARectangleHasOneLineARow) {
  FullMatrix m = matrixOf({{0, 1, -2}, {3, 0, 0}});
  CapturedOutput output;
  m.depict(-1);
  EXPECT_EQ(output.out(), " **\n*  \n");
}

TEST(SpMat, DepictWithPackingIsRefused) {
  FullMatrix m = matrixOf({{1}});
  CapturedOutput output;
  m.depict(1);
  EXPECT_EQ(output.out(), "");
  EXPECT_EQ(output.err().rfind("ERR: SpMat::depict packing not supported yet @ (Vectors:", 0), 0u);
}

TEST(SpMat, CompactLeftOutIsTheNaiveOne) {
  OwnRows m({{{0, 1.0}}, {{1, 2.0}}});
  SpMat* const image = m.matrix.compact(0.5, 0, 1);
  EXPECT_EQ(image, naiveCompact(&m.matrix, 0.5, 0, 1));
  EXPECT_EQ(image->acc(0, 0), 1.5);
  EXPECT_EQ(image->acc(1, 1), 2.5);
}

#if !defined(_WIN32)
// Slot k of the table of the C++ ABI.
void* slot(const SpMat& m, int k) { return (*reinterpret_cast<void** const*>(&m))[k]; }

TEST(SpMat, OperationsStandInTheirSlots) {
  Slots m;
  using IntFunction = int (*)(const SpMat*);
  using ProductFunction = void (*)(const SpMat*, const Vector*, Vector*);
  reinterpret_cast<IntFunction>(slot(m, 0))(&m);
  EXPECT_EQ(m.last, 1);
  reinterpret_cast<IntFunction>(slot(m, 1))(&m);
  EXPECT_EQ(m.last, 2);
  reinterpret_cast<ProductFunction>(slot(m, 2))(&m, nullptr, nullptr);
  EXPECT_EQ(m.last, 3);
  reinterpret_cast<ProductFunction>(slot(m, 3))(&m, nullptr, nullptr);
  EXPECT_EQ(m.last, 4);
  reinterpret_cast<double (*)(const SpMat*, int, int)>(slot(m, 4))(&m, 0, 0);
  EXPECT_EQ(m.last, 5);
  reinterpret_cast<void (*)(SpMat*, int)>(slot(m, 5))(&m, 0);
  EXPECT_EQ(m.last, 6);
  reinterpret_cast<SpMat* (*)(SpMat*, double, int, int)>(slot(m, 6))(&m, 0.0, 0, 0);
  EXPECT_EQ(m.last, 7);
  reinterpret_cast<void (*)(SpMat*, double)>(slot(m, 7))(&m, 0.0);
  EXPECT_EQ(m.last, 8);
}
#endif

#if defined(__x86_64__) && !defined(_WIN32)
// A pointer to a virtual member holds one more than the offset of its slot. Destructors take two slots.
template <class Member>
int slotOf(Member member) {
  std::ptrdiff_t first;
  std::memcpy(&first, &member, sizeof first);
  return static_cast<int>((first - 1) / static_cast<std::ptrdiff_t>(sizeof(void*)));
}

TEST(SpMat, DenseOperationsStandBehindTheDestructor) {
  using M = FullMatrix;
  EXPECT_EQ(slotOf(&M::transpose), 10);
  EXPECT_EQ(slotOf(static_cast<double& (M::*)(int, int) const>(&M::operator())), 11);
  EXPECT_EQ(slotOf(&M::operator*), 12);
  EXPECT_EQ(slotOf(&M::operator+), 13);
  EXPECT_EQ(slotOf(&M::operator-), 14);
  EXPECT_EQ(slotOf(&M::operator*=), 15);
  EXPECT_EQ(slotOf(&M::operator+=), 16);
  EXPECT_EQ(slotOf(&M::operator-=), 17);
  EXPECT_EQ(slotOf(&M::operator==), 18);
  EXPECT_EQ(slotOf(&M::compact), 6);
}

TEST(SpMat, RowSparseOperationsStandBehindTheDestructor) {
  using Range = int (HSpMat::*)(int, int) const;
  using All = int (HSpMat::*)() const;
  EXPECT_EQ(slotOf(static_cast<All>(&HSpMat::height)), 0);
  EXPECT_EQ(slotOf(static_cast<All>(&HSpMat::width)), 1);
  EXPECT_EQ(slotOf(static_cast<Range>(&HSpMat::left)), 10);
  EXPECT_EQ(slotOf(static_cast<All>(&HSpMat::left)), 11);
  EXPECT_EQ(slotOf(static_cast<Range>(&HSpMat::width)), 12);
}
#endif

}  // namespace
