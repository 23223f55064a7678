#include "limber/foundation/ClockPtr.h"

#include <new>

#include "limber/foundation/Clock.h"
#include "limber/foundation/List.h"
#include "limber/foundation/Report.h"
#include "limber/foundation/detail/ReportSite.h"

using namespace limber::detail;

ClockPtr ncompact_clock;

void ClockPtr::init(const char* name) {
  if (clock) return;
  clock = new (std::nothrow) Clock(name);
  if (!clock) FATAL_ERROR(newFails);
}

void ClockPtr::init(const char* name, List<Clock*>& clocks) {
  init(name);
  if (clock) clocks.add(clock);
}

void ClockPtr::start() {
  if (clock) clock->start();
}

void ClockPtr::stop() {
  if (clock) clock->stop();
}

void ClockPtr::reset() {
  if (clock) clock->reset();
}

void ClockPtr::print() {
  if (clock) clock->print();
}
