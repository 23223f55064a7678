#pragma once

/// @file
/// The copy of a matrix that a long solve multiplies by.

class HSpMat;

namespace limber::detail {

class SlicedRows;

/// The storage for one copy of a row-sparse matrix. It is kept from solve to solve and lent to one solve at a
/// time, which shows its ticket for each product. A solve whose copy another solve has replaced, or that
/// comes while another thread multiplies, goes on with the rows. Nothing has to be tidied up after a solve
/// that was left by a jump: the next solve replaces its copy.
class LentCopy {
 public:
  /// Makes room for a copy of A, unless the storage holds one already. False when A has too many rows or
  /// entries for a copy, or when there is no memory.
  static bool reserve(const HSpMat& A);
  /// Copies A and returns the ticket; 0 when there is no copy.
  static unsigned long long make(const HSpMat& A);
  static void giveBack(unsigned long long ticket);

  /// While it lives, the copy with this ticket is lent. There is none for the ticket 0.
  explicit LentCopy(unsigned long long ticket);
  ~LentCopy();
  LentCopy(const LentCopy&) = delete;
  LentCopy& operator=(const LentCopy&) = delete;

  /// True when there is a copy, and A still has as many rows as it had.
  bool fits(const HSpMat& A) const;
  const SlicedRows& rows() const { return *rows_; }

 private:
  const SlicedRows* rows_ = nullptr;
};

}  // namespace limber::detail
