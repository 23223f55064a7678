#include "limber/foundation/ConsCell.h"

#include <new>

#include "limber/foundation/Report.h"
#include "limber/foundation/detail/ReportSite.h"

using namespace limber::detail;

ConsCell* consPool = nullptr;
int conspool_batchsize = 100;

void allocConsCells() {
  const int size = conspool_batchsize < 1 ? 1 : conspool_batchsize;
  ConsCell* const cells = new (std::nothrow) ConsCell[static_cast<unsigned>(size)];
  if (!cells) {
    FATAL_ERROR(newFails);
    return;
  }
  for (int i = 0; i + 1 < size; ++i) cells[i].next = &cells[i + 1];
  consPool = cells;
}
