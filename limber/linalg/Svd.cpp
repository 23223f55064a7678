#include "limber/linalg/Svd.h"

#include <algorithm>
#include <climits>

#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/detail/LapackCalls.h"
#include "limber/linalg/detail/LapackLayout.h"

using namespace limber::detail;

namespace {

void reportShapes(const FullMatrix& A, const FullMatrix& U, const FullMatrix& S, const FullMatrix& Vt) {
  const auto report = [](bool differ, int line, const char* message) {
    if (differ) ReportSite{"STMLapack", line}.error(message);
  };
  report(A.numRows != U.numRows, __LINE__, "ARows != URows for lapack svdDecomp");
  report(A.numRows != U.numColumns, __LINE__, "Arows != Ucolumns for lapack svdDecomp");
  report(S.numColumns != A.numColumns, __LINE__, "Scolumns != Acolumns for lapack svdDecomp");
  report(S.numRows != 1, __LINE__, "SRows != 1 for lapack svdDecomp");
  report(Vt.numColumns != A.numColumns, __LINE__, "Vtcolumns != Acolumns for lapack svdDecomp");
  report(Vt.numRows != A.numColumns, __LINE__, "Vtrows != Acolumns for lapack svdDecomp");
}

// DGESVD's optimal length of WORK, if that may be more than the fixed length.
int workLength(const LapackMatrix& a) {
  const long long smaller = std::min(a.m, a.n);
  const long long enough = 2 * smaller * smaller + 128LL * (static_cast<long long>(a.m) + a.n);
  return static_cast<int>(std::min<long long>(std::max<long long>(enough, lapackWorkspaceLength), INT_MAX));
}

}  // namespace

int svdDecomp(FullMatrix* A, FullMatrix* U, FullMatrix* S, FullMatrix* Vt) {
  if (!A) return -5;
  if (!S) return -7;
  if (!Vt) return -8;
  if (!U) return -10;
  reportShapes(*A, *U, *S, *Vt);
  const LapackMatrix a = asLapack(A);
  // LAPACK sees the transpose, V diag(S) U^T: its U is our Vt and its VT is our U, both read by columns.
  const LapackMatrix u = asLapack(Vt);
  const LapackMatrix vt = asLapack(U);
  const LapackMatrix s = asLapack(S);
  const int values = std::min(a.m, a.n);
  const long long room = static_cast<long long>(s.m) * s.n;
  if (room < values) return -7;
  if (u.m < a.m || u.n < a.m) return -8;
  if (vt.m < a.n || vt.n < a.n) return -10;
  int info = 0;
  if (values > 0) {
    const int length = workLength(a);
    double* const work = lapackWorkspace(length);
    if (!work) return -12;
    dgesvd_("A", "A", &a.m, &a.n, a.data, &a.ld, s.data, u.data, &u.ld, vt.data, &vt.ld, work, &length, &info,
            1, 1);
  }
  for (int i = values; i < a.m && i < room; ++i) s.data[i] = 0.0;
  return info;
}
