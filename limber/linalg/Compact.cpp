#include "limber/linalg/Compact.h"

#include "limber/linalg/SpMat.h"
#include "limber/linalg/detail/CompactRows.h"

using namespace limber::detail;

HSpMat* naiveCompact(SpMat* m, double diagAdd, int, int reset) {
  return compactElements<const SpMat>(*m, diagAdd, reset);
}
