#include "limber/linalg/Vector.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <type_traits>
#include <vector>

#include "tests/linalg/Vectors.h"
#include "tests/support/CapturedOutput.h"

static_assert(std::is_standard_layout<Vector>::value && !std::is_polymorphic<Vector>::value, "a plain class");
static_assert(offsetof(Vector, count) == 0 && offsetof(Vector, capacity) == sizeof(int), "leading fields");
static_assert(offsetof(Vector, data) == 2 * sizeof(int), "the elements follow both counts");
static_assert(offsetof(Vector, localData) == 2 * sizeof(int) + sizeof(double*), "in-object storage");
static_assert(sizeof(Vector) == 2 * sizeof(int) + sizeof(double*) + 4 * sizeof(double), "nothing after them");
static_assert(std::is_same<decltype(std::declval<Vector&>() = 1.0), void>::value, "assignment gives nothing");

namespace {

// A number on the right of -= and /= would be converted to a vector of that many zeros, so it is refused.
template <class Right, class = void>
struct Subtracts : std::false_type {};
template <class Right>
struct Subtracts<Right, std::void_t<decltype(std::declval<Vector&>() -= std::declval<Right>())>>
    : std::true_type {};
template <class Right, class = void>
struct Divides : std::false_type {};
template <class Right>
struct Divides<Right, std::void_t<decltype(std::declval<Vector&>() /= std::declval<Right>())>>
    : std::true_type {};
static_assert(Subtracts<const Vector&>::value && Divides<const Vector&>::value, "vectors are taken");
static_assert(!Subtracts<double>::value && !Subtracts<int>::value, "numbers are not");
static_assert(!Divides<double>::value && !Divides<int>::value, "numbers are not");

void expectZeros(const Vector& v, int n, int capacity) {
  EXPECT_EQ(v.size(), n);
  EXPECT_EQ(v.maxSize(), capacity);
  EXPECT_EQ(v.data == v.localData, capacity == 4);
  for (int i = 0; i < n; ++i) EXPECT_EQ(v[i], 0.0) << i;
}

}  // namespace

TEST(Vector, DefaultIsEmptyInTheObject) { expectZeros(Vector(), 0, 4); }

TEST(Vector, UpToFourElementsLiveInTheObject) {
  for (int n = 0; n <= 4; ++n) expectZeros(Vector(n), n, 4);
}

TEST(Vector, MoreElementsAllocateExactlyThatMany) {
  expectZeros(Vector(5), 5, 5);
  expectZeros(Vector(1000), 1000, 1000);
}

TEST(Vector, MaxSizeReserves) {
  expectZeros(Vector(2, 10), 2, 10);
  expectZeros(Vector(2, 3), 2, 4);
  expectZeros(Vector(0, 4), 0, 4);
  expectZeros(Vector(5, 5), 5, 5);
}

TEST(Vector, MaxSizeBelowTheSizeStillHoldsAllElements) {
  expectZeros(Vector(5, 0), 5, 5);
  expectZeros(Vector(9, 6), 9, 9);
}

TEST(Vector, SecondArgumentsMeanWhatTheySay) {
  expectZeros(Vector(5, nullptr), 5, 5);
  expectZeros(Vector(5, nullptr, 12), 5, 5);
  expectZeros(Vector(5, __FILE__, __LINE__), 5, 5);
  expectZeros(Vector(3, "somewhere"), 3, 4);
  expectZeros(Vector(3, static_cast<double*>(nullptr)), 3, 4);
  char text[] = "not const";
  expectZeros(Vector(3, text), 3, 4);
}

TEST(Vector, ElementsAreARange) {
  Vector v = vectorOf({1, 2, 3, 4, 5});
  v.grow(3);
  for (double& x : v) x *= 10.0;
  const Vector& same = v;
  std::vector<double> seen;
  for (const double x : same) seen.push_back(x);
  EXPECT_EQ(seen, (std::vector<double>{10, 20, 30}));
  v.grow(5);
  expectElements(v, {10, 20, 30, 4, 5});
  static_assert(std::is_same_v<decltype(same.begin()), const double*>);
  const Vector none;
  EXPECT_EQ(none.begin(), none.end());
}

TEST(Vector, NumbersOfEveryTypeAreTakenAsNumbers) {
  expectZeros(Vector(5, NULL), 5, 5);
  expectZeros(Vector(5, NULL, 12), 5, 5);
  expectZeros(Vector(2, std::size_t{10}), 2, 10);
  expectZeros(Vector(2, 10L), 2, 10);
  Vector v(2);
  v = 5u;
  expectElements(v, {5, 5});
  v = std::size_t{3};
  expectElements(v, {3, 3});
  v = -4L;
  expectElements(v, {-4, -4});
  v = 0.25f;
  expectElements(v, {0.25, 0.25});
  v = 0;
  expectElements(v, {0, 0});
  v += 5L;
  expectElements(v, {5, 5});
  v += 1u;
  expectElements(v, {6, 6});
  v += short{-2};
  expectElements(v, {4, 4});
  v += 0;
  v *= 2u;
  expectElements(v, {8, 8});
  const Vector* const none = nullptr;
  v = none;
  expectElements(v, {8, 8});
}

TEST(Vector, ConvertsFromAnIntAsASize) {
  const Vector v = 3;
  expectZeros(v, 3, 4);
}

TEST(Vector, NegativeSizesStayEmpty) {
  Vector v(-2);
  EXPECT_EQ(v.size(), -2);
  EXPECT_EQ(v.maxSize(), 4);
  v = 1.0;
  v *= 2.0;
  EXPECT_EQ(v.magSq(), 0.0);
  EXPECT_EQ(v.addElems(), 0.0);
  EXPECT_EQ(v[0], 0.0);
}

TEST(Vector, AdoptsAnArrayOfMoreThanFourAndReleasesIt) {
  double* array = new double[6]{1, 2, 3, 4, 5, 6};
  Vector v(6, array);
  EXPECT_EQ(v.data, array);
  EXPECT_EQ(v.size(), 6);
  EXPECT_EQ(v.maxSize(), 6);
  EXPECT_EQ(v[5], 6.0);
}

TEST(Vector, AdoptsAnArrayOfFourOrFewerWithoutOwningIt) {
  double array[4] = {1, 2, 3, 4};
  {
    Vector v(4, array);
    EXPECT_EQ(v.data, array);
    EXPECT_EQ(v.maxSize(), 4);
    v[2] = 30.0;
    v.push(5.0);
    EXPECT_NE(v.data, array);
    EXPECT_EQ(v.maxSize(), 16);
    expectElements(v, {1, 2, 30, 4, 5});
  }
  EXPECT_EQ(array[2], 30.0);
}

TEST(Vector, AnAdoptedShortArrayGrowsFromItsOwnCapacity) {
  double array[2] = {1, 2};
  Vector v(2, array);
  v.push(3.0);
  EXPECT_EQ(v.maxSize(), 12);
  expectElements(v, {1, 2, 3});
  Vector none(0, static_cast<double*>(nullptr));
  EXPECT_EQ(none.data, nullptr);
  none.push(7.0);
  EXPECT_EQ(none.maxSize(), 8);
  expectElements(none, {7});
}

TEST(Vector, CopiesAreDeep) {
  for (const int n : {0, 3, 4, 5, 40}) {
    Vector v(n, 100);
    for (int i = 0; i < n; ++i) v[i] = i + 0.5;
    Vector copy(v);
    EXPECT_EQ(copy.maxSize(), n > 4 ? n : 4);
    EXPECT_NE(copy.data, v.data);
    v = -1.0;
    ASSERT_EQ(copy.size(), n);
    for (int i = 0; i < n; ++i) EXPECT_EQ(copy[i], i + 0.5);
  }
}

TEST(Vector, CopyOfAnAdoptedArrayHasItsOwnStorage) {
  double array[3] = {1, 2, 3};
  const Vector v(3, array);
  const Vector copy = v;
  EXPECT_EQ(copy.data, copy.localData);
  array[1] = 9.0;
  expectElements(copy, {1, 2, 3});
}

TEST(Vector, AssignsANumberToAllElements) {
  Vector v(6);
  v = 2.5;
  expectElements(v, {2.5, 2.5, 2.5, 2.5, 2.5, 2.5});
  v = 0.0;
  expectElements(v, {0, 0, 0, 0, 0, 0});
  v = 7;
  expectElements(v, {7, 7, 7, 7, 7, 7});
  v = 0;
  expectElements(v, {0, 0, 0, 0, 0, 0});
  v = 1.5f;
  EXPECT_EQ(v[5], 1.5);
}

TEST(Vector, NumberAssignmentLeavesTheStorageBehindAlone) {
  Vector v = vectorOf({1, 2, 3, 4, 5, 6});
  v.grow(2);
  v = 9.0;
  v.grow(6);
  expectElements(v, {9, 9, 3, 4, 5, 6});
}

TEST(Vector, AssignmentTakesSizeAndElements) {
  const Vector src = vectorOf({1, 2, 3, 4, 5, 6});
  Vector v(2);
  v = src;
  expectElements(v, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(v.maxSize(), 16);
  Vector w(9);
  w = &src;
  expectElements(w, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(w.maxSize(), 9);
}

TEST(Vector, SelfAssignmentChangesNothing) {
  for (const int n : {3, 7}) {
    Vector v(n);
    for (int i = 0; i < n; ++i) v[i] = i;
    Vector& same = v;
    v = same;
    v = &v;
    ASSERT_EQ(v.size(), n);
    for (int i = 0; i < n; ++i) EXPECT_EQ(v[i], i);
  }
}

TEST(Vector, GrowWithinCapacityShowsTheOldValuesAgain) {
  Vector v = vectorOf({1, 2, 3, 4, 5});
  v.grow(2);
  EXPECT_EQ(v.size(), 2);
  v.grow(5);
  expectElements(v, {1, 2, 3, 4, 5});
  EXPECT_EQ(v.maxSize(), 5);
}

TEST(Vector, CapacityGrowsToTwiceAndEight) {
  Vector v;
  std::vector<int> capacities;
  for (int i = 0; i < 100; ++i) {
    v.push(i);
    if (capacities.empty() || capacities.back() != v.maxSize()) capacities.push_back(v.maxSize());
  }
  EXPECT_EQ(capacities, (std::vector<int>{4, 16, 40, 88, 184}));
  for (int i = 0; i < 100; ++i) EXPECT_EQ(v[i], i);
}

TEST(Vector, ALargerRequestIsMetExactly) {
  Vector v(3);
  v.grow(17);
  EXPECT_EQ(v.maxSize(), 17);
  v.grow(42);
  EXPECT_EQ(v.maxSize(), 42);
  v.grow(43);
  EXPECT_EQ(v.maxSize(), 92);
}

TEST(Vector, PushOntoFiveGivesEighteen) {
  Vector v(5);
  v = 1.0;
  v.push(2.0);
  EXPECT_EQ(v.size(), 6);
  ASSERT_EQ(v.maxSize(), 18);
  EXPECT_EQ(v[5], 2.0);
  for (int i = 6; i < 18; ++i) EXPECT_EQ(v.data[i], 0.0) << i;
}

TEST(Vector, ResizeKeepsTheSizeAndClearsTheRest) {
  Vector v = vectorOf({1, 2, 3, 4});
  v.grow(2);
  v.resize(10);
  EXPECT_EQ(v.size(), 2);
  ASSERT_EQ(v.maxSize(), 16);
  EXPECT_NE(v.data, v.localData);
  EXPECT_EQ(v[0], 1.0);
  EXPECT_EQ(v[1], 2.0);
  for (int i = 2; i < 16; ++i) EXPECT_EQ(v.data[i], 0.0) << i;
  const double* before = v.data;
  v.resize(16);
  v.resize(-1);
  EXPECT_EQ(v.data, before);
}

TEST(Vector, ElementAccessIsToTheSameElement) {
  Vector v(6);
  v.e(4) = 3.0;
  v[5] = 4.0;
  EXPECT_EQ(v[4], 3.0);
  EXPECT_EQ(v.e(5), 4.0);
  const Vector& same = v;
  same[0] = 1.0;  // a const vector gives access too
  EXPECT_EQ(v[0], 1.0);
}

// This tests the message about an object at address 0, so the sanitizer must not stop the test at the call.
#if defined(__SANITIZE_ADDRESS__)
#define LIMBER_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define LIMBER_SANITIZED 1
#endif
#endif
#ifndef LIMBER_SANITIZED
namespace {
struct Placed {
  void* at;
};
}  // namespace
void* operator new(std::size_t, const Placed& where);
void* operator new(std::size_t, const Placed& where) { return where.at; }

TEST(Vector, ConstructionAtNoAddressIsReportedAndTouchesNothing) {
  CapturedOutput output;
  void* nowhere = std::getenv("LIMBER_NO_SUCH_VARIABLE");
  ASSERT_EQ(nowhere, nullptr);
  new (Placed{nowhere}) Vector(5);
  new (Placed{nowhere}) Vector(2, 7);
  ASSERT_EQ(output.errCalls().size(), 2u);
  for (const std::string& report : output.errCalls()) {
    EXPECT_EQ(report.rfind("FATAL ERROR@(Vectors:", 0), 0u) << report;
    EXPECT_NE(report.find("):!this (vector)\n"), std::string::npos) << report;
  }
}
#endif
