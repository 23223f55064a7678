#include "limber/foundation/List.h"

namespace {

// A cell from the pool. Null, after a report, if the pool is empty and cannot be refilled.
ConsCell* takeCell(void* item, ConsCell* next) {
  if (!consPool) allocConsCells();
  ConsCell* const taken = consPool;
  if (!taken) return nullptr;
  consPool = taken->next;
  taken->item = item;
  taken->next = next;
  return taken;
}

void giveBack(ConsCell* cell) {
  cell->next = consPool;
  consPool = cell;
}

// Inserts a cell at `place`, the pointer to the cell that will follow it.
void* insert(ConsCell** place, void* item) {
  if (ConsCell* const taken = takeCell(item, *place)) *place = taken;
  return item;
}

void unlink(ConsCell** place) {
  ConsCell* const gone = *place;
  *place = gone->next;
  giveBack(gone);
}

}  // namespace

int ListI::count() const {
  int n = 0;
  for (const ConsCell* c = cell; c; c = c->next) ++n;
  return n;
}

void ListI::del() {
  if (cell) unlink(&cell);
}

void ListI::uncons() {
  while (cell) unlink(&cell);
}

void* ListI::addI(void* item) { return insert(&cell, item); }

void* ListI::addAfterI(void* item) { return cell ? insert(&cell->next, item) : item; }

void* ListI::addEndI(void* item) {
  ConsCell** place = &cell;
  while (*place) place = &(*place)->next;
  return insert(place, item);
}

void* ListI::eltI(int n) const {
  if (n < 0) return nullptr;
  const ConsCell* c = cell;
  while (c && n-- > 0) c = c->next;
  return c ? c->item : nullptr;
}

int ListI::itemNI(void* item) const {
  int n = 0;
  for (const ConsCell* c = cell; c; c = c->next, ++n) {
    if (c->item == item) return n;
  }
  return -1;
}

int ListI::memberpI(void* item) const { return itemNI(item) >= 0; }

void* ListI::lastI() const {
  const ConsCell* c = cell;
  while (c && c->next) c = c->next;
  return c ? c->item : nullptr;
}

void ListI::removeI(void* item) {
  for (ConsCell** place = &cell; *place; place = &(*place)->next) {
    if ((*place)->item == item) {
      unlink(place);
      return;
    }
  }
}
