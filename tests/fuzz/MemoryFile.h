#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "tests/fuzz/Require.h"

/// A file in memory that routines can open by its path.
class MemoryFile {
 public:
  MemoryFile(const void* bytes, std::size_t size) : MemoryFile() {
    REQUIRE(size == 0 || write(descriptor_, bytes, size) == static_cast<ssize_t>(size));
  }
  MemoryFile() : descriptor_(memfd_create("fuzz", 0)) { REQUIRE(descriptor_ >= 0); }
  ~MemoryFile() { close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};
