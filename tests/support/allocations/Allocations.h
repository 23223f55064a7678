#pragma once

#include <cstddef>

/// Counts and fails heap allocations of the whole process, including the library. Linking this replaces the
/// global operators new and delete of the test program.
namespace allocations {

/// The value of every byte of new memory, so that no test can rely on cleared memory.
constexpr unsigned char freshByte = 0xa5;

/// The number of calls of any operator new since the program began.
long count();
/// The size that the last of them requested.
std::size_t lastSize();

/// While it exists, the k-th allocation from now (k = 0, 1, ...) fails and, with `andAllAfter`, each later
/// one: the nothrow forms return null, the others throw std::bad_alloc.
class FailAt {
 public:
  explicit FailAt(long k, bool andAllAfter = false);
  ~FailAt();
  FailAt(const FailAt&) = delete;
  FailAt& operator=(const FailAt&) = delete;
  /// True if an allocation has failed. A loop over k ends with the first k for which none failed.
  bool happened() const;
};

}  // namespace allocations
