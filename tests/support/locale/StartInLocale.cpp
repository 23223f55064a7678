// Loaded into a program of the tests before it starts (LD_PRELOAD). The program then runs in the locale that
// the environment names, like a graphical program that calls setlocale at its start. Only programs below
// LIMBER_LOCALE_PROGRAMS are affected, not the compilers and interpreters that a test starts.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

namespace {

__attribute__((constructor)) void startInLocale() {
  const char* const folder = std::getenv("LIMBER_LOCALE_PROGRAMS");
  char program[4096] = "";
  if (!folder || readlink("/proc/self/exe", program, sizeof program - 1) < 0) return;
  if (std::strncmp(program, folder, std::strlen(folder)) != 0) return;
  if (!std::setlocale(LC_ALL, "") || *std::localeconv()->decimal_point != ',') {
    std::fputs("there is no locale with a decimal comma\n", stderr);
    std::_Exit(70);
  }
}

}  // namespace
