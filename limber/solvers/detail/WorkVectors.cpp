#include "limber/solvers/detail/WorkVectors.h"

#include <climits>

#include "limber/foundation/detail/CreatedOnFirstUse.h"

namespace limber::detail {

double cgStagnationLimit = -1.0;
double cgNormalDamping = 0.0;

CGWork& cgWork() { return createdOnFirstUse<CGWork>(); }

int cgIterationLimit(int n) {
  const long long limit = static_cast<long long>(n) * cg_maxIters;
  return static_cast<int>(std::clamp<long long>(limit, INT_MIN, INT_MAX));
}

void cgNegativeDifference(Vector* out, const Vector* b) {
  const int n = std::min(out->count, b->count);
  for (int i = 0; i < n; ++i) out->data[i] = (out->data[i] - b->data[i]) * -1.0;
  for (int i = n; i < out->count; ++i) out->data[i] *= -1.0;
}

}  // namespace limber::detail
