#include "limber/foundation/detail/ReportSite.h"
#include "limber/geometry/Matrix4x4.h"
#include "limber/geometry/detail/WideInverse.h"
#include "limber/linalg/detail/GaussJordan.h"

// Degenerate input of invertMatrix:
//   an exactly zero pivot   "GAUSSJ: Singular Matrix4x4*-2", 0; the division goes on, the entries are then
//                           not finite
//   all candidates NaN      pivot columns repeat: "GAUSSJ: Singular Matrix4x4*-1" for each row searched
//                           from the third step on, 0
//   nearly singular         1, and the result of the division by a tiny pivot

namespace {

using namespace limber::detail;

struct SingularReports : GaussJordanWatcher {
  explicit SingularReports(int r) : report(r) {}

  void columnUsedTwice() { fail("GAUSSJ: Singular Matrix4x4*-1", 260); }
  void zeroPivot() { fail("GAUSSJ: Singular Matrix4x4*-2", 272); }

  int report;
  int success = 1;

 private:
  void fail(const char* message, int line) {
    if (report) ReportSite{"Matrix", line}.error(message);
    success = 0;
  }
};

}  // namespace

int invertMatrix(Matrix4x4* M, int report) {
  if (invertWide(&M->m[0][0])) return 1;
  SingularReports watcher(report);
  gaussJordanFixed<4>(&M->m[0][0], 4, watcher);
  return watcher.success;
}
