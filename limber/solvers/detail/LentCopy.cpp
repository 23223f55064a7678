#include "limber/solvers/detail/LentCopy.h"

#include <atomic>

#include "limber/foundation/detail/CreatedOnFirstUse.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/detail/SlicedRows.h"

namespace limber::detail {
namespace {

using Ticket = unsigned long long;

struct Storage {
  // Set while a solve uses the rows.
  std::atomic_flag busy = ATOMIC_FLAG_INIT;
  // The ticket of the copy that the rows hold; 0 if that solve has ended.
  std::atomic<Ticket> holder{0};
  Ticket last = 0;
  SlicedRows rows;

  bool take() { return !busy.test_and_set(std::memory_order_acquire); }
  void release() { busy.clear(std::memory_order_release); }
};

// The storage of a larger copy is made when it is needed and released after the solve.
constexpr long long mostKept = 1 << 24;

Storage& storage() { return createdOnFirstUse<Storage>(); }

}  // namespace

bool LentCopy::reserve(const HSpMat& A, long long entries) {
  if (entries > mostKept) return true;
  Storage& s = storage();
  if (!s.take()) return true;
  const bool room = s.holder.load() != 0 || s.rows.reserve(A.rows, A.numRows);
  s.release();
  return room;
}

unsigned long long LentCopy::make(const HSpMat& A) {
  Storage& s = storage();
  if (!s.take()) return 0;
  const Ticket ticket = s.rows.copy(A.rows, A.numRows, A.width()) ? ++s.last : 0;
  s.holder.store(ticket);
  s.release();
  return ticket;
}

void LentCopy::giveBack(unsigned long long ticket) {
  Storage& s = storage();
  if (s.take()) {
    if (s.holder.load() == ticket && s.rows.entries() > mostKept) s.rows = SlicedRows();
    s.release();
  }
  s.holder.compare_exchange_strong(ticket, 0);
}

LentCopy::LentCopy(unsigned long long ticket) {
  if (ticket == 0 || !storage().take()) return;
  if (storage().holder.load() == ticket) {
    rows_ = &storage().rows;
  } else {
    storage().release();
  }
}

LentCopy::~LentCopy() {
  if (rows_) storage().release();
}

bool LentCopy::fits(const HSpMat& A) const { return rows_ && rows_->height() == A.numRows; }

}  // namespace limber::detail
