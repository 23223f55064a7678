#pragma once

/// @file
/// The copy of a matrix that a long solve multiplies by.

class HSpMat;

namespace limber::detail {

class SlicedRows;

/// The storage for one copy of a row-sparse matrix. It is kept between solves, unless the copy has more than
/// 2^24 entries, and lent to one solve at a time, which presents its ticket for each product. If another
/// solve has replaced the copy, or if another thread is multiplying, the solve uses the rows of its matrix
/// instead. A solve that is left by a longjmp needs no clean-up: the next solve replaces its copy.
class LentCopy {
 public:
  /// Makes room for a copy of A, which has so many entries, unless the storage already holds a copy or will
  /// not be kept. False if A has no rows, or if there is no memory.
  static bool reserve(const HSpMat& A, long long entries);
  /// Copies A and returns the ticket, or 0 if there is no copy.
  static unsigned long long make(const HSpMat& A);
  static void giveBack(unsigned long long ticket);

  /// While this object exists, the copy with this ticket is lent. Ticket 0 has no copy.
  explicit LentCopy(unsigned long long ticket);
  ~LentCopy();
  LentCopy(const LentCopy&) = delete;
  LentCopy& operator=(const LentCopy&) = delete;

  /// True if there is a copy and the number of A's rows has not changed.
  bool fits(const HSpMat& A) const;
  const SlicedRows& rows() const { return *rows_; }

 private:
  const SlicedRows* rows_ = nullptr;
};

}  // namespace limber::detail
