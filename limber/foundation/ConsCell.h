#pragma once

/// @file
/// List cells and the process-wide pool that they are taken from and returned to. Cells are never returned to
/// the heap. There are no locks: only one thread at a time may use lists.

#include "limber/Api.h"

/// One cell of a list.
class LIMBER_API ConsCell {
 public:
  void* item;
  ConsCell* next;

  LIMBER_INLINE ConsCell() : item(nullptr), next(nullptr) {}
  LIMBER_INLINE ConsCell(const ConsCell& other) : item(other.item), next(other.next) {}
  LIMBER_INLINE ConsCell& operator=(const ConsCell& other) {
    item = other.item;
    next = other.next;
    return *this;
  }
};

/// Head of the pool; its cells are linked through `next`. Null at load.
extern LIMBER_API ConsCell* consPool;
/// Cells allocated for each refill, initially 100; a value below 1 counts as 1.
extern LIMBER_API int conspool_batchsize;

/// Makes `consPool` point at conspool_batchsize new cells. Cells that are still in the pool are lost, so call
/// this only when the pool is empty. A failed allocation is reported through FATAL_ERROR and does not change
/// the pool.
LIMBER_API void allocConsCells();
