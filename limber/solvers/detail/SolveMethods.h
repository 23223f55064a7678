#pragma once

/// @file
/// The methods of Solve.h. Each one improves the solution as far as it can and returns how it ended. The
/// system knows whether it is solved.

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/Elimination.h"
#include "limber/solvers/detail/LinearSystem.h"

namespace limber::detail {

/// min |A x - b|.
Outcome solveByLeastSquares(LinearSystem& system);
/// A x = b for a symmetric positive definite A.
Outcome solveDefinite(LinearSystem& system);
/// A x = b.
Outcome solveAnySquare(LinearSystem& system);

/// The single least-squares methods: LSMR with scaled columns, and LSMR preconditioned by a QR factor. The
/// second one returns false if the factor costs too much, or if numbers overflow when it is applied.
Outcome scaledLsmr(LinearSystem& system, int iterations);
bool conditionedLsmr(LinearSystem& system, const Allowance& allowance, int iterations, Outcome* outcome);

/// Solves for corrections with the Cholesky factor of A^T A, for a least-squares matrix with few columns.
/// False if there are too many columns, or if they may be dependent.
bool thinMethod(LinearSystem& system);
/// A dense QR factor with iterative refinement, for small systems of any rank. If the columns of a
/// least-squares matrix are dependent, x moves to the solution nearest to the start. False if the factor
/// costs too much.
bool denseMethod(LinearSystem& system, const Allowance& allowance);

/// The exponent of the power of two that brings the largest entry of row i near 1, and those of all rows.
int rowPowerOf(const SparseRows& rows, int i);
Ints rowPowers(const SparseRows& rows);
/// For each column, the exponent of the power of two that brings its largest entry near 1, and the inverse of
/// its norm after that.
void scaleColumns(const SparseRows& rows, Ints* powers, Doubles* inverseNorms);
/// Scales the columns to norms of 1, first by these powers of two and then by these factors.
void normaliseColumns(SparseRows* rows, Ints* powers, Doubles* factors);

/// True if all of these exponents are between -limit and limit.
bool within(const Ints& powers, int limit);
/// Powers of two with exponents within these can be multiplied without overflow, or need not be applied.
constexpr int moderate = 300, similar = 3;

/// The caller's preconditioner, or null if there is none or it is the identity.
Preconditioner* foreignPreconditioner(const LinearSystem& system);
/// True if the caller asks for the identity as preconditioner.
bool wantsIdentity(const LinearSystem& system);
/// The number of iterations of a first method before a factorization is tried: the number of unknowns, within
/// bounds.
int firstBudget(const LinearSystem& system, int minIterations, int maxIterations);

/// The same for a method that has only products. With so many iterations it costs about as much as a copy of
/// the columns.
int budgetWithoutEntries(const LinearSystem& system);

/// The trial for a sparse system whose factor costs about as much as `maxIterations` iterations. No trial for
/// others.
inline Trial trialOf(const LinearSystem& system, int iterations, int maxIterations) {
  constexpr int tiny = 50, large = 3000, full = 50;
  const int n = system.width;
  const bool cheap = n >= tiny && n <= large && system.rows.entries() <= static_cast<double>(full) * n;
  return cheap ? Trial{iterations, maxIterations} : Trial();
}

/// Alternates between a first method and a factorization. first(iterations) continues with four times as many
/// iterations in each round. If that does not come close to the goal, direct(allowance, &outcome) follows; it
/// returns false if it costs too much. It may cost a few times as much as was spent so far, or all that is
/// allowed once the first method is stuck.
template <class First, class Direct>
Outcome alternate(LinearSystem& system, int iterations, First first, Direct direct) {
  bool again = false;
  for (;; iterations = again ? iterations : std::min(iterations, system.run.limit / 4) * 4) {
    const int begin = system.run.iterations;
    const double before = system.residual;
    Outcome outcome = first(iterations);
    if (system.ended() || outcome == Outcome::indefinite) return outcome;
    const bool stuck = outcome != Outcome::slow && system.run.iterations - begin < iterations;
    system.trial = Trial();
    // more than halfway to the goal: the same number of iterations should be enough, without a factorization
    again = !again && !stuck && outcome != Outcome::slow &&
            std::log(before / system.residual) > 0.5 * std::log(before / system.goal);
    if (again) continue;
    Allowance allowance;
    if (!stuck) allowance.operations = std::min(allowance.operations, 4.0 * system.spent() + 1e7);
    if (direct(allowance, &outcome)) return outcome;
    if (stuck && !(system.residual < 0.9 * before)) return outcome;
  }
}

/// The same. A failure of the library's own preconditioner means that these methods are stuck; the caller's
/// preconditioner is not to blame for it.
template <class First, class Direct>
Outcome escalate(LinearSystem& system, int iterations, First first, Direct direct) {
  const Outcome outcome = alternate(system, iterations, first, direct);
  return outcome == Outcome::preconditioner ? Outcome::stuck : outcome;
}

/// The largest cost of a dense factor if nothing else has led to a solution.
constexpr Allowance lastResort{3e7, 4e9};

/// True if x may be far from the least-squares solution: |b - A x| is not small and, judged by A^T (b - A x),
/// not near its minimum.
bool farFromMinimum(const LinearSystem& system);
/// True if a factor should improve a solution whose residual is already small enough. This is so if the
/// residual is known to say little about x, or if the system is small and the factor costs little.
bool worthPolish(const LinearSystem& system, bool doubtful);
/// The largest cost of a factor that only improves a solution that is already good enough.
Allowance polishAllowance(const LinearSystem& system, bool doubtful);

}  // namespace limber::detail
