#include "limber/foundation/Output.h"
#include "limber/foundation/detail/CLocale.h"
#include "limber/linalg/FullMatrix.h"

using namespace limber::detail;

void FullMatrix::print(FILE* file) const {
  const CLocale plainNumbers;
  const int w = data ? numColumns : 0;
  for (int i = 0; i < numRows; ++i) {
    for (int j = 0; j < w; ++j) {
      if (e(i, j) != 0.0) {
        std::fprintf(file, "%7.4f ", e(i, j));
      } else {
        std::fprintf(file, "%7d ", 0);
      }
    }
    std::fputs("\n", file);
  }
}

// The caller is responsible for the format.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
void FullMatrix::printC(int n, const char* fmt) const {
  const int w = !data ? 0 : n <= 0 || n >= numColumns ? numColumns : n;
  for (int i = 0; i < numRows; ++i) {
    for (int j = 0; j < w; ++j) stdoutPrintf(fmt, e(i, j));
    stdoutPrintf("\n");
  }
}
#pragma GCC diagnostic pop

void FullMatrix::printF(int n, const char* fmt) const { printC(n, fmt); }
