#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"

/// One entry of a sparse matrix; rows and columns count from 0.
struct Entry {
  int row, column;
  double value;
};

/// A sparse matrix with the entries of its file. Every statement about a result is checked with these.
struct SparseProblem {
  std::string path;  ///< the file that was opened
  int rows = 0, columns = 0;
  std::vector<Entry> entries;      ///< by row, then by column, each place once; mirrored if the file says so
  std::vector<std::string> notes;  ///< what the user should know about the file
};

/// Sorts the entries by row and column. Entries at the same place are added up in the order in which they
/// came. Returns how many were added to another one. Takes n log n steps.
std::size_t sortAndAddUp(std::vector<Entry>* entries);

/// The rows of a problem as Limber's row-sparse matrix. A row without entries needs no memory.
class RowMatrix {
 public:
  /// All stores every entry. Contract stores them like SpVec::ins, which drops those within 1e-12.
  enum Rule { All, Contract };
  /// Throws std::bad_alloc if there is no memory.
  RowMatrix(const SparseProblem& problem, Rule rule);

  HSpMat& matrix() { return matrix_; }
  /// The number of non-zero entries that were dropped.
  std::size_t dropped() const { return dropped_; }

 private:
  SpVec& addRow(int i, std::size_t room);

  HSpMat matrix_;
  std::deque<SpVec> rows_;
  std::size_t dropped_ = 0;
};
