// The input is a sequence of operations on three sparse rows. Each row is compared with a plain list of
// entries, to which the same operations are applied in the slowest and plainest way.
#include <algorithm>
#include <climits>
#include <memory>
#include <utility>
#include <vector>

#include "limber/foundation/Output.h"
#include "limber/linalg/Vectors.h"
#include "tests/fuzz/Choices.h"
#include "tests/fuzz/Require.h"

namespace {

int silent(const char*) { return 0; }

struct Term {
  int index;
  double value;
};

struct Model {
  std::vector<Term> terms;
  int width = -1;
  int room = 4;
  int valuesCount = 0;

  int count() const { return static_cast<int>(terms.size()); }
  bool ascending() const {
    for (std::size_t k = 1; k < terms.size(); ++k) {
      if (terms[k - 1].index >= terms[k].index) return false;
    }
    return true;
  }
  int last() const { return terms.back().index; }
  double* find(int index) {
    for (Term& term : terms) {
      if (term.index == index) return &term.value;
    }
    return nullptr;
  }
};

bool tinyValue(double x) { return x >= -1e-12 && x <= 1e-12; }
int pastLast(int index) { return index == INT_MAX ? INT_MAX : index + 1; }

void insert(Model& m, double x, int i) {
  if (tinyValue(x)) return;
  if (m.count() >= m.room) m.room *= 2;
  if (i >= m.width) m.width = pastLast(i);
  if (double* const there = m.find(i)) {
    *there += x;
  } else {
    m.terms.push_back({i, x});
    std::sort(m.terms.begin(), m.terms.end(), [](const Term& a, const Term& b) { return a.index < b.index; });
  }
  m.valuesCount = m.count();
}

void append(Model& m, double x, int i) {
  if (tinyValue(x)) return;
  m.terms.push_back({i, x});
  m.width = pastLast(i);
  m.valuesCount = m.count();
}

void dropBelow(Model& m, double threshold) {
  std::vector<Term> kept;
  for (const Term& term : m.terms) {
    if (!(std::fabs(term.value) < threshold)) kept.push_back(term);
  }
  m.terms = kept;
}

void drop(Model& m, double threshold) {
  dropBelow(m, threshold);
  m.width = m.terms.empty() ? -1 : pastLast(m.last());
  m.valuesCount = m.count();
}

void compact(Model& m, double threshold) {
  dropBelow(m, threshold);
  m.width = m.terms.empty() ? 0 : m.last();
}

void empty(Model& m) {
  m.terms.clear();
  m.width = -1;
  m.valuesCount = 0;
}

void assign(const Model& from, Model& to) {
  to.room = std::max(to.room, from.count() + 2);
  to.terms = from.terms;
  to.width = from.width;
  to.valuesCount = to.count();
}

void sumOf(const Model& a, double sa, const Model& b, double sb, Model& out) {
  Model first = a, second = b;
  if (&a == &out) first.terms.clear();
  if (&b == &out) second.terms.clear();
  empty(out);
  std::vector<int> indices;
  for (const Term& term : first.terms) indices.push_back(term.index);
  for (const Term& term : second.terms) indices.push_back(term.index);
  std::sort(indices.begin(), indices.end());
  indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
  for (const int i : indices) {
    const double *x = first.find(i), *y = second.find(i);
    if (i < 10000) append(out, x && y ? sa * *x + sb * *y : x ? sa * *x : sb * *y, i);
  }
}

bool inside(const Vector& v, int index) { return index >= 0 && index < v.capacity; }

struct Rows {
  static constexpr int number = 3;
  std::unique_ptr<SpVec> row[number];
  Model model[number];

  Rows() {
    for (auto& one : row) one = std::make_unique<SpVec>();
  }

  void compare(int r) {
    const SpVec& is = *row[r];
    const Model& should = model[r];
    REQUIRE(is.numEntries == should.count());
    REQUIRE(is.width == should.width);
    REQUIRE(is.maxEntries == should.room);
    REQUIRE(is.values.count == should.valuesCount);
    std::size_t k = 0;
    for (const auto [index, value] : is.entries()) {
      REQUIRE(index == should.terms[k].index && sameNumber(value, should.terms[k].value));
      ++k;
    }
  }
};

// The dot products and sums of rows with each other and with dense vectors.
void compareSums(Rows& rows, int r, int s, Choices& choices) {
  SpVec &a = *rows.row[r], &b = *rows.row[s];
  Model &ma = rows.model[r], &mb = rows.model[s];
  Vector x = choices.vector(20);
  double square = 0.0, weighted = 0.0, plain = 0.0, withDense = 0.0;
  for (const Term& term : ma.terms) {
    square += term.value * term.value;
    plain += term.value;
    if (!inside(x, term.index)) continue;
    weighted += x.data[term.index] * (term.value * term.value);
    withDense += x.data[term.index] * term.value;
  }
  REQUIRE(sameNumber(a.magSq(), square) && sameNumber(a.mag(), std::sqrt(square)));
  REQUIRE(sameNumber(a.addElems(), plain));
  REQUIRE(sameNumber(a.weightedL2(&x), weighted) && sameNumber(a.weightedL2(nullptr), square));
  REQUIRE(sameNumber(dot(a, &x), withDense) && sameNumber(dot(&x, a), withDense));
  if (ma.ascending() && mb.ascending()) {
    double common = 0.0, scaled = 0.0;
    for (const Term& term : ma.terms) {
      const double* const other = mb.find(term.index);
      if (!other) continue;
      common += term.value * *other;
      scaled += inside(x, term.index) ? x.data[term.index] * *other * term.value : 0.0;
    }
    REQUIRE(sameNumber(dot(a, b), common) && sameNumber(sdot(&a, &b, nullptr), common));
    REQUIRE(sameNumber(sdot(&a, &b, &x), scaled));
  }
  Vector sum(x);
  for (int i = 0; i < sum.capacity; ++i) sum.data[i] = i < x.capacity ? x.data[i] : 0.0;
  a.scatterAdd(&x, 0.75);
  for (const Term& term : ma.terms) {
    if (inside(sum, term.index)) sum.data[term.index] += 0.75 * term.value;
  }
  for (int i = 0; i < std::min(x.capacity, sum.capacity); ++i) REQUIRE(sameNumber(x.data[i], sum.data[i]));
  for (int i = -1; i < 24; ++i) {
    const double* const there = ma.find(i);
    REQUIRE(sameNumber(a.v(i), there ? *there : 0.0));
  }
}

void change(Rows& rows, Choices& choices) {
  const int r = choices.below(Rows::number), s = choices.below(Rows::number);
  SpVec &row = *rows.row[r], &other = *rows.row[s];
  Model &model = rows.model[r], &from = rows.model[s];
  switch (choices.below(16)) {
    case 0:
    case 1:
    case 2: {
      if (!model.ascending()) break;
      const double x = choices.anyNumber();
      const int i = choices.oneIn(64) ? INT_MAX - choices.below(3) : choices.below(24);
      const bool compacted = model.count() > 0 && model.width == model.last() && i < model.width;
      row.ins(x, i);
      insert(model, x, i);
      // After compact() an insertion in the middle may leave the width, or mend it.
      if (compacted && row.width == pastLast(model.last())) model.width = row.width;
      break;
    }
    case 3: {
      const double x = choices.anyNumber();
      const int i =
          choices.oneIn(16) ? -1 - choices.below(3) : choices.below(24) + (choices.oneIn(8) ? 9990 : 0);
      row.insEnd(x, i);
      append(model, x, i);
      break;
    }
    case 4: {
      const double s0 = choices.anyNumber();
      row.scale(s0);
      for (Term& term : model.terms) term.value *= s0;
      break;
    }
    case 5: {
      const double q = 0.25 * (1 + choices.below(64));
      row.quantize(q);
      for (Term& term : model.terms) term.value = std::floor(q * term.value + 0.5) / q;
      compact(model, 0.5 / q);
      break;
    }
    case 6: {
      const double threshold = choices.number();
      row.compact(threshold);
      compact(model, threshold);
      break;
    }
    case 7: {
      const double threshold = choices.number();
      row.drop(threshold);
      drop(model, threshold);
      break;
    }
    case 8:
      row.zero();
      empty(model);
      break;
    case 9: {
      const int n = choices.below(40);
      row.grow(n);
      model.room = n;
      break;
    }
    case 10: {
      const int n = choices.below(40);
      row.init(n);
      empty(model);
      model.room = n;
      break;
    }
    case 11:
      if (choices.oneIn(2))
        row = other;
      else
        copy(other, row);
      assign(from, model);
      break;
    case 12: {
      auto made = choices.oneIn(2) ? std::make_unique<SpVec>(other) : std::make_unique<SpVec>(&other);
      REQUIRE(made->maxEntries >= std::max(other.maxEntries, other.numEntries + 2));
      model.room = made->maxEntries;
      assign(from, model);
      rows.row[r] = std::move(made);
      break;
    }
    case 13: {
      Vector x = choices.vector(20);
      row.gather(&x);
      for (int i = 0; i < x.count; ++i) append(model, x.data[i], i);
      break;
    }
    case 14: {
      const int t = choices.below(Rows::number);
      if (!from.ascending() || !rows.model[t].ascending()) break;
      const double sa = choices.number(), sb = choices.number();
      ssum(other, sa, *rows.row[t], sb, row);
      sumOf(from, sa, rows.model[t], sb, model);
      break;
    }
    default:
      compareSums(rows, r, s, choices);
  }
  rows.compare(r);
  rows.compare(s);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  stdoutF = stderrF = silent;
  Choices choices(data, size);
  Rows rows;
  while (choices.left()) change(rows, choices);
  return 0;
}
