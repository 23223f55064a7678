// The input is a sequence of operations on row-sparse, sliced, banded and identity matrices. Their products
// and elements are compared with loops over plain tables that change along with them.
#include <algorithm>
#include <memory>
#include <vector>

#include "limber/foundation/Output.h"
#include "limber/linalg/SlicedMatrix.h"
#include "limber/linalg/Vectors.h"
#include "limber/linalg/WierdMatrices.h"
#include "tests/fuzz/Choices.h"
#include "tests/fuzz/Require.h"

namespace {

int silent(const char*) { return 0; }

bool tinyValue(double x) { return x >= -1e-12 && x <= 1e-12; }
bool inside(const Vector& v, int index) { return index >= 0 && index < v.capacity; }

void requireSame(const Vector& y, const std::vector<double>& expected) {
  REQUIRE(y.count == static_cast<int>(expected.size()));
  for (int i = 0; i < y.count; ++i) REQUIRE(sameNumber(y[i], expected[static_cast<std::size_t>(i)]));
  REQUIRE(y.count >= y.capacity || y.data[y.count] == 0.0);
}

// The rows that a row-sparse matrix should hold. Copies share the slots until one needs more of them.
struct RowTable {
  std::shared_ptr<std::vector<SpVec*>> slots;
  int rows = 0;

  explicit RowTable(int n) : slots(n > 0 ? std::make_shared<std::vector<SpVec*>>(n) : nullptr), rows(n) {}

  int capacity() const { return slots ? static_cast<int>(slots->size()) : 0; }
  SpVec* row(int i) const { return (*slots)[static_cast<std::size_t>(i)]; }
  void add(SpVec* row) {
    if (rows >= capacity()) {
      const auto longer = std::make_shared<std::vector<SpVec*>>(static_cast<std::size_t>(2 * rows + 6));
      for (int i = 0; i < rows; ++i) (*longer)[static_cast<std::size_t>(i)] = this->row(i);
      slots = longer;
    }
    (*slots)[static_cast<std::size_t>(rows++)] = row;
  }
  void clear() {
    rows = 0;
    if (!slots) slots = std::make_shared<std::vector<SpVec*>>(5);
  }
  int width(int a, int b) const {
    int w = 0;
    for (int i = std::max(a, 0); i < std::min(b, rows); ++i) w = std::max(w, row(i) ? row(i)->width : 0);
    return w;
  }
  int left(int a, int b) const {
    int least = width(a, b);
    for (int i = std::max(a, 0); i < std::min(b, rows); ++i) {
      if (row(i) && row(i)->numEntries > 0) least = std::min(least, row(i)->indices[0]);
    }
    return least;
  }

  std::vector<double> times(const Vector& x) const {
    std::vector<double> y;
    for (int i = 0; i < rows; ++i) {
      double sum = 0.0;
      for (int k = 0; row(i) && k < row(i)->numEntries; ++k) {
        const int j = row(i)->indices[k];
        if (inside(x, j)) sum += x.data[j] * row(i)->values[k];
      }
      y.push_back(sum);
    }
    return y;
  }
  std::vector<double> transposedTimes(const Vector& x) const {
    const int w = width(0, rows);
    std::vector<double> y(static_cast<std::size_t>(w));
    for (int i = 0; i < rows && i < x.capacity; ++i) {
      if (!row(i) || tinyValue(x.data[i])) continue;
      for (int k = 0; k < row(i)->numEntries; ++k) {
        const int j = row(i)->indices[k];
        if (j >= 0 && j < w) y[static_cast<std::size_t>(j)] += x.data[i] * row(i)->values[k];
      }
    }
    return y;
  }
};

struct SparsePart {
  std::vector<std::unique_ptr<SpVec>> pool;
  HSpMat matrix[2] = {HSpMat(0), HSpMat(3)};
  RowTable table[2] = {RowTable(0), RowTable(3)};
  Vector y;

  SparsePart() {
    for (int i = 0; i < 8; ++i) pool.push_back(std::make_unique<SpVec>());
  }

  void changeRow(Choices& choices) {
    SpVec& row = *pool[static_cast<std::size_t>(choices.below(8))];
    const int wide = choices.oneIn(4) ? 90 : 12;
    switch (choices.below(8)) {
      case 0:
        row.compact(0.25 * choices.below(8));
        break;
      case 1:
        row.drop(0.25 * choices.below(8));
        break;
      case 2:
        row.quantize(1 + choices.below(4));
        break;
      case 3:
        row.insEnd(choices.anyNumber(), choices.below(wide) - choices.oneIn(16));
        break;
      case 4:
        row = *pool[static_cast<std::size_t>(choices.below(8))];
        break;
      case 5:
        row.zero();
        break;
      default:
        for (int n = 1 + choices.below(6); n > 0; --n) row.ins(choices.anyNumber(), choices.below(wide));
    }
  }

  void compareProducts(const RowTable& should, const SpMat& A, Choices& choices) {
    const int w = should.width(0, should.rows);
    REQUIRE(A.height() == should.rows && A.width() == (should.rows > 0 ? w : 0));
    const Vector x = choices.vector(choices.oneIn(4) ? 90 : 14);
    A.mult(&x, &y);
    requireSame(y, should.times(x));
    const Vector z = choices.vector(should.rows + 2);
    A.multT(&z, &y);
    requireSame(y, should.transposedTimes(z));
    for (int i = 0; i < should.rows; ++i) {
      const int j = choices.below(14);
      REQUIRE(sameNumber(A.acc(i, j), should.row(i) ? should.row(i)->v(j) : 0.0));
    }
  }

  void compareSliced(int m, Choices& choices) {
    SlicedMatrix sliced(matrix[m]);
    compareProducts(table[m], sliced, choices);
    const SlicedMatrix copy(sliced);
    const double s = choices.anyNumber();
    sliced.scalar(s);
    // A row may be in the matrix several times, and each place is scaled once.
    std::vector<std::unique_ptr<SpVec>> scaledRows;
    RowTable scaled(0);
    for (int i = 0; i < table[m].rows; ++i) {
      const SpVec* const row = table[m].row(i);
      scaledRows.push_back(row ? std::make_unique<SpVec>(row) : nullptr);
      if (row) scaledRows.back()->scale(s);
      scaled.add(scaledRows.back().get());
    }
    compareProducts(scaled, sliced, choices);
    compareProducts(table[m], copy, choices);
    sliced = copy;
    compareProducts(table[m], sliced, choices);
  }

  void change(Choices& choices) {
    const int m = choices.below(2), other = 1 - m;
    switch (choices.below(9)) {
      case 0:
        matrix[m].clear();
        table[m].clear();
        break;
      case 1:
        matrix[m] = matrix[other];
        table[m] = table[other];
        break;
      case 2: {
        const HSpMat copy(matrix[other]);
        matrix[m] = copy;
        table[m] = table[other];
        break;
      }
      case 3: {
        const int n = choices.below(6);
        matrix[m] = HSpMat(n);
        table[m] = RowTable(n);
        break;
      }
      case 4: {
        const double s = 0.5 * choices.below(5);
        for (int i = 0; i < table[m].rows; ++i) {
          if (table[m].row(i)) REQUIRE(matrix[m].row(i) == table[m].row(i));
        }
        matrix[m].scalar(s);
        break;
      }
      case 5:
        compareSliced(m, choices);
        break;
      case 6: {
        compareProducts(table[m], matrix[m], choices);
        const int a = choices.below(8) - 1, b = choices.below(10) - 1;
        REQUIRE(matrix[m].width(a, b) == table[m].width(a, b) && matrix[m].left(a, b) == table[m].left(a, b));
        break;
      }
      default:
        if (table[m].rows > 60) break;
        SpVec* const row =
            choices.oneIn(8) ? nullptr : pool[static_cast<std::size_t>(choices.below(8))].get();
        matrix[m].add(row);
        table[m].add(row);
    }
    for (int k = 0; k < 2; ++k) {
      REQUIRE(matrix[k].numRows == table[k].rows && matrix[k].rowCapacity == table[k].capacity());
      for (int i = 0; i < table[k].rows; ++i) REQUIRE(matrix[k].row(i) == table[k].row(i));
    }
  }
};

// The elements that a banded matrix should hold. Copies share the rows, and until one grows also the table.
struct BandTable {
  using Row = std::shared_ptr<std::vector<double>>;
  std::shared_ptr<std::vector<Row>> data;
  int rows, maxWidth, bw;

  BandTable(int n, int wide)
      : data(std::make_shared<std::vector<Row>>()), rows(n), maxWidth(wide), bw(wide / 2) {
    addRows(n);
  }
  void addRows(int n) {
    for (int i = 0; i < n; ++i) data->push_back(std::make_shared<std::vector<double>>(maxWidth));
  }
  int maxRows() const { return static_cast<int>(data->size()); }
  int places() const { return std::clamp(2 * bw, 0, maxWidth); }
  double* at(int i, int j) const {
    const int k = bw - i + j;
    if (i < 0 || i >= maxRows() || k < 0 || k >= places()) return nullptr;
    return &(*(*data)[static_cast<std::size_t>(i)])[static_cast<std::size_t>(k)];
  }
  double value(int i, int j) const { return at(i, j) ? *at(i, j) : 0.0; }
  void grow(int newRows, int newBw) {
    if (newRows > maxRows()) {
      data = std::make_shared<std::vector<Row>>(*data);
      addRows(newRows + 10 - maxRows());
    }
    rows = newRows;
    bw = newBw;
  }
  template <class F>
  void forBand(F f) {
    for (int i = 0; i < std::min(rows, maxRows()); ++i) {
      for (int k = 0; k < places(); ++k)
        f((*(*data)[static_cast<std::size_t>(i)])[static_cast<std::size_t>(k)]);
    }
  }
};

struct BandPart {
  BandedMatrix matrix[2] = {BandedMatrix(4, 4), BandedMatrix(3, 7)};
  BandTable table[2] = {BandTable(4, 4), BandTable(3, 7)};
  Vector y;

  void compare(int m, Choices& choices) {
    BandedMatrix& is = matrix[m];
    const BandTable& should = table[m];
    const int n = should.rows;
    REQUIRE(is.height() == n && is.width() == n && is.maxRows == should.maxRows());
    const Vector x = choices.vector(n + 2);
    std::vector<double> product(static_cast<std::size_t>(n)), transposed(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        REQUIRE(sameNumber(is.acc(i, j), should.value(i, j)));
        if (!should.at(i, j)) continue;
        if (inside(x, j)) product[static_cast<std::size_t>(i)] += should.value(i, j) * x.data[j];
        if (inside(x, i)) transposed[static_cast<std::size_t>(j)] += should.value(i, j) * x.data[i];
      }
    }
    is.mult(&x, &y);
    requireSame(y, product);
    if (std::all_of(x.data, x.data + x.capacity, [](double value) { return std::isfinite(value); })) {
      // A sliced copy leaves out zeros, which matters for infinities only.
      const SlicedMatrix sliced(static_cast<const SpMat&>(is));
      REQUIRE(sliced.height() == n && sliced.width() == n);
      sliced.mult(&x, &y);
      requireSame(y, product);
    }
    is.multT(&x, &y);
    requireSame(y, transposed);
    const double shift = choices.number();
    const SpMat* const image = is.compact(shift, 0, 1);
    REQUIRE(image->height() == n);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        const double value = i == j ? should.value(i, j) + shift : should.value(i, j);
        REQUIRE(sameNumber(image->acc(i, j), std::isnan(value) || tinyValue(value) ? 0.0 : value));
      }
    }
  }

  void change(Choices& choices) {
    const int m = choices.below(2), other = 1 - m;
    switch (choices.below(9)) {
      case 0: {
        const int n = choices.below(20), bw = choices.below(8) - 1;
        matrix[m].growbw(n, bw);
        table[m].grow(n, bw);
        break;
      }
      case 1:
        matrix[m].zero();
        table[m].forBand([](double& value) { value = 0.0; });
        break;
      case 2: {
        const double s = choices.anyNumber();
        matrix[m].scalar(s);
        table[m].forBand([s](double& value) { value *= s; });
        break;
      }
      case 3:
        matrix[m] = matrix[other];
        table[m] = table[other];
        break;
      case 4: {
        const BandedMatrix copy(matrix[m]);
        matrix[m] = BandedMatrix(choices.below(3), 2);
        matrix[m] = copy;
        break;
      }
      case 5: {
        const int n = choices.below(12), wide = choices.below(9);
        matrix[m] = BandedMatrix(n, wide);
        table[m] = BandTable(n, wide);
        break;
      }
      case 6:
        compare(m, choices);
        break;
      default:
        for (int n = 1 + choices.below(8); n > 0; --n) {
          const int i = choices.below(14) - 1, j = i + choices.below(12) - 6;
          const double value = choices.anyNumber();
          matrix[m].e(i, j) = value;
          if (double* const stored = table[m].at(i, j)) *stored = value;
        }
    }
  }
};

void compareIdentity(Choices& choices) {
  IdentityMatrix identity(choices.below(12));
  identity.s = choices.anyNumber();
  IdentityMatrix A(0);
  A = IdentityMatrix(identity);
  const Vector x = choices.vector(14);
  Vector y(choices.below(20));
  A.mult(&x, &y);
  std::vector<double> expected;
  for (int i = 0; i < x.count; ++i) expected.push_back(A.s * x[i]);
  requireSame(y, expected);
  for (int i = 0; i < 12; ++i) {
    for (int j = 0; j < 12; ++j) REQUIRE(sameNumber(A.acc(i, j), i == j ? A.s : 0.0));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  stdoutF = stderrF = silent;
  Choices choices(data, size);
  SparsePart sparse;
  BandPart band;
  while (choices.left()) {
    switch (choices.below(8)) {
      case 0:
      case 1:
        sparse.changeRow(choices);
        break;
      case 2:
      case 3:
      case 4:
        sparse.change(choices);
        break;
      case 5:
        compareIdentity(choices);
        break;
      default:
        band.change(choices);
    }
  }
  return 0;
}
