#include "tests/support/Program.h"

#include <gtest/gtest.h>

namespace {

TEST(Program, GivesStatusAndBothOutputs) {
  const ProgramRun run = runProgram("/bin/sh", {"-c", "echo here; echo there >&2; exit 3"});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.out, "here\n");
  EXPECT_EQ(run.err, "there\n");
}

TEST(Program, RunsInTheDirectoryAndTellsSignals) {
  EXPECT_EQ(runProgram("/bin/sh", {"-c", "pwd"}, "/").out, "/\n");
  EXPECT_EQ(runProgram("/bin/sh", {"-c", "kill -TERM $$"}).status, 128 + 15);
  EXPECT_EQ(runProgram("/no/such/program", {}).status, 127);
  EXPECT_EQ(runProgram("/bin/sh", {"-c", "exit 0"}, "/no/such/directory").status, 127);
}

}  // namespace
