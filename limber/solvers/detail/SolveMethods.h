#pragma once

/// @file
/// The methods of the front door, each from where the system is to where it gets. They return how they ended;
/// the system knows whether it is solved.

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

/// The least-squares methods one by one: LSMR with scaled columns, and LSMR behind a QR factor. The second
/// one is false where the factor costs too much.
Outcome scaledLsmr(LinearSystem& system, int iterations);
bool conditionedLsmr(LinearSystem& system, const Allowance& allowance, int iterations, Outcome* outcome);

/// Corrections behind the Cholesky factor of A^T A, for a least-squares matrix of few columns. False where
/// there are too many, or where they may be dependent.
bool thinMethod(LinearSystem& system);
/// A dense QR factor with the solution refined behind it, for small systems of any rank. Where the columns of
/// a least-squares matrix are dependent, x moves to the solution nearest to the start. False where it costs
/// too much.
bool denseMethod(LinearSystem& system, const Allowance& allowance);

/// Per row, the exponent that brings its largest entry near 1.
Ints rowPowers(const SparseRows& rows);
/// Per column, the exponent that brings its largest entry near 1, and one over its norm then.
void scaleColumns(const SparseRows& rows, Ints* powers, Doubles* inverseNorms);

/// Whether powers of two with these exponents can be multiplied without overflow.
bool moderate(const Ints& powers);

/// The caller's preconditioner, null where it is the identity or there is none.
Preconditioner* foreignPreconditioner(const LinearSystem& system);
/// Whether the caller asks for no preconditioner.
bool wantsIdentity(const LinearSystem& system);
/// Iterations for a first method before a factorization is worth a try: about the unknowns, within bounds.
int firstBudget(const LinearSystem& system, int least, int most);

/// The same for a method that has only products: so many that a copy of the columns costs no more.
int budgetWithoutEntries(const LinearSystem& system);

/// A first method and a factorization by turns: first(iterations) goes on for four times as long every time,
/// and where that does not lead far direct(allowance, &outcome), which is false where it costs too much, may
/// cost a few times what was spent, or all that is allowed once the first method is stuck.
template <class First, class Direct>
Outcome escalate(LinearSystem& system, int iterations, First first, Direct direct) {
  bool again = false;
  for (;; iterations = again ? iterations : std::min(iterations, system.run.limit / 4) * 4) {
    const int begin = system.run.iterations;
    const double before = system.residual;
    Outcome outcome = first(iterations);
    if (system.ended() || outcome == Outcome::indefinite) return outcome;
    const bool stuck = system.run.iterations - begin < iterations;
    // halfway at least: as many iterations again should do, without a factorization
    again = !again && !stuck && std::log(before / system.residual) > 0.5 * std::log(before / system.goal);
    if (again) continue;
    Allowance allowance;
    if (!stuck) allowance.operations = std::min(allowance.operations, 4.0 * system.spent() + 1e7);
    if (direct(allowance, &outcome)) return outcome;
    if (stuck && !(system.residual < 0.9 * before)) return outcome;
  }
}

/// What a dense factor may cost where nothing else has led to a solution.
constexpr Allowance lastResort{3e7, 4e9};

/// Whether |b - A x| of a least-squares solution is neither small nor, by what is left of A^T (b - A x), near
/// the smallest there is: x may be far from it.
bool farFromMinimum(const LinearSystem& system);
/// Whether a factor should make a solution better whose residual is small enough already: where the residual
/// is known to say little about x, and for a small system, where it costs next to nothing.
bool worthPolish(const LinearSystem& system, bool doubtful);
/// What a factor may cost that only makes a solution better which is good enough already.
Allowance polishAllowance(const LinearSystem& system, bool doubtful);

}  // namespace limber::detail
