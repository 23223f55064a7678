#include "limber/linalg/SpMat.h"

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/Compact.h"
#include "limber/linalg/HSpMat.h"

using namespace limber::detail;

namespace {

void notImplemented(const char* operation, int line) {
  ReportSite{"Vectors", line}.warn("Function (%s) not implemented", operation);
}

}  // namespace

int SpMat::height() const {
  notImplemented("generic sparse matrix height", __LINE__);
  return 0;
}

int SpMat::width() const {
  notImplemented("generic sparse matrix width", __LINE__);
  return 0;
}

void SpMat::mult(const Vector*, Vector*) const { notImplemented("generic sparse matrix mult", __LINE__); }

void SpMat::multT(const Vector*, Vector*) const { notImplemented("generic sparse matrix multT", __LINE__); }

double SpMat::acc(int, int) const {
  notImplemented("generic sparse matrix acc", __LINE__);
  return 0.0;
}

void SpMat::depict(int packing) {
  if (packing > 0) {
    ReportSite{"Vectors", __LINE__}.error("SpMat::depict packing not supported yet");
    return;
  }
  const int h = height();
  const int w = width();
  for (int i = 0; i < h; ++i) {
    for (int j = 0; j < w; ++j) stdoutPrintf("%s", acc(i, j) != 0.0 ? "*" : " ");
    stdoutPrintf("\n");
  }
}

SpMat* SpMat::compact(double diagAdd, int a, int b) { return naiveCompact(this, diagAdd, a, b); }

void SpMat::scalar(double) { notImplemented("generic SpMat scalar", __LINE__); }
