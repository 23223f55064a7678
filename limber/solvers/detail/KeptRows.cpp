#include "limber/solvers/detail/KeptRows.h"

#include <atomic>
#include <new>
#include <utility>

namespace limber::detail {
namespace {

constexpr long long mostKept = 1 << 20;

// The storage that no solve is using; it is never released.
std::atomic<SlicedRows*> spare{nullptr};

}  // namespace

void KeptRows::copy(const int* starts, const int* indices, const double* values, int n, int width) {
  std::unique_ptr<SlicedRows> rows(spare.exchange(nullptr));
  if (!rows) rows = std::make_unique<SlicedRows>();
  if (!rows->copy(starts, indices, values, n, width)) throw std::bad_alloc();
  rows_ = std::move(rows);
}

KeptRows::~KeptRows() {
  if (rows_ && rows_->entries() <= mostKept) delete spare.exchange(rows_.release());
}

}  // namespace limber::detail
