#include "watch.h"

#include <cmath>
#include <csignal>
#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace {

volatile std::sig_atomic_t interrupted = 0;

extern "C" void interrupt(int) {
  interrupted = 1;
  std::signal(SIGINT, SIG_DFL);
}

bool onTerminal() {
#if defined(_WIN32)
  return _isatty(2) != 0;
#else
  return isatty(STDERR_FILENO) != 0;
#endif
}

}  // namespace

Watch::Watch() : terminal_(onTerminal()), next_(Clock::now() + std::chrono::milliseconds(500)) {
  interrupted = 0;
  earlier_ = std::signal(SIGINT, interrupt);
  // If the program was started so that it ignores Ctrl-C, for example with nohup, it continues to ignore it.
  if (earlier_ == SIG_IGN) std::signal(SIGINT, SIG_IGN);
}

Watch::~Watch() {
  if (earlier_ != SIG_ERR) std::signal(SIGINT, earlier_);
  if (shown_) std::fputs("\r\033[K", stderr);
}

int Watch::observe(int iteration, double rsq, void* watch) {
  Watch& self = *static_cast<Watch*>(watch);
  if (self.terminal_) self.show(iteration, rsq);
  if (interrupted) self.stopped_ = true;
  return self.stopped_;
}

void Watch::show(int iteration, double rsq) {
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + std::chrono::milliseconds(100);
  std::fprintf(stderr, "\riteration %d, residual %.3g; Ctrl-C ends with the best so far\033[K", iteration,
               std::sqrt(rsq));
  std::fflush(stderr);
  shown_ = true;
}
