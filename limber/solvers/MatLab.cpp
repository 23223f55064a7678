#include "limber/solvers/MatLab.h"

#include <algorithm>

#include "limber/foundation/detail/CLocale.h"
#include "limber/linalg/SpMat.h"
#include "limber/linalg/Vector.h"

using namespace limber::detail;

namespace {

constexpr int smallSize = 40;
constexpr int chunk = 8;
constexpr int vectorChunk = 10;

// Entries that the next three statements of the sparse form will contain.
struct Entries {
  int row[chunk];
  int column[chunk];
  double value[chunk];
  int held = 0;
  // The index of the first of them, counted from 1.
  int first = 1;

  void add(FILE* file, int i, int j, double v) {
    row[held] = i + 1;
    column[held] = j + 1;
    value[held] = v;
    if (++held == chunk) write(file);
  }

  void write(FILE* file) {
    if (held == 0) return;
    writeNumbers(file, "sparsei", "%d ", row);
    writeNumbers(file, "sparsej", "%d ", column);
    writeNumbers(file, "sparsev", "%g ", value);
    first += held;
    held = 0;
  }

 private:
  template <class T>
  void writeNumbers(FILE* file, const char* name, const char* format, const T* numbers) const {
    std::fprintf(file, "%s(%d:%d) = [", name, first, first + held - 1);
    for (int k = 0; k < held; ++k) std::fprintf(file, format, numbers[k]);
    std::fputs("];\n", file);
  }
};

void writeDense(FILE* file, const char* name, const SpMat& m, int height, int width) {
  std::fprintf(file, "%s = [\n", name);
  for (int i = 0; i < height; ++i) {
    std::fputs("     ", file);
    for (int j = 0; j < width; ++j) std::fprintf(file, j + 1 < width ? "%g, " : "%g", m.acc(i, j));
    if (i + 1 < height) std::fputs(";\n", file);
  }
  // Contract: there is no line end here.
  std::fputs("];", file);
}

void writeSparse(FILE* file, const char* name, const SpMat& m, int height, int width) {
  std::fputs("clear sparsei; clear sparsej; clear sparsev;\n", file);
  Entries entries;
  for (int i = 0; i < height; ++i) {
    for (int j = 0; j < width; ++j) {
      const double value = m.acc(i, j);
      // the last column is always written, so that the rebuilt matrix has all rows and columns
      if (value != 0.0 || j + 1 == width) entries.add(file, i, j, value);
    }
  }
  entries.write(file);
  std::fprintf(file, "%s = full(sparse(sparsei,sparsej,sparsev));\n\n", name);
}

}  // namespace

void writeMatLab(FILE* file, const char* name, SpMat* m) {
  if (!file || !m) return;
  const CLocale cLocale;
  const int height = m->height();
  const int width = m->width();
  if (height < smallSize && width < smallSize)
    writeDense(file, name, *m, height, width);
  else
    writeSparse(file, name, *m, height, width);
}

void writeMatLab(FILE* file, const char* name, Vector* v) {
  if (!file || !v) return;
  const CLocale cLocale;
  std::fprintf(file, "clear %s;\n", name);
  for (int s = 0; s < v->count; s += vectorChunk) {
    const int end = std::min(s + vectorChunk, v->count);
    std::fprintf(file, "%s(%d:%d) = [", name, s + 1, end);
    for (int i = s; i < end; ++i) std::fprintf(file, "%g ", v->data[i]);
    std::fputs("];\n", file);
  }
}
