#pragma once

#include <cstddef>

/// Counts and fails heap allocations of the whole process, the library's included. Linking this replaces the
/// global operators new and delete of the test program.
namespace allocations {

/// What every byte of new memory holds, so that nobody takes it for cleared.
constexpr unsigned char freshByte = 0xa5;

/// Calls of any operator new since the program began.
long count();
/// The size asked for in the latest of them.
std::size_t lastSize();

/// While it lives, the k-th allocation from now (k = 0, 1, ...) and, with `andAllAfter`, each later one
/// fails: the nothrow forms return null, the others throw std::bad_alloc.
class FailAt {
 public:
  explicit FailAt(long k, bool andAllAfter = false);
  ~FailAt();
  FailAt(const FailAt&) = delete;
  FailAt& operator=(const FailAt&) = delete;
  /// Whether an allocation has failed: a loop over k ends with the first k for which none did.
  bool happened() const;
};

}  // namespace allocations
