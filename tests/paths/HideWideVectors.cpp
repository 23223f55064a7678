#include "tests/paths/HideWideVectors.h"

#if defined(__x86_64__) && !defined(_WIN32)

// What the compilers' own library found out about the machine, see __builtin_cpu_supports. clang++ 14 crashes
// at times where a source that it instruments declares this and asks for it as well, as WideVectors.h does.
extern "C" {
struct MachineModel {
  unsigned vendor, type, subtype, features;
};
extern MachineModel __cpu_model;
}

void hideWideVectors() {
  constexpr unsigned avx2 = 1u << 10;
  __builtin_cpu_init();
  __cpu_model.features &= ~avx2;
}

#endif
