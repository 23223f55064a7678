// The factorizations end with a report if there is no memory for the BLAS.

#include <gtest/gtest.h>

#if defined(__linux__)
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "limber/foundation/Output.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/STMLapack.h"
#include "limber/linalg/Vector.h"

// Only OpenBLAS has this function, and only OpenBLAS allocates its own memory.
extern "C" char* openblas_get_config() __attribute__((weak));

namespace {

int failedAllocations = 0;

int countReports(const char* text) {
  if (std::strstr(text, "memory problem")) ++failedAllocations;
  return 0;
}

// The address space in use.
rlim_t used() {
  long kilobytes = 0;
  char line[256];
  std::FILE* const status = std::fopen("/proc/self/status", "r");
  while (status && std::fgets(line, sizeof line, status)) {
    if (std::sscanf(line, "VmSize: %ld", &kilobytes) == 1) break;
  }
  if (status) std::fclose(status);
  return static_cast<rlim_t>(kilobytes) * 1024;
}

// True if this process has only 16 MB left from now on.
bool tighten() {
  const rlim_t limit = used() + (16u << 20);
  const rlimit tight{limit, limit};
  return setrlimit(RLIMIT_AS, &tight) == 0;
}

// Calls everything that needs the BLAS with 16 MB left, in a separate process that has not used it before.
// The exit status is the number of calls that did not report missing memory.
[[noreturn]] void factorWithoutMemory() {
  stderrF = countReports;
  FullMatrix A(2, 2), B(2, 2), C(2, 2), D(2, 2);
  A.e(0, 0) = A.e(1, 1) = B.e(0, 0) = B.e(1, 1) = 1.0;
  C.e(0, 0) = 7.0;
  Vector b(2), tau(2);
  long pivots[2] = {1, 2};
  if (!tighten()) std::exit(100);
  int wrong = 0;
  wrong += luFactor(&A, pivots) != -5;
  wrong += luSolve(&A, pivots, &b) != -6;
  wrong += qrFactor(&A, &tau) != -6;
  wrong += cholFactorBanded(&A) != -6;
  wrong += cholSolveBanded(&A, &b) != -8;
  wrong += qObtain(&A, &tau) != -7;
  wrong += qtransTimes(&A, &tau, &b) != -11;
  wrong += cholCondEst(&A) != 0.0;
  wrong += svdDecomp(&A, &B, &C, &D) != -12;
  solveUTri(&A, &b);
  solveUTri(&A, &B, 0);
  matrixMultiply(&A, &B, &C);
  wrong += C.e(0, 0) != 7.0;
  wrong += failedAllocations != 13;
  std::exit(wrong);
}

// Factors with enough memory, and again with 16 MB left, in a separate process.
[[noreturn]] void factorBeforeAndAfter() {
  FullMatrix A(2, 2);
  A.e(0, 0) = A.e(1, 1) = 1.0;
  long pivots[2] = {1, 2};
  if (luFactor(&A, pivots) != 0 || !tighten()) std::exit(100);
  std::exit(luFactor(&A, pivots) == 0 ? 0 : 1);
}

TEST(BlasMemory, WhatTheFirstCallHasTakenServesTheLaterOnes) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer needs the address space";
#endif
  if (!openblas_get_config) GTEST_SKIP() << "not OpenBLAS";
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(factorBeforeAndAfter(), ::testing::ExitedWithCode(0), "");
}

TEST(BlasMemory, CallsEndWithAReportWhenThereIsNone) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer needs the address space";
#endif
  if (!openblas_get_config) GTEST_SKIP() << "not OpenBLAS";
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(factorWithoutMemory(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
#endif
