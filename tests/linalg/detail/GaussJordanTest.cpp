#include "limber/linalg/detail/GaussJordan.h"

#include <gtest/gtest.h>

#include "tests/linalg/RandomMatrices.h"

using namespace limber::detail;
using namespace random_matrices;

TEST(GaussJordanKernel, FixedSizeHasTheBitsOfTheVariableOne) {
  struct Silent : GaussJordanWatcher {
  } watcher;
  for (int seed = 0; seed < 200; ++seed) {
    FullMatrix a = trial(4, seed);
    FullMatrix fixed(a);
    FixedGaussJordanScratch<4> scratch;
    gaussJordan(a.data, 4, 4, scratch, watcher);
    gaussJordanFixed<4>(fixed.data, 4, watcher);
    EXPECT_TRUE(sameOrNaN(a, fixed)) << seed;
  }
}
