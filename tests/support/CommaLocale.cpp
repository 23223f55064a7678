#include "tests/support/CommaLocale.h"

#include <clocale>
#include <cstdlib>

#if defined(_WIN32)
namespace {

// Windows brings the locale along.
bool enter(const TemporaryDirectory&) { return std::setlocale(LC_ALL, "German_Germany.1252"); }
void leave() {}

}  // namespace
#else
namespace {

bool enter(const TemporaryDirectory& directory) {
  const std::string make = "localedef -i de_DE -f UTF-8 " + directory / "de_DE.UTF-8" + " >/dev/null 2>&1";
  if (std::system(make.c_str()) != 0) return false;
  setenv("LOCPATH", directory.path().c_str(), 1);
  return std::setlocale(LC_ALL, "de_DE.UTF-8");
}
void leave() { unsetenv("LOCPATH"); }

}  // namespace
#endif

CommaLocale::CommaLocale() : active_(enter(directory_) && *std::localeconv()->decimal_point == ',') {}

CommaLocale::~CommaLocale() {
  std::setlocale(LC_ALL, "C");
  leave();
}
