#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the process if a property does not hold, also with NDEBUG.
#define REQUIRE(condition)                                                 \
  do {                                                                     \
    if (!(condition)) {                                                    \
      std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                        \
    }                                                                      \
  } while (0)
