#include "limber/linalg/SparseDot.h"

#include "limber/linalg/SpVec.h"
#include "limber/linalg/detail/RowProducts.h"
#include "limber/linalg/detail/RowStorage.h"

using namespace limber::detail;

namespace {

// The sum of term(index, a-value, b-value) over the indices that both rows hold.
template <class Term>
double mergedSum(const SpVec& a, const SpVec& b, Term term) {
  double sum = 0.0;
  const int na = a.numEntries, nb = b.numEntries;
  const int* ia = a.indices.data;
  const int* ib = b.indices.data;
  const double* va = a.values.data;
  const double* vb = b.values.data;
  if (!va || !vb || na <= 0 || nb <= 0 || ia[0] > ib[nb - 1] || ib[0] > ia[na - 1]) return sum;
  int ka = 0, kb = 0;
  while (ka < na && kb < nb) {
    const int atA = ia[ka], atB = ib[kb];
    if (atA < atB) {
      ++ka;
    } else if (atB < atA) {
      ++kb;
    } else {
      sum += term(atA, va[ka], vb[kb]);
      ++ka;
      ++kb;
    }
  }
  return sum;
}

}  // namespace

double dot(SpVec& a, SpVec& b) {
  return mergedSum(a, b, [](int, double x, double y) { return x * y; });
}

double sdot(SpVec* a, SpVec* b, Vector* w) {
  if (!a || !b) return 0.0;
  if (!w) return dot(*a, *b);
  return mergedSum(*a, *b,
                   [w](int i, double x, double y) { return inStorage(*w, i) ? w->data[i] * y * x : 0.0; });
}

double dot(SpVec& a, Vector* v) { return v ? rowTimesVector(a, *v) : 0.0; }

double dot(Vector* v, SpVec& a) { return dot(a, v); }
