#include "progress.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace {

volatile std::sig_atomic_t asked = 0;

extern "C" void ask(int) {
  asked = 1;
  std::signal(SIGINT, SIG_DFL);
}

}  // namespace

// If the program was started so that it ignores Ctrl-C, for example with nohup, it continues to ignore it.
Progress::Progress() : terminal_(isatty(STDERR_FILENO) != 0), earlier_(std::signal(SIGINT, SIG_IGN)) {
  asked = 0;
  if (earlier_ != SIG_IGN) std::signal(SIGINT, ask);
}

Progress::~Progress() {
  if (earlier_ != SIG_ERR) std::signal(SIGINT, earlier_);
  if (shown_) std::fputs("\r\033[K", stderr);
}

bool Progress::goesOn(const limber::motion::EditStep& step) {
  stopped_ = stopped_ || asked != 0;
  if (terminal_) {
    shown_ = true;
    std::fprintf(stderr, "\rstep %d: largest miss %.2g heights; Ctrl-C ends with the best so far\033[K",
                 step.number, step.after);
    std::fflush(stderr);
  }
  return !stopped_;
}
