#include "limber/linalg/HSpMat.h"

#include <algorithm>
#include <new>

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/foundation/detail/Sharing.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/RowProducts.h"
#include "limber/linalg/detail/RowStorage.h"

using namespace limber::detail;

namespace {

SpVec** newRows(int n) {
  SpVec** const rows = new (std::nothrow) SpVec*[static_cast<std::size_t>(n)]();
  if (!rows) ReportSite{"Vectors", __LINE__}.fatal(newFails);
  return rows;
}

void release(SpVec** rows) {
  if (unshare(rows)) delete[] rows;
}

}  // namespace

HSpMat::HSpMat(int n) : numRows(n), rowCapacity(std::max(n, 0)), rows(nullptr) {
  if (n == 0) return;
  rows = newRows(rowCapacity);
  if (!rows) numRows = rowCapacity = 0;
}

HSpMat::HSpMat(const HSpMat& other) : HSpMat(0) { *this = other; }

HSpMat& HSpMat::operator=(const HSpMat& other) {
  if (rows != other.rows) {
    const bool shared = share(other.rows);
    release(rows);
    rows = shared ? other.rows : nullptr;
    numRows = rowCapacity = 0;
    if (!shared) return *this;
  }
  numRows = other.numRows;
  rowCapacity = other.rowCapacity;
  return *this;
}

HSpMat::~HSpMat() { release(rows); }

int HSpMat::height() const { return numRows; }

int HSpMat::width(int a, int b) const {
  int w = 0;
  for (int i = std::max(a, 0); i < std::min(b, numRows); ++i) {
    if (rows[i]) w = std::max(w, rows[i]->width);
  }
  return w;
}

int HSpMat::width() const { return width(0, numRows); }

int HSpMat::left(int a, int b) const {
  int least = width(a, b);
  for (int i = std::max(a, 0); i < std::min(b, numRows); ++i) {
    if (rows[i] && rows[i]->numEntries > 0) least = std::min(least, rows[i]->indices[0]);
  }
  return least;
}

int HSpMat::left() const { return left(0, numRows); }

double HSpMat::acc(int i, int j) const { return i >= 0 && i < numRows && rows[i] ? rows[i]->v(j) : 0.0; }

void HSpMat::scalar(double s) {
  for (int i = 0; i < numRows; ++i) {
    if (rows[i]) rows[i]->scale(s);
  }
}

void HSpMat::add(SpVec* r) {
  numRows = std::max(numRows, 0);
  if (numRows >= rowCapacity) {
    const int longer = 2 * numRows + 6;
    SpVec** const moved = newRows(longer);
    if (!moved) return;
    std::copy_n(rows, numRows, moved);
    release(rows);
    rows = moved;
    rowCapacity = longer;
  }
  rows[numRows++] = r;
}

void HSpMat::clear() {
  numRows = 0;
  if (rows) return;
  rows = newRows(5);
  rowCapacity = rows ? 5 : 0;
}

void HSpMat::print() const {
  for (int i = 0; i < numRows; ++i) {
    if (rows[i]) rows[i]->print();
  }
}

void HSpMat::portray() const {
  const int w = std::min(width(), 12);
  for (int i = 0; i < numRows; ++i) {
    if (!rows[i]) continue;
    rows[i]->portray(w);
    stdoutPrintf("\n");
  }
}

void HSpMat::printStats() const {
  int entries = 0;
  double total = 0.0;
  for (int i = 0; i < numRows; ++i) {
    if (!rows[i]) continue;
    entries += rows[i]->numEntries;
    total += rows[i]->magSq();
  }
  stdoutPrintf("HSpMat (%d %d) (%d non-zero, %g total MaqSq)\n", height(), width(), entries, total);
}

void HSpMat::mult(const Vector* x, Vector* y) const {
  y->grow(std::max(numRows, 0));
  clearBehind(*y);
  rowsTimesVector(rows, std::min(numRows, y->count), *x, y->data);
}

void HSpMat::multT(const Vector* x, Vector* y) const {
  transposedRowsTimesVector(rows, numRows, x->data, x->capacity, *y);
}
