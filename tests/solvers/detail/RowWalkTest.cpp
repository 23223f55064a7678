#include "tests/solvers/detail/RowWalkCases.h"

TEST(RowWalk, SumsInTheOrderOfTheEntries) { row_walk::expectPlainBits(); }
