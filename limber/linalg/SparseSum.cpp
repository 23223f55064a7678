#include "limber/linalg/SparseSum.h"

#include <algorithm>

#include "limber/linalg/SpVec.h"
#include "limber/linalg/detail/RowStorage.h"

using namespace limber::detail;

namespace {

// Contract: the merge runs only while one of the current indices is below this.
constexpr int indexLimit = 10000;

}  // namespace

void ssum(const SpVec& a, double sa, const SpVec& b, double sb, SpVec& out) {
  out.zero();
  RowWriter writer(out);
  // Read after out.zero(), so that a row that is also the output counts as empty.
  const int na = a.numEntries, nb = b.numEntries;
  const int* ia = a.indices.data;
  const int* ib = b.indices.data;
  const double* va = a.values.data;
  const double* vb = b.values.data;
  int ka = 0, kb = 0;
  while (ka < na && kb < nb) {
    const int atA = ia[ka], atB = ib[kb];
    if (std::min(atA, atB) >= indexLimit) break;
    if (atA < atB)
      writer.append(sa * va[ka++], atA);
    else if (atB < atA)
      writer.append(sb * vb[kb++], atB);
    else
      writer.append(sa * va[ka++] + sb * vb[kb++], atA);
  }
  for (; ka < na && ia[ka] < indexLimit; ++ka) writer.append(sa * va[ka], ia[ka]);
  for (; kb < nb && ib[kb] < indexLimit; ++kb) writer.append(sb * vb[kb], ib[kb]);
  writer.finish();
}

void sum(SpVec& a, SpVec& b, SpVec& out) { ssum(a, 1.0, b, 1.0, out); }
