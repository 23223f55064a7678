#include "limber/foundation/detail/Sharing.h"

#include <cstddef>
#include <cstdint>
#include <new>

#include "limber/foundation/Report.h"
#include "limber/foundation/detail/ReportSite.h"

namespace limber::detail {

namespace {

struct Entry {
  const void* pointer;  // null: free slot
  int others;           // holders beyond the first, at least 1 in a used slot
};

// An open-addressing table with linear probing, at most half full. The capacity is a power of two. It has no
// destructor, so that objects destroyed after the statics of this library can still use it.
Entry* table = nullptr;
std::size_t capacity = 0;
std::size_t used = 0;

std::size_t home(const void* p, std::size_t size) {
  const std::uint64_t mixed = reinterpret_cast<std::uintptr_t>(p) * UINT64_C(0x9E3779B97F4A7C15);
  return static_cast<std::size_t>(mixed >> 32) & (size - 1);
}

// The slot of `p`, or the free slot where it would go.
Entry& slot(Entry* entries, std::size_t size, const void* p) {
  std::size_t i = home(p, size);
  while (entries[i].pointer && entries[i].pointer != p) i = (i + 1) & (size - 1);
  return entries[i];
}

Entry* find(const void* p) {
  if (!p || capacity == 0) return nullptr;
  Entry& entry = slot(table, capacity, p);
  return entry.pointer ? &entry : nullptr;
}

bool makeRoom() {
  if (2 * (used + 1) <= capacity) return true;
  const std::size_t larger = capacity ? 2 * capacity : 16;
  Entry* const moved = new (std::nothrow) Entry[larger]();
  if (!moved) return false;
  for (std::size_t i = 0; i < capacity; ++i) {
    if (table[i].pointer) slot(moved, larger, table[i].pointer) = table[i];
  }
  delete[] table;
  table = moved;
  capacity = larger;
  return true;
}

// Frees a slot and moves up those entries after it that a later search would no longer reach.
void erase(Entry* entry) {
  const std::size_t mask = capacity - 1;
  std::size_t hole = static_cast<std::size_t>(entry - table);
  for (std::size_t i = (hole + 1) & mask; table[i].pointer; i = (i + 1) & mask) {
    const std::size_t wanted = home(table[i].pointer, capacity);
    if (((i - wanted) & mask) >= ((i - hole) & mask)) {
      table[hole] = table[i];
      hole = i;
    }
  }
  table[hole] = Entry();
  --used;
}

}  // namespace

bool share(const void* p) {
  if (!p) return true;
  if (Entry* const entry = find(p)) {
    ++entry->others;
    return true;
  }
  if (!makeRoom()) {
    FATAL_ERROR(newFails);
    return false;
  }
  slot(table, capacity, p) = {p, 1};
  ++used;
  return true;
}

bool unshare(const void* p) {
  Entry* const entry = find(p);
  if (!entry) return true;
  if (--entry->others == 0) erase(entry);
  return false;
}

int holders(const void* p) {
  const Entry* const entry = find(p);
  return entry ? entry->others + 1 : 1;
}

}  // namespace limber::detail
