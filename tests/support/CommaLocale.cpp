#include "tests/support/CommaLocale.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>

CommaLocale::CommaLocale() : active_(false) {
  char name[] = "/tmp/limber_locale_XXXXXX";
  directory_ = mkdtemp(name);
  const std::string make = "localedef -i de_DE -f UTF-8 " + directory_ + "/de_DE.UTF-8 >/dev/null 2>&1";
  if (std::system(make.c_str()) == 0) {
    setenv("LOCPATH", directory_.c_str(), 1);
    active_ = std::setlocale(LC_ALL, "de_DE.UTF-8") && *std::localeconv()->decimal_point == ',';
  }
}

CommaLocale::~CommaLocale() {
  std::setlocale(LC_ALL, "C");
  unsetenv("LOCPATH");
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}
