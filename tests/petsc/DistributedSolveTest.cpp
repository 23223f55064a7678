// Every process runs the same tests. The job fails if a test fails on any process.

#include "limber_petsc/DistributedSolve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "limber/foundation/Output.h"
#include "limber/solvers/Solve.h"
#include "tests/petsc/Problems.h"
#include "tests/support/MatrixMarket.h"
#include "tests/support/TemporaryFile.h"

namespace {

using limber::petsc::evenPart;
using limber::petsc::Part;

std::string reported;
int collectReports(const char* text) {
  reported += text;
  return 0;
}

// Collects the reports of this process.
class Reports {
 public:
  Reports() : before_(stderrF) {
    reported.clear();
    stderrF = collectReports;
  }
  ~Reports() { stderrF = before_; }

 private:
  OutputFunction before_;
};

// Accurate enough for eight digits of the solution with the conditions of the real matrices.
SolveOptions accurate() {
  SolveOptions options;
  options.relative = 1e-12;
  return options;
}

// |x - y| <= 1e-8 |y|, for vectors that are composed of parts; NaN fails.
::testing::AssertionResult agrees(const Vector& part, const Vector& whole) {
  constexpr double tolerance = 1e-8;
  Vector x;
  if (limber::petsc::gather(MPI_COMM_WORLD, part, &x) != 0 || x.count != whole.count)
    return ::testing::AssertionFailure() << "sizes " << x.count << " and " << whole.count;
  double error = 0.0;
  for (int i = 0; i < x.count; ++i) error = std::hypot(error, x[i] - whole[i]);
  if (!(error <= tolerance * whole.mag()))
    return ::testing::AssertionFailure() << "error " << error << " beside " << whole.mag();
  return ::testing::AssertionSuccess();
}

void expectLeastSquaresAsSerial(Spread& A, int columns) {
  const Vector b = random(A.whole().numRows, 5);
  Vector serial, x;
  const SolveReport one = solveLeastSquares(A.whole(), b, &serial, accurate());
  const SolveReport many =
      limber::petsc::solveLeastSquares(MPI_COMM_WORLD, A.rows(), partOf(b, A.part()), &x, accurate());
  EXPECT_EQ(one.status, SOLVE_CONVERGED);
  EXPECT_EQ(many.status, SOLVE_CONVERGED) << many.message << " " << many.relativeResidual;
  EXPECT_EQ(x.count, evenPart(MPI_COMM_WORLD, columns).count);
  EXPECT_GT(many.products, many.iterations);
  EXPECT_TRUE(agrees(x, serial));
}

void expectPositiveDefiniteAsSerial(Spread& A) {
  const Vector b = random(A.whole().numRows, 6);
  Vector serial, x;
  const SolveReport one = solvePositiveDefinite(A.whole(), b, &serial, accurate());
  const SolveReport many =
      limber::petsc::solvePositiveDefinite(MPI_COMM_WORLD, A.rows(), partOf(b, A.part()), &x, accurate());
  EXPECT_EQ(one.status, SOLVE_CONVERGED);
  EXPECT_EQ(many.status, SOLVE_CONVERGED) << many.message << " " << many.relativeResidual;
  EXPECT_TRUE(agrees(x, serial));
}

std::vector<std::unique_ptr<SpVec>> rowsOf(MatrixMarket& file) {
  std::vector<std::unique_ptr<SpVec>> rows;
  for (int i = 0; i < file.matrix().numRows; ++i)
    rows.push_back(std::make_unique<SpVec>(*file.matrix().rows[i]));
  return rows;
}

}  // namespace

TEST(DistributedLeastSquares, AgreesWithTheSerialSolve) {
  Spread A(randomRows(300, 80, 12, 1), 80);
  expectLeastSquaresAsSerial(A, 80);
}

TEST(DistributedLeastSquares, SolvesTheSurveyOf1033Equations) {
  LIMBER_NEEDS_DATA(path, "well1033.mtx.gz");
  MatrixMarket file(path);
  ASSERT_EQ(file.error, "");
  Spread A(rowsOf(file), 320);
  expectLeastSquaresAsSerial(A, 320);
}

TEST(DistributedPositiveDefinite, AgreesWithTheSerialSolve) {
  Spread A(laplacian(30), 900);
  expectPositiveDefiniteAsSerial(A);
}

TEST(DistributedPositiveDefinite, SolvesRealMatrices) {
  for (const char* name : {"gr_30_30.mtx", "nos3.mtx"}) {
    LIMBER_NEEDS_DATA(path, name);
    MatrixMarket file(path);
    ASSERT_EQ(file.error, "") << name;
    Spread A(rowsOf(file), file.matrix().width());
    SCOPED_TRACE(name);
    expectPositiveDefiniteAsSerial(A);
  }
}

TEST(DistributedPositiveDefinite, AnIndefiniteMatrixIsABreakdown) {
  auto rows = laplacian(6);
  for (int i = 0; i < 36; ++i) rows[static_cast<std::size_t>(i)]->ins(-4.0, i);  // the diagonal vanishes
  Spread A(std::move(rows), 36);
  Vector x;
  const SolveReport report =
      limber::petsc::solvePositiveDefinite(MPI_COMM_WORLD, A.rows(), partOf(random(36, 2), A.part()), &x);
  EXPECT_NE(report.status, SOLVE_CONVERGED);
}

TEST(DistributedConstraints, AgreesWithTheSerialSolveWithMassesAndDamping) {
  const int rows = 200, columns = 400;
  Spread J(randomRows(rows, columns, 9, 3), columns);
  const Vector c = random(rows, 7);
  Vector mass = random(columns, 8), damp = random(rows, 9);
  for (int i = 0; i < columns; ++i) mass[i] = 1.5 + mass[i];
  for (int i = 0; i < rows; ++i) damp[i] = 0.01 * (1.0 + damp[i]);
  const Vector ownMass = partOf(mass, evenPart(MPI_COMM_WORLD, columns)), ownDamp = partOf(damp, J.part());
  Vector serial, lambda;
  solveConstraints(J.whole(), &mass, &damp, c, &serial);
  const SolveReport many = limber::petsc::solveConstraints(MPI_COMM_WORLD, J.rows(), &ownMass, &ownDamp,
                                                           partOf(c, J.part()), &lambda);
  EXPECT_EQ(many.status, SOLVE_CONVERGED) << many.message << " " << many.relativeResidual;
  EXPECT_TRUE(agrees(lambda, serial));

  Vector plainSerial, plain;
  solveConstraints(J.whole(), nullptr, nullptr, c, &plainSerial);
  const SolveReport bare = limber::petsc::solveConstraints(MPI_COMM_WORLD, J.rows(), nullptr, nullptr,
                                                           partOf(c, J.part()), &plain);
  EXPECT_EQ(bare.status, SOLVE_CONVERGED) << bare.message;
  EXPECT_TRUE(agrees(plain, plainSerial));
}

TEST(DistributedConstraints, AMotionsConstraintsAgreeWithTheSerialSolve) {
  MotionSystem motion(24);
  const Vector c = motion.misses, mass = motion.mass, damp = motion.damp;
  Spread J(std::move(motion.rows), motion.columns);
  ASSERT_GT(c.mag(), 0.0);
  const Vector ownMass = partOf(mass, evenPart(MPI_COMM_WORLD, motion.columns)),
               ownDamp = partOf(damp, J.part());
  Vector serial, lambda;
  const SolveReport one = solveConstraints(J.whole(), &mass, &damp, c, &serial, accurate());
  const SolveReport many = limber::petsc::solveConstraints(MPI_COMM_WORLD, J.rows(), &ownMass, &ownDamp,
                                                           partOf(c, J.part()), &lambda, accurate());
  EXPECT_EQ(one.status, SOLVE_CONVERGED) << one.message << " " << one.relativeResidual;
  EXPECT_EQ(many.status, SOLVE_CONVERGED) << many.message << " " << many.relativeResidual;
  EXPECT_TRUE(agrees(lambda, serial));
}

TEST(DistributedSolve, ScaleDoesNotMatter) {
  for (const int exponent : {-600, -100, 100, 600}) {
    auto rows = laplacian(12);
    for (auto& row : rows)
      for (int k = 0; k < row->numEntries; ++k) row->values[k] = std::ldexp(row->values[k], exponent);
    Spread A(std::move(rows), 144);
    Spread plain(laplacian(12), 144);
    const Vector b = random(144, 4);
    Vector x, y;
    const SolveReport one =
        limber::petsc::solvePositiveDefinite(MPI_COMM_WORLD, plain.rows(), partOf(b, plain.part()), &x);
    const SolveReport two =
        limber::petsc::solvePositiveDefinite(MPI_COMM_WORLD, A.rows(), partOf(b, A.part()), &y);
    EXPECT_EQ(one.iterations, two.iterations) << exponent;
    for (int i = 0; i < x.count; ++i) EXPECT_EQ(std::ldexp(x[i], -exponent), y[i]) << exponent;
  }
}

TEST(DistributedSolve, MoreProcessesThanRowsAndEmptyParts) {
  Spread A(laplacian(1), 1);
  Vector x;
  const SolveReport report =
      limber::petsc::solvePositiveDefinite(MPI_COMM_WORLD, A.rows(), partOf(random(1, 1), A.part()), &x);
  EXPECT_EQ(report.status, SOLVE_CONVERGED);

  // All rows on the last process.
  int rank = 0, size = 1;
  MPI_Comm_rank(MPI_COMM_WORLD, &rank);
  MPI_Comm_size(MPI_COMM_WORLD, &size);
  Spread whole(laplacian(5), 25, MPI_COMM_SELF);
  const HSpMat nothing(0);
  const bool last = rank == size - 1;
  const limber::petsc::Rows rows = {last ? &whole.own() : &nothing, 0, 25};
  Vector y;
  const SolveReport lopsided =
      limber::petsc::solvePositiveDefinite(MPI_COMM_WORLD, rows, last ? random(25, 3) : Vector(), &y);
  EXPECT_EQ(lopsided.status, SOLVE_CONVERGED);
  EXPECT_EQ(y.count, last ? 25 : 0);
}

TEST(DistributedSolve, ZeroRightHandSideGivesZero) {
  Spread A(laplacian(4), 16);
  Vector x;
  const SolveReport report =
      limber::petsc::solvePositiveDefinite(MPI_COMM_WORLD, A.rows(), Vector(A.part().count), &x);
  EXPECT_EQ(report.status, SOLVE_CONVERGED);
  EXPECT_EQ(report.iterations, 0);
  for (int i = 0; i < x.count; ++i) EXPECT_EQ(x[i], 0.0);
}

// Checks that a solve is refused on all processes, and that `text` is reported on the processes where `here`
// is true.
template <class Solve>
void expectRefused(Solve solve, const char* text, bool here) {
  const Reports reports;
  Vector x;
  EXPECT_EQ(solve(&x).status, SOLVE_BAD_INPUT) << text;
  EXPECT_EQ(x.count, 0) << text;
  EXPECT_EQ(reported.find(text) != std::string::npos, here) << text << ": " << reported;
}

void expectRefused(const limber::petsc::Rows& rows, const Vector& b, const char* text, bool here) {
  expectRefused([&](Vector* x) { return limber::petsc::solveLeastSquares(MPI_COMM_WORLD, rows, b, x); }, text,
                here);
  expectRefused([&](Vector* x) { return limber::petsc::solvePositiveDefinite(MPI_COMM_WORLD, rows, b, x); },
                text, here);
  const auto constraints = [&](Vector* x) {
    return limber::petsc::solveConstraints(MPI_COMM_WORLD, rows, nullptr, nullptr, b, x);
  };
  expectRefused(constraints, text, here);
}

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

// A small system that each test spoils on one process, mostly the last one.
class DistributedRefusals : public testing::Test {
 protected:
  static int rankHere() {
    int rank = 0;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    return rank;
  }
  static int sizeHere() {
    int size = 1;
    MPI_Comm_size(MPI_COMM_WORLD, &size);
    return size;
  }

  const int rank = rankHere(), size = sizeHere();
  const bool last = rank == size - 1;
  Spread A{laplacian(6), 36};
  const Vector b = partOf(random(36, 1), A.part());
};

TEST_F(DistributedRefusals, PartsThatDoNotFitAreReportedWhereTheyAreAndRefusedEverywhere) {
  for (const int shift : {-1, 1}) {  // an overlap, a gap
    limber::petsc::Rows rows = A.rows();
    if (last) rows.first += shift;
    expectRefused(rows, b, "the rows begin at", last);
  }
  limber::petsc::Rows rows = A.rows();
  if (size > 1) {
    if (rank > 0) rows.columns += 1;
    expectRefused(rows, b, "the matrix is 36 wide here and 37 elsewhere", rank == 0);
  }
  rows = A.rows();
  rows.columns = -1;
  expectRefused(rows, b, "the matrix has a negative width", true);
  rows = A.rows();
  if (last) rows.rows = nullptr;
  expectRefused(rows, b, "there is no matrix", last);
}

TEST_F(DistributedRefusals, EntriesThatCannotBeAreReportedWhereTheyAreAndRefusedEverywhere) {
  SpVec& row = A.row(35);
  for (const int index : {-1, 36, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    const int before = row.indices[0];
    row.indices[0] = index;
    expectRefused(A.rows(), b, "a column index lies outside the matrix", last);
    row.indices[0] = before;
  }
  for (const double value : {notANumber, HUGE_VAL}) {
    const double before = row.values[1];
    row.values[1] = value;
    expectRefused(A.rows(), b, "an entry of the matrix is not finite", last);
    row.values[1] = before;
    Vector wrong = b;
    if (last) wrong[wrong.count - 1] = value;
    expectRefused(A.rows(), wrong, "of the right-hand side is not finite", last);
  }
  Vector shorter = b;
  if (last) shorter.grow(b.count - 1);
  expectRefused(A.rows(), shorter, "the right-hand side has", last);
}

TEST(DistributedConstraints, MassesAndDampingThatCannotBeAreReportedWhereTheyAre) {
  int rank = 0, size = 1;
  MPI_Comm_rank(MPI_COMM_WORLD, &rank);
  MPI_Comm_size(MPI_COMM_WORLD, &size);
  const bool last = rank == size - 1;
  Spread J(randomRows(40, 60, 4, 1), 60);
  const Vector c = partOf(random(40, 1), J.part());
  Vector mass(evenPart(MPI_COMM_WORLD, 60).count), damp(J.part().count);
  mass = 1.0;
  const auto refused = [&](const Vector* m, const Vector* d, const char* text, bool here) {
    const auto solve = [&](Vector* x) {
      return limber::petsc::solveConstraints(MPI_COMM_WORLD, J.rows(), m, d, c, x);
    };
    expectRefused(solve, text, here);
  };
  Vector wrong = mass;
  if (last) wrong[0] = 0.0;
  refused(&wrong, nullptr, "a mass is not positive", last);
  if (last) wrong[0] = notANumber;
  refused(&wrong, nullptr, "of the vector of masses is not finite", last);
  wrong = damp;
  if (last) wrong[0] = -1.0;
  refused(&mass, &wrong, "a damping is negative", last);
  if (last) wrong[0] = notANumber;
  refused(&mass, &wrong, "of the damping is not finite", last);
  if (size > 1) refused(last ? nullptr : &mass, &damp, "the vector of masses is missing here", last);
}

TEST_F(DistributedRefusals, AStartThatDoesNotFitIsReportedWhereItIsAndStays) {
  const Reports reports;
  Vector x(A.part().count);
  x = 1.0;
  if (last) x[0] = notANumber;
  EXPECT_EQ(limber::petsc::solvePositiveDefinite(MPI_COMM_WORLD, A.rows(), b, &x).status, SOLVE_BAD_INPUT);
  EXPECT_EQ(reported.find("of the start is not finite") != std::string::npos, last) << reported;
  for (int i = last; i < x.count; ++i) EXPECT_EQ(x[i], 1.0);
}

TEST(DistributedSolve, TheObserverSeesEveryIterationAndEndsTheSolve) {
  struct Seen {
    int calls = 0, end = 0;
  } seen;
  SolveOptions options;
  options.observerData = &seen;
  options.observer = [](int iteration, double rsq, void* data) {
    Seen& s = *static_cast<Seen*>(data);
    EXPECT_EQ(iteration, ++s.calls);
    EXPECT_TRUE(rsq >= 0.0);
    return static_cast<int>(iteration == s.end);
  };
  Spread A(laplacian(20), 400);
  const Vector b = partOf(random(400, 4), A.part());
  Vector x, y;
  const SolveReport whole = limber::petsc::solvePositiveDefinite(MPI_COMM_WORLD, A.rows(), b, &x, options);
  EXPECT_EQ(whole.status, SOLVE_CONVERGED);
  EXPECT_EQ(seen.calls, whole.iterations);
  seen = {0, 5};
  const SolveReport ended = limber::petsc::solvePositiveDefinite(MPI_COMM_WORLD, A.rows(), b, &y, options);
  EXPECT_EQ(ended.status, SOLVE_STOPPED);
  EXPECT_EQ(ended.iterations, 5);
}

TEST(Gather, PutsThePartsTogetherInOrder) {
  const Vector whole = random(17, 12);
  Vector all;
  ASSERT_EQ(limber::petsc::gather(MPI_COMM_WORLD, partOf(whole, evenPart(MPI_COMM_WORLD, 17)), &all), 0);
  ASSERT_EQ(all.count, 17);
  for (int i = 0; i < 17; ++i) EXPECT_EQ(all[i], whole[i]);
}

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  const limber::petsc::Session session(&argc, &argv);
  if (!session.ok()) return 1;
  return RUN_ALL_TESTS();
}
