#pragma once

#include "limber/foundation/ConsCell.h"

/// Number of cells in the pool.
inline int poolSize() {
  int n = 0;
  for (const ConsCell* cell = consPool; cell; cell = cell->next) ++n;
  return n;
}

/// The pool is empty and the batch size as at load when this begins; at the end the cells that were there are
/// put behind those there are by then.
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
