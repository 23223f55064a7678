#include "limber/linalg/detail/DenseStorage.h"

#include <cstring>
#include <limits>
#include <new>
#include <typeinfo>

#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/detail/ClassOf.h"

namespace limber::detail {
namespace {

// Null if m is no ResizeMatrix, or if its class was compiled without type information.
const ResizeMatrix* asResizeMatrix(const FullMatrix& m) {
  return classOf(&m) ? dynamic_cast<const ResizeMatrix*>(&m) : nullptr;
}

// The storage that is kept alive, listed in blocks so that a long list costs few allocations.
struct KeptBlock {
  static constexpr int size = 62;
  KeptBlock* next;
  int used;
  double* data[size];
};

KeptBlock firstKept;  // the first ones need no memory
KeptBlock* kept = &firstKept;

}  // namespace

double* newDense(std::int64_t n, bool cleared) {
  if (n < 1) return nullptr;
  constexpr std::int64_t limit = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(double) - 1;
  double* const data = n < limit ? new (std::nothrow) double[static_cast<std::size_t>(n) + 1] : nullptr;
  if (!data) {
    ReportSite{"Vectors", __LINE__}.fatal(newFails);
    return nullptr;
  }
  if (cleared) std::memset(data, 0, (static_cast<std::size_t>(n) + 1) * sizeof(double));
  return data;
}

std::int64_t denseCount(const FullMatrix& m) {
  return m.data ? static_cast<std::int64_t>(m.numRows) * m.numColumns : 0;
}

std::int64_t denseRoom(const FullMatrix& m) {
  const std::int64_t count = denseCount(m);
  const ResizeMatrix* const sized = asResizeMatrix(m);
  return sized && m.data && sized->allocated > count ? sized->allocated : count;
}

bool runsOnStorage(const FullMatrix& m) {
  if (m.kind == 1 || !m.data) return false;
  const std::type_info* const type = classOf(&m);
  return type && (*type == typeid(FullMatrix) || *type == typeid(ResizeMatrix));
}

void setDenseStorage(FullMatrix& m, double* data, std::int64_t n) {
  m.data = data;
  // the field is an int; a matrix too large for it counts as full
  constexpr std::int64_t largest = std::numeric_limits<int>::max();
  if (auto* const sized = const_cast<ResizeMatrix*>(asResizeMatrix(m))) {
    sized->allocated = data ? static_cast<int>(n < largest ? n : largest) : 0;
  }
}

void makeEmpty(FullMatrix& m) {
  m.kind = 1;
  m.numRows = m.numColumns = 0;
  setDenseStorage(m, nullptr, 0);
}

void keepAlive(double* data) {
  if (!data) return;
  if (kept->used == KeptBlock::size) {
    KeptBlock* const block = new (std::nothrow) KeptBlock;
    if (!block) return;  // the storage is still not released, but a leak checker reports it
    block->next = kept;
    block->used = 0;
    kept = block;
  }
  kept->data[kept->used++] = data;
}

}  // namespace limber::detail
