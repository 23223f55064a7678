#include "tests/support/OwnProcess.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "tests/support/Program.h"

bool inOwnProcess() {
  static int calls = 0;
  const testing::UnitTest& tests = *testing::UnitTest::GetInstance();
  if (++calls == 1 && tests.test_to_run_count() == 1) return true;
  const testing::TestInfo& test = *tests.current_test_info();
  const std::string name = std::string(test.test_suite_name()) + "." + test.name();
  // the name of the program: under memcheck and emulators, the link itself would start them
  std::error_code unknown;
  const std::string program = std::filesystem::read_symlink("/proc/self/exe", unknown).string();
  if (unknown) return true;
  const ProgramRun run =
      runProgram(program, {"--gtest_filter=" + name, "--gtest_repeat=1", "--gtest_brief=1"});
  if (run.status == 127) return true;
  EXPECT_EQ(run.status, 0) << run.out << run.err;
  return false;
}
