#include "tests/support/Program.h"

#if defined(_WIN32)

// Only tests for other systems run programs.
ProgramRun runProgram(const std::string&, const std::vector<std::string>&, const std::string&) {
  return {127, "", "cannot start programs on Windows"};
}

#else

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/TemporaryFile.h"

ProgramRun runProgram(const std::string& path, const std::vector<std::string>& arguments,
                      const std::string& directory) {
  const TemporaryDirectory said;
  const std::string out = said / "out", err = said / "err";
  std::vector<char*> words = {const_cast<char*>(path.c_str())};
  for (const std::string& word : arguments) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  const pid_t child = fork();
  if (child < 0) return {127, "", "fork failed"};
  if (child == 0) {
    const int outFd = open(out.c_str(), O_WRONLY | O_CREAT, 0600),
              errFd = open(err.c_str(), O_WRONLY | O_CREAT, 0600);
    if (outFd < 0 || errFd < 0 || dup2(outFd, 1) < 0 || dup2(errFd, 2) < 0) _exit(127);
    if (!directory.empty() && chdir(directory.c_str()) != 0) _exit(127);
    execv(path.c_str(), words.data());
    _exit(127);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) return {127, "", "waitpid failed"};
  return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status), readFile(out), readFile(err)};
}

#endif
