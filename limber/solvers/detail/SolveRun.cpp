#include "limber/solvers/detail/SolveRun.h"

#include <algorithm>
#include <climits>

#include "limber/solvers/detail/PowersOfTwo.h"

namespace limber::detail {

SolveRun::SolveRun(const SolveOptions& chosen)
    : options(chosen), limit(chosen.maxIterations), begin_(std::chrono::steady_clock::now()) {}

void SolveRun::expect(int unknowns) {
  const long long generous = 20LL * unknowns + 1000;
  if (options.maxIterations == 0) limit = static_cast<int>(std::min<long long>(generous, INT_MAX));
}

double SolveRun::seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
}

void SolveRun::observe(double residual) {
  const double norm = timesPowerOfTwo(residual, unit);
  stopped |= options.observer(iterations, norm * norm, options.observerData) != 0;
}

SolveReport badInput(const char* message) { return {SOLVE_BAD_INPUT, 0, 0, 0.0, 0.0, 0.0, message}; }

const char* complaint(const SolveOptions& options) {
  if (!(options.relative >= 0.0)) return "The relative residual asked for is negative or not a number.";
  if (options.maxIterations < 0) return "The iteration limit is negative.";
  return nullptr;
}

}  // namespace limber::detail
