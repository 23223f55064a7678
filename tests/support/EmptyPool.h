#pragma once

#include "limber/foundation/ConsCell.h"

/// The number of cells in the pool.
inline int poolSize() {
  int n = 0;
  for (const ConsCell* cell = consPool; cell; cell = cell->next) ++n;
  return n;
}

/// Empties the pool and sets the initial batch size. The destructor appends the previous cells to those that
/// the pool then has.
class EmptyPool {
 public:
  EmptyPool() : cells_(consPool) {
    consPool = nullptr;
    conspool_batchsize = 100;
  }
  ~EmptyPool() {
    ConsCell** end = &consPool;
    while (*end) end = &(*end)->next;
    *end = cells_;
    conspool_batchsize = 100;
  }
  EmptyPool(const EmptyPool&) = delete;
  EmptyPool& operator=(const EmptyPool&) = delete;

 private:
  ConsCell* cells_;
};
