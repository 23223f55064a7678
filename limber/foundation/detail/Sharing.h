#pragma once

/// @file
/// Counts the holders of a piece of storage. By contract, copies of several classes share what their pointers
/// point to, and these classes have no field for a count of holders. The count is kept here, outside the
/// objects, so that only the last holder releases the storage.
///
/// Storage that was never shared is not in the table: it has one holder and costs nothing. Nothing here
/// throws, and there are no locks.

namespace limber::detail {

/// One more object holds `p`. Returns false if there is no memory to count it (reported through FATAL_ERROR):
/// the copy must then not keep the pointer. Always true for null.
[[nodiscard]] bool share(const void* p);

/// One object less holds `p`. Returns true if it was the last one, which must then release the storage.
/// Always true for null.
[[nodiscard]] bool unshare(const void* p);

/// The number of objects that hold `p`: 1 for storage that was never shared.
int holders(const void* p);

/// Releases the object that `p` points to, which is deleted if it has no other holder. `p` becomes null.
template <class T>
void dropShared(T*& p) {
  if (unshare(p)) delete p;
  p = nullptr;
}

/// Releases the object of `to` and makes `to` share the object of `from`. `to` becomes null if there is no
/// memory to count it.
template <class T>
void copyShared(T*& to, T* from) {
  if (to == from) return;
  dropShared(to);
  if (share(from)) to = from;
}

}  // namespace limber::detail
