// A program as a user could write it: it checks the exported variables at load, sets them, and checks that
// the library uses the new values.
#include <cstdio>
#include <cstring>
#include <string>

#include "limber/limber.h"
#include "tests/support/DecimalPoint.h"

namespace {

int failures = 0;

void check(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stdout, "failed: %s\n", what);
  ++failures;
}

std::string collected;

int collect(const char* text) {
  collected += text;
  return 12;
}

int poolSize() {
  int n = 0;
  for (const ConsCell* cell = consPool; cell; cell = cell->next) ++n;
  return n;
}

void atLoad() {
  check(stdoutF && stderrF && stdoutF != stderrF, "the channels have their two default functions");
  check(stmStdOut == nullptr, "no override stream");
  check(std::strcmp(numberPrintFormat, "%g ") == 0, "number format");
  check(errPtrZero == nullptr, "null pointer");
  check(consPool == nullptr && conspool_batchsize == 100, "an empty pool with batches of 100");
  check(ncompact_clock.clock == nullptr, "an empty compaction clock");
}

void pool() {
  int item = 0;
  List<int*> list;
  list.add(&item);
  check(poolSize() == 99, "the first cell comes from a batch of 100");
  for (int i = 0; i < 99; ++i) list.add(&item);
  check(poolSize() == 0, "the batch is used up");
  conspool_batchsize = 7;
  list.add(&item);
  check(poolSize() == 6, "the next batch has the size set by the program");
  list.uncons();
  check(poolSize() == 107, "all cells are back");
}

void override() {
  FILE* const file = std::tmpfile();
  stmStdOut = file;
  stdoutPrintf("out %d, ", 1);
  errReport("e", "f", 2);
  stmStdOut = nullptr;
  std::rewind(file);
  char text[100] = "";
  check(std::fgets(text, sizeof text, file) && std::strcmp(text, "out 1, ERR: e @ (f:2)\n") == 0,
        "both channels write to the program's stream");
  std::fclose(file);
}

void channels() {
  stdoutF = collect;
  check(stdoutPrintf("%s", "one ") == 12, "the result of the program's function");
  {
    const DecimalPoint point;
    Clock("c").print();
  }
  check(collected == "one Clock <c> 0 ticks / 0 times = 0.000 sec per (0.000 - 0.000)\n",
        "the standard channel");
  collected.clear();
  stderrF = collect;
  warnReport("w %s", "x", "f", 3);
  check(collected == "WARNING @ (f:3) :w x\n", "the error channel");
}

}  // namespace

int main() {
  atLoad();
  pool();
  override();
  channels();
  return failures != 0;
}
