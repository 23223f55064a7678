// Many small solves and many opened files in one process must not increase its memory. With LIMBER_SOAK=100
// in the environment these are a million solves and a hundred thousand files.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "limber/io/Reader.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/NCGrad.h"
#include "limber/solvers/Solve.h"
#include "tests/support/TemporaryFile.h"

namespace {

// Kilobytes. A leak of 24 bytes in each of 50000 solves is more.
constexpr long allowedGrowth = 1000;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool memoryTells = false;  // the sanitizer keeps released memory
#else
constexpr bool memoryTells = true;
#endif

int times() {
  const char* const factor = std::getenv("LIMBER_SOAK");
  return factor ? std::atoi(factor) : 1;
}

// Kilobytes of memory in use; 0 if the system does not tell.
long memory() {
  long kilobytes = 0;
  char line[256];
  std::FILE* const status = std::fopen("/proc/self/status", "r");
  while (status && std::fgets(line, sizeof line, status)) {
    if (std::sscanf(line, "VmRSS: %ld", &kilobytes) == 1) break;
  }
  if (status) std::fclose(status);
  return kilobytes;
}

// The memory that `count` calls of `once` leave allocated, after enough calls that all storage kept for reuse
// has grown.
template <class Call>
long growth(int count, const Call& once) {
  for (int i = 0; i < 1000; ++i) once();
  const long before = memory();
  for (int i = 0; i < count; ++i) once();
  return memory() - before;
}

struct Chain {
  Chain() : A(3) {
    for (int i = 0; i < 3; ++i) {
      rows[i].ins(4.0, i);
      if (i > 0) rows[i].ins(-1.0, i - 1);
      if (i < 2) rows[i].ins(-1.0, i + 1);
      A.rows[i] = &rows[i];
      b[i] = i + 1.0;
    }
  }
  SpVec rows[3];
  HSpMat A;
  Vector b{3};
};

TEST(Soak, SolvesLeaveMemoryFlat) {
  Chain chain;
  const long grown = growth(10000 * times(), [&] {
    Vector x;
    ASSERT_EQ(solvePositiveDefinite(chain.A, chain.b, &x).status, SOLVE_CONVERGED);
    Vector least;
    ASSERT_EQ(solveLeastSquares(chain.A, chain.b, &least).status, SOLVE_CONVERGED);
    Vector square;
    ASSERT_EQ(solveSquare(chain.A, chain.b, &square).status, SOLVE_CONVERGED);
    Vector lambda;
    ASSERT_EQ(solveConstraints(chain.A, nullptr, nullptr, chain.b, &lambda).status, SOLVE_CONVERGED);
    Vector newer(3);
    double rsq;
    ASSERT_GE(ncgradA(&chain.A, &newer, &chain.b, &rsq), 0);
  });
  EXPECT_TRUE(!memoryTells || grown < allowedGrowth) << grown;
}

TEST(Soak, ReadersLeaveMemoryFlat) {
  const TemporaryDirectory directory;
  const std::string path = directory.writeGz("numbers.gz", "1 2 3\n");
  const long grown = growth(1000 * times(), [&] {
    Reader reader(path.c_str(), nullptr);
    int number = 0;
    ASSERT_EQ(reader.getInt(number, 1), 1);
    ASSERT_EQ(number, 1);
  });
  EXPECT_TRUE(!memoryTells || grown < allowedGrowth) << grown;
}

}  // namespace
