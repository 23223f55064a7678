#include "failure.h"

#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

#include "limber/foundation/Output.h"
#include "memory.h"

namespace {

OutputFunction earlier = nullptr;
bool allocationFailed = false;

int takeReport(const char* text) {
  if (!std::strstr(text, "memory problem")) return earlier(text);
  allocationFailed = true;
  return 0;
}

}  // namespace

int reportException(const char* program) {
  try {
    throw;
  } catch (const OutOfMemory& problem) {
    std::fprintf(stderr, "%s\n", problem.what());
    return exitNoMemory;
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "%s: not enough memory\n", program);
    return exitNoMemory;
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "%s\n", problem.what());
    return 1;
  }
}

QuietAllocations::QuietAllocations() {
  earlier = stderrF;
  allocationFailed = false;
  stderrF = takeReport;
}

QuietAllocations::~QuietAllocations() { stderrF = earlier; }

bool QuietAllocations::failed() { return allocationFailed; }
