#include "limber/linalg/LinComb.h"

#include <algorithm>
#include <climits>

#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/SparseSum.h"
#include "limber/linalg/detail/RowStorage.h"

using namespace limber::detail;

int linCombStats[4] = {0, 0, 0, 0};

namespace {

constexpr int maxTerms = 120;

// A row, its coefficient, and its entries that have not been merged yet.
struct Term {
  double coefficient;
  const SpVec* row;
  const int* index;
  const double* value;
  const int* end;
};

// Static, like the statistics: linComb is not re-entrant.
Term terms[maxTerms];

int collectTerms(const Vector* coeffs, SpVec** rows) {
  int n = 0;
  for (int k = 0; k < coeffs->count; ++k) {
    if (coeffs->data[k] == 0.0 || !rows[k] || rows[k]->numEntries <= 0) continue;
    if (n == maxTerms) {
      ReportSite{"Vectors", __LINE__}.error("too many spvecs in lincomb");
      continue;
    }
    terms[n].coefficient = coeffs->data[k];
    terms[n].row = rows[k];
    ++n;
  }
  return n;
}

// Advances every term beyond the index `last`. A term without further entries is replaced by the last active
// term. Returns the number of active terms.
int advance(int active, int last) {
  for (int k = 0; k < active;) {
    Term& t = terms[k];
    while (t.index < t.end && *t.index <= last) {
      ++t.index;
      ++t.value;
    }
    if (t.index == t.end)
      t = terms[--active];
    else
      ++k;
  }
  return active;
}

// Merges exactly N terms, held in registers, until one of them ends or has an index that does not ascend.
// Returns the last index handled.
template <int N>
int mergeWhileAll(RowWriter& writer) {
  RowWriter to = writer;
  Term t[N];
  for (int k = 0; k < N; ++k) t[k] = terms[k];
  int current[N];
  for (int k = 0; k < N; ++k) current[k] = *t[k].index;
  int last;
  for (bool all = true; all;) {
    last = current[0];
    for (int k = 1; k < N; ++k) last = std::min(last, current[k]);
    double sum = 0.0;
    for (int k = 0; k < N; ++k) {
      if (current[k] != last) continue;
      sum += t[k].coefficient * *t[k].value;
      ++t[k].value;
      ++t[k].index;
      if (t[k].index == t[k].end) {
        all = false;
      } else {
        current[k] = *t[k].index;
        all &= current[k] > last;
      }
    }
    to.append(sum, last);
  }
  for (int k = 0; k < N; ++k) terms[k] = t[k];
  writer = to;
  return last;
}

// Merges the smallest index of any number of terms, and returns it.
int mergeOne(int active, RowWriter& writer) {
  int last = INT_MAX;
  for (int k = 0; k < active; ++k) last = std::min(last, *terms[k].index);
  double sum = 0.0;
  for (int k = 0; k < active; ++k)
    if (*terms[k].index == last) sum += terms[k].coefficient * *terms[k].value;
  writer.append(sum, last);
  return last;
}

void merge(int active, SpVec* out) {
  int longest = 0;
  for (int k = 0; k < active; ++k) longest = std::max(longest, terms[k].row->numEntries);
  if (out->maxEntries < 2 * longest) out->grow(2 * longest);
  out->zero();
  // Read after out->zero(), so that a row that is also the output counts as empty.
  for (int k = 0; k < active; ++k) {
    Term& t = terms[k];
    t.index = t.row->indices.data;
    t.value = t.row->values.data;
    t.end = t.index + t.row->numEntries;
  }
  RowWriter writer(*out);
  int last = -1;
  while ((active = advance(active, last)) > 0) {
    switch (active) {
      case 1:
        last = mergeWhileAll<1>(writer);
        break;
      case 2:
        last = mergeWhileAll<2>(writer);
        break;
      case 3:
        last = mergeWhileAll<3>(writer);
        break;
      case 4:
        last = mergeWhileAll<4>(writer);
        break;
      default:
        last = mergeOne(active, writer);
    }
  }
  writer.finish();
  // Contract: the last index handled counts, even if its sum was too small to store.
  out->width = widthFor(last);
}

}  // namespace

void linComb(const Vector* coeffs, SpVec** rows, SpVec* out) {
  if (!coeffs || !out || (!rows && coeffs->count > 0)) return;
  const int n = collectTerms(coeffs, rows);
  ++linCombStats[0];
  if (n == 0) {
    ++linCombStats[1];
    out->zero();
  } else if (n == 1) {
    ++linCombStats[2];
    copy(*terms[0].row, *out);
    out->scale(terms[0].coefficient);
  } else if (n == 2) {
    ++linCombStats[3];
    ssum(*terms[0].row, terms[0].coefficient, *terms[1].row, terms[1].coefficient, *out);
  } else {
    merge(n, out);
  }
}
