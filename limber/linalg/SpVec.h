#pragma once

/// @file
/// The sparse row and its copy.

#include <cstddef>
#include <iterator>

#include "limber/Api.h"
#include "limber/linalg/IntVec.h"
#include "limber/linalg/Vector.h"

/// A sparse row: entries (index, value) in ascending index order. Insertions drop a value x with -1e-12 <= x
/// <= 1e-12. Storage never shrinks. Operations with a dense vector use its elements at the stored indices; an
/// entry whose index lies outside the dense vector's storage is skipped.
class LIMBER_API SpVec {
 public:
  /// How many entries fit before ins() grows the row.
  int maxEntries;
  int numEntries;
  /// After insertions, sums and drop(): one past the last stored index, or -1 for an empty row. After
  /// compact() and quantize(): the last index itself, or 0 if there is none. linComb of three rows or more
  /// counts its last index even if the sum there was too small to store. It sets 0 if all of these rows are
  /// the output itself.
  int width;
  /// The stored values. compact() and quantize() do not change its count; the next insertion sets it to
  /// numEntries again.
  Vector values;
  IntVec indices;

  /// An empty row with room for n entries.
  SpVec(int n = 4);
  /// Deep copies with room for at least the source's maxEntries, and for at least two entries more than it
  /// holds.
  SpVec(const SpVec* src);
  SpVec(const SpVec& src);
  ~SpVec();
  /// copy(src, *this).
  SpVec& operator=(const SpVec& src);
  /// Empties the row and makes room for n entries.
  void init(int n);

  /// The value stored at index i, 0.0 if there is none.
  double v(int i) const;
  /// The value of the k-th stored entry; k is not tested.
  LIMBER_INLINE double& e(int k) { return values.data[k]; }
  /// The first stored value.
  LIMBER_INLINE double* vs() const { return values.data; }

  /// One stored entry, by value.
  struct Entry {
    int index;
    double value;
  };
  /// The stored entries in order, as a range: for (auto [index, value] : row.entries()). It views the row,
  /// which must not change in the meantime.
  class Entries {
   public:
    class Iterator {
     public:
      using iterator_category = std::input_iterator_tag;
      using value_type = Entry;
      using difference_type = std::ptrdiff_t;
      using pointer = const Entry*;
      using reference = Entry;

      Iterator(const int* index, const double* value) : index_(index), value_(value) {}
      Entry operator*() const { return {*index_, *value_}; }
      Iterator& operator++() {
        ++index_;
        ++value_;
        return *this;
      }
      Iterator operator++(int) {
        const Iterator before = *this;
        ++*this;
        return before;
      }
      bool operator==(const Iterator& other) const { return index_ == other.index_; }
      bool operator!=(const Iterator& other) const { return index_ != other.index_; }

     private:
      const int* index_;
      const double* value_;
    };

    explicit Entries(const SpVec& row) : row_(row) {}
    Iterator begin() const { return {row_.indices.data, row_.values.data}; }
    Iterator end() const { return {row_.indices.data + size(), row_.values.data + size()}; }
    int size() const { return row_.numEntries; }

   private:
    const SpVec& row_;
  };
  Entries entries() const& { return Entries(*this); }
  /// Deleted for a temporary row, which would be destroyed before the loop begins.
  Entries entries() const&& = delete;

  /// Inserts x at index i, or adds it to the value stored there. Ascending indices stay ascending and unique,
  /// also after compact().
  void ins(double x, int i);
  /// Appends (i, x) without looking at the order of the indices. A tiny x is dropped, as by ins().
  void insEnd(double x, int i);
  /// Makes room for n entries and sets maxEntries to n.
  void grow(int n);
  /// Empties the row.
  void zero();
  /// value = s value; tiny results are kept.
  void scale(double s);
  /// value = floor(q value + 0.5) / q, then compact(0.5 / q).
  void quantize(double q);
  /// Removes the entries of magnitude below `threshold`; `width` becomes the last remaining index, one less
  /// than after an insertion. If the widest rows of a matrix are compacted, its width therefore excludes the
  /// last column. Use drop() unless you want exactly this.
  void compact(double threshold);
  /// Removes the entries of magnitude below `threshold`; `width` becomes one past the last remaining index,
  /// -1 if there is none.
  void drop(double threshold);

  /// The sum of the squared values in entry order.
  double magSq() const;
  /// The square root of magSq().
  double mag() const;
  /// The sum of w[index] value^2; magSq() when w is null.
  double weightedL2(const Vector* w) const;
  /// The sum of the values in entry order.
  double addElems() const;

  /// `v` is the first of an array of vectors, which must reach to the largest stored index: sets all elements
  /// of v[0] to 0.0 and then, entry by entry, all elements of the vector v[index] to the value. With a single
  /// vector only entries at index 0 may be stored.
  void scatter(Vector* v) const;
  /// Appends (i, v[i]) for each element that is not 0.0, in ascending order; the row is not emptied first. v
  /// is taken at the size that it has before the first append, so it may be the row's own `values`.
  void gather(Vector* v);
  /// v[index] = v[index] + s value.
  void scatterAdd(Vector* v, double s) const;

  /// Prints numEntries, maxEntries, width and the first four entries.
  void print() const;
  /// Writes "SpVec [numEntries of maxEntries] width [width]".
  void sprint(char* buf) const;
  /// Prints the positions 0 ... n - 1 as a dense row with numberPrintFormat.
  void portray(int n) const;
};

/// dst = src; dst has room for at least two entries more, and its room does not shrink.
LIMBER_API void copy(const SpVec& src, SpVec& dst);
