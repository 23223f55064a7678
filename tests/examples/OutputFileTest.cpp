// Files that appear only when they are complete.

#include "output_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>

#include "input_error.h"
#include "tests/support/TemporaryFile.h"

namespace {

class Output : public ::testing::Test {
 protected:
  void write(const std::string& path, const char* text) {
    OutputFile out(path);
    std::fputs(text, out.stream());
    out.finish();
  }
  std::size_t files() const {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory.path())) count += entry.exists();
    return count;
  }

  TemporaryDirectory directory;
};

TEST_F(Output, AppearsWhenItIsFinished) {
  const std::string path = directory / "out";
  {
    OutputFile out(path);
    std::fputs("new", out.stream());
    EXPECT_FALSE(std::filesystem::exists(path));
    out.finish();
    EXPECT_EQ(readFile(path), "new");
  }
  EXPECT_EQ(readFile(path), "new");
  EXPECT_EQ(files(), 1u);
}

TEST_F(Output, LeavesTheEarlierFileWhenItIsNotFinished) {
  const std::string path = directory.write("out", "earlier");
  {
    OutputFile out(path);
    std::fputs("new", out.stream());
  }
  EXPECT_EQ(readFile(path), "earlier");
  EXPECT_EQ(files(), 1u);
}

TEST_F(Output, KeepsLinksAndPermissions) {
  const std::string path = directory.write("out", "earlier"), link = directory / "link";
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  ASSERT_EQ(symlink("out", link.c_str()), 0);
  write(link, "new");
  EXPECT_EQ(readFile(path), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  struct stat status;
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0640u);
}

TEST_F(Output, ADeviceIsWrittenToAndStays) {
  write("/dev/null", "nothing");
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
  if (access("/dev/full", W_OK) != 0) return;
  EXPECT_THROW(write("/dev/full", "text"), InputError);
}

TEST_F(Output, SaysWhereItCannotWrite) {
  EXPECT_THROW(OutputFile((directory / "no/such/folder").c_str()), InputError);
  EXPECT_THROW(OutputFile(directory.path()), InputError);
}

TEST_F(Output, ASignalThatEndsTheProgramLeavesNothingBehind) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const std::string path = directory / "out";
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      std::signal(signal, SIG_DFL);
      OutputFile out(path), other(directory / "other");
      std::fputs("half", out.stream());
      std::fflush(out.stream());
      std::raise(signal);
      _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal);
    EXPECT_EQ(files(), 0u);
  }
}

TEST_F(Output, ASignalThatIsIgnoredStaysIgnored) {
  const std::string path = directory / "out";
  const auto earlier = std::signal(SIGINT, SIG_IGN);
  {
    OutputFile out(path);
    std::raise(SIGINT);
    out.finish();
  }
  EXPECT_EQ(files(), 1u);
  std::signal(SIGINT, earlier);
}

TEST_F(Output, TwoNamesOfOneFileAreTheSame) {
  const std::string path = directory.write("a", ""), other = directory.write("b", "");
  ASSERT_EQ(symlink("a", (directory / "link").c_str()), 0);
  ASSERT_EQ(link(path.c_str(), (directory / "hard").c_str()), 0);
  EXPECT_TRUE(sameFile(path, directory / "link"));
  EXPECT_TRUE(sameFile(path, directory / "hard"));
  EXPECT_TRUE(sameFile(path, directory.path() + "/./a"));
  EXPECT_TRUE(sameFile(directory / "new", directory.path() + "/./new"));
  EXPECT_FALSE(sameFile(path, other));
  EXPECT_FALSE(sameFile(path, directory / "new"));
}

}  // namespace
