#include "tests/support/allocations/Allocations.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

long made = 0;
std::size_t latest = 0;
long failAt = -1;
bool failAfter = false;
bool failed = false;

void* allocate(std::size_t size) noexcept {
  const long k = made++;
  latest = size;
  if (failAt >= 0 && (k == failAt || (failAfter && k > failAt))) {
    failed = true;
    return nullptr;
  }
  void* const p = std::malloc(size ? size : 1);
  if (p) std::memset(p, allocations::freshByte, size);
  return p;
}

void* allocateOrThrow(std::size_t size) {
  void* p = allocate(size);
  if (!p) throw std::bad_alloc();
  return p;
}

}  // namespace

void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }

namespace allocations {

long count() { return made; }

std::size_t lastSize() { return latest; }

FailAt::FailAt(long k, bool andAllAfter) {
  failed = false;
  failAfter = andAllAfter;
  failAt = made + k;
}

FailAt::~FailAt() { failAt = -1; }

bool FailAt::happened() const { return failed; }

}  // namespace allocations
