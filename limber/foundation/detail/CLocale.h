#pragma once

/// @file
/// Numbers in files are read and written in the "C" locale, whatever the locale of the process is. setlocale
/// is not called, because it would change the locale of the program's other threads.

#include <cstdarg>
#include <cstdio>

#include "limber/Api.h"
#include "limber/foundation/detail/Platform.h"

namespace limber::detail {

/// The calling thread uses the "C" locale while this object exists.
class CLocale {
 public:
  CLocale() : saved_(enterCLocale()) {}
  ~CLocale() { leaveCLocale(saved_); }
  CLocale(const CLocale&) = delete;
  CLocale& operator=(const CLocale&) = delete;

 private:
  SavedLocale saved_;
};

/// strtod, vfprintf and fprintf in the "C" locale.
double cStrtod(const char* text, char** end);
int cVfprintf(std::FILE* file, const char* format, va_list arguments);
int cFprintf(std::FILE* file, const char* format, ...) LIMBER_PRINTF(2, 3);

}  // namespace limber::detail
