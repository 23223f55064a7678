// The work vectors of the solvers: their sizes, their growth with the state, and sharing between copies.
#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include "limber/limber.h"
#include "tests/ode/Systems.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

// The offset of a field in its object.
template <class Object, class Field>
long at(const Object& object, const Field& field) {
  return static_cast<long>(reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&object));
}

constexpr long word = sizeof(void*);

TEST(OdeLayout, FieldsStandBehindTheTablePointerInOrder) {
  Decay decay;
  EulerSolver euler(&decay);
  RK2Solver rk2(&decay);
  RK4Solver rk4(&decay);
  EXPECT_EQ(sizeof(Integrand), sizeof(void*));
  EXPECT_EQ(at(euler, euler.f), word);
  EXPECT_EQ(at(euler, euler.n), 2 * word);
  EXPECT_EQ(at(euler, euler.work), 3 * word);
  EXPECT_EQ(at(rk2, rk2.k1), 3 * word);
  EXPECT_EQ(at(rk2, rk2.k2), 4 * word);
  EXPECT_EQ(at(rk4, rk4.k1), 3 * word);
  EXPECT_EQ(at(rk4, rk4.k4), 6 * word);
  EXPECT_EQ(at(rk4, rk4.stage), 7 * word);
}

#if defined(__GXX_ABI_VERSION) && !defined(_WIN32)
// The function in the first slot of the table that the object begins with.
template <class Function>
Function firstSlot(const void* object) {
  const void* table;
  std::memcpy(&table, object, sizeof table);
  Function function;
  std::memcpy(&function, table, sizeof function);
  return function;
}

TEST(OdeLayout, TheOneVirtualOperationIsTheFirstSlot) {
  CapturedOutput captured;
  using Step = int (*)(OdeSolver*, Vector*, double, double);
  using Fprime = int (*)(Integrand*, Vector*, double, Vector*);
  Integrand generic;
  OdeSolver solver(&generic, 1);
  Vector x(1), dxdt(1);
  firstSlot<Step> (&solver)(&solver, &x, 0.0, 1.0);
  firstSlot<Fprime> (&generic)(&generic, &x, 0.0, &dxdt);
  EXPECT_EQ(
      captured.err(),
      "ERR: Generic solver can't solve @ (Vectors:971)\nERR: Evaluate generic Integrand @ (Vectors:1098)\n");
}
#endif

TEST(OdeSizes, HundredUnlessAsked) {
  Decay decay;
  EXPECT_EQ(EulerSolver(&decay).n, 100);
  EXPECT_EQ(EulerSolver(&decay).work->size(), 100);
  EXPECT_EQ(RK2Solver(&decay).n, 100);
  EXPECT_EQ(RK2Solver(&decay).k2->size(), 100);
  EXPECT_EQ(RK4Solver(&decay).n, 100);
  EXPECT_EQ(RK4Solver(&decay).k4->size(), 100);
}

// Contract: only Euler's solver stores one more than the requested size.
TEST(OdeSizes, AsAskedButOneMoreForEuler) {
  Decay decay;
  EXPECT_EQ(EulerSolver(&decay, 7).n, 8);
  EXPECT_EQ(EulerSolver(&decay, 7).work->size(), 8);
  EXPECT_EQ(RK2Solver(&decay, 7).n, 7);
  EXPECT_EQ(RK2Solver(&decay, 7).k1->size(), 7);
  EXPECT_EQ(RK4Solver(&decay, 7).n, 7);
  for (Vector* RK4Solver::*field :
       {&RK4Solver::k1, &RK4Solver::k2, &RK4Solver::k3, &RK4Solver::k4, &RK4Solver::stage}) {
    EXPECT_EQ((RK4Solver(&decay, 7).*field)->size(), 7);
  }
}

template <class Solver>
class EachSolver : public ::testing::Test {};
using Solvers = ::testing::Types<EulerSolver, RK2Solver, RK4Solver>;
TYPED_TEST_SUITE(EachSolver, Solvers);

// The value that one element of x' = -x has after one step from 1.
template <class Solver>
double decayed() {
  Decay decay;
  Solver solver(&decay);
  Vector x(1);
  x = 1.0;
  solver.step(&x, 0.0, 0.1);
  return x[0];
}

// The requested size is only the initial size of the work vectors. No element depends on it or on earlier
// steps.
TYPED_TEST(EachSolver, WorkFollowsTheSizeOfTheState) {
  Decay decay;
  const double expected = decayed<TypeParam>();
  for (const int asked : {-3, 0, 1, 4, 100}) {
    TypeParam solver(&decay, asked);
    for (const int size : {0, 1, 3, 300, 2, 5, 1000, 0, 6}) {
      Vector x(size);
      x = 1.0;
      EXPECT_EQ(solver.step(&x, 0.0, 0.1), 0);
      ASSERT_EQ(x.size(), size);
      for (int i = 0; i < size; ++i) ASSERT_TRUE(tolerance::sameBits(x[i], expected)) << asked << " " << size;
    }
  }
}

TYPED_TEST(EachSolver, StepsWithTheBaseIntegrandKeepGoing) {
  CapturedOutput captured;
  Integrand generic;
  TypeParam solver(&generic);
  Vector x(2);
  solver.step(&x, 0.0, 0.1);
  EXPECT_EQ(captured.errCalls().front(), "ERR: Evaluate generic Integrand @ (Vectors:1098)\n");
}

TYPED_TEST(EachSolver, StepsWithoutIntegrandOrStateAreIgnored) {
  CapturedOutput captured;
  Recorder recorder;
  TypeParam without(nullptr), with(&recorder);
  Vector x(2);
  x = 3.0;
  EXPECT_EQ(without.step(&x, 0.0, 0.1), 0);
  EXPECT_EQ(with.step(nullptr, 0.0, 0.1), 0);
  EXPECT_EQ(x[0], 3.0);
  EXPECT_TRUE(recorder.calls.empty());
  EXPECT_EQ(captured.err(), "");
}

// x' = -x, with a result whose size differs from that of the state.
class SizeChanger : public Integrand {
 public:
  explicit SizeChanger(int size) : size_(size) {}
  int fprime(Vector* x, double, Vector* dxdt) override {
    dxdt->grow(size_);
    for (int i = 0; i < size_; ++i) (*dxdt)[i] = i < x->size() ? -(*x)[i] : 50.0;
    return 0;
  }

 private:
  int size_;
};

// Nothing is checked, and no memory outside the vectors is accessed: the common part advances.
TYPED_TEST(EachSolver, IntegrandThatChangesSizesMovesTheCommonPart) {
  for (const int size : {0, 1, 6, 8, 57}) {
    SizeChanger right(size);
    TypeParam solver(&right);
    Vector x(7);
    x = 1.0;
    solver.step(&x, 0.0, 0.1);
    ASSERT_EQ(x.size(), 7);
    for (int i = 0; i < 7; ++i) {
      EXPECT_TRUE(tolerance::sameBits(x[i], i < size ? decayed<TypeParam>() : 1.0)) << size << " " << i;
    }
  }
}

template <class Solver>
void expectSameFields(const Solver& a, const Solver& b) {
  EXPECT_EQ(a.f, b.f);
  EXPECT_EQ(a.n, b.n);
  const auto vectors = [](const Solver& solver) { return reinterpret_cast<const char*>(&solver) + 3 * word; };
  EXPECT_EQ(std::memcmp(vectors(a), vectors(b), sizeof(Solver) - static_cast<std::size_t>(3 * word)), 0);
}

// Copies hold the same work vectors. The last one releases them, in any order of destruction.
TYPED_TEST(EachSolver, CopiesShareTheWork) {
  Decay decay, other;
  const double expected = decayed<TypeParam>();
  std::optional<TypeParam> first(std::in_place, &decay, 5);
  TypeParam second(*first);
  expectSameFields(*first, second);
  TypeParam third(&other, 50);
  third = second;
  expectSameFields(third, second);
  TypeParam& self = third;
  third = self;
  third = second;
  expectSameFields(third, second);
  first.reset();
  Vector x(8);
  x = 1.0;
  second.step(&x, 0.0, 0.1);
  EXPECT_EQ(x[7], expected);
  second = TypeParam(&other, 3);
  EXPECT_EQ(second.f, &other);
  x = 1.0;
  third.step(&x, 0.0, 0.1);
  EXPECT_EQ(x[7], expected);
}

TEST(OdeSolver, CopiesTheFields) {
  Decay decay, other;
  OdeSolver one(&decay, 3), two(&other, 4);
  const OdeSolver copy(one);
  EXPECT_EQ(copy.f, &decay);
  EXPECT_EQ(copy.n, 3);
  one = two;
  EXPECT_EQ(one.f, &other);
  EXPECT_EQ(one.n, 4);
}

}  // namespace
