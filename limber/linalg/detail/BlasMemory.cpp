#include "limber/linalg/detail/BlasMemory.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>

#include "limber/foundation/Report.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/detail/LapackCalls.h"

#if defined(__ELF__)
// Present in OpenBLAS only.
extern "C" char* openblas_get_config() __attribute__((weak));
#endif

namespace limber::detail {

namespace {

bool isOpenBlas() {
#if defined(__ELF__)
  return openblas_get_config != nullptr;
#else
  return false;
#endif
}

// True if that much can be allocated now. The memory is released untouched.
bool canAllocate(std::size_t bytes) {
  void* volatile const probe = std::malloc(bytes);  // volatile, or the compiler removes malloc and free
  const bool there = probe != nullptr;
  std::free(probe);
  return there;
}

// A triangular solve with two unknowns: the smallest call for which OpenBLAS takes its buffer.
void takeBuffer() {
  const int two = 2;
  const double one = 1.0, identity[] = {1.0, 0.0, 0.0, 1.0};
  double b[] = {1.0, 1.0, 1.0, 1.0};
  dtrsm_("L", "L", "N", "N", &two, &two, &one, identity, &two, b, &two, 1, 1, 1, 1);
}

}  // namespace

bool ensureBlasMemory() {
  constexpr std::size_t enough = 136u << 20;  // the buffer and what is allocated along with it
  static std::atomic<bool> ready{!isOpenBlas()};
  if (ready) return true;
  if (!canAllocate(enough)) {
    FATAL_ERROR(newFails);
    return false;
  }
  takeBuffer();
  ready = true;
  return true;
}

}  // namespace limber::detail
