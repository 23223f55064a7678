#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the process when a property does not hold, whatever NDEBUG says.
#define REQUIRE(condition)                                                 \
  do {                                                                     \
    if (!(condition)) {                                                    \
      std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                        \
    }                                                                      \
  } while (0)
