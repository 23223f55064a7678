#pragma once

/// @file
/// Who else holds a piece of storage. Several classes copy their pointers and not what they point at, by
/// contract, and have no field for a count of holders; the count is kept here, outside the objects, so that
/// the last holder releases and nothing is released twice.
///
/// Only copying fills the table: storage that was never copied is not in it, costs nothing and has one
/// holder. Nothing here throws, and nothing is locked.

namespace limber::detail {

/// One more object holds `p`. Returns false when there is no memory to note it (reported through
/// FATAL_ERROR): the copy must then not keep the pointer. Null is shared freely.
[[nodiscard]] bool share(const void* p);

/// One object less holds `p`. Returns true when it was the last, which then releases the storage; true for
/// null.
[[nodiscard]] bool unshare(const void* p);

/// Number of objects that hold `p`: 1 for storage that was never copied.
int holders(const void* p);

/// Storage is released (or handed over) whoever else held it: a later object at the same address starts anew.
void forgetHolders(const void* p);

/// `p` lets go of its object, which is deleted when nobody else holds it. Null afterwards.
template <class T>
void dropShared(T*& p) {
  if (unshare(p)) delete p;
  p = nullptr;
}

/// `to` lets go of its object and holds that of `from` beside it; null when that cannot be noted.
template <class T>
void copyShared(T*& to, T* from) {
  if (to == from) return;
  dropShared(to);
  if (share(from)) to = from;
}

}  // namespace limber::detail
