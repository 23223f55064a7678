#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <utility>

#include "limber/solvers/detail/Corrections.h"
#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/PowersOfTwo.h"
#include "limber/solvers/detail/SmallCholesky.h"
#include "limber/solvers/detail/SolveMethods.h"
#include "limber/solvers/detail/SparseCholesky.h"

namespace limber::detail {
namespace {

// The diagonal, 0 where no element is stored.
Doubles diagonalOf(const SparseRows& rows) {
  Doubles diagonal(rows.height);
  for (int i = 0; i < rows.height; ++i) {
    for (int k = rows.start[i]; k < rows.start[i + 1]; ++k) {
      if (rows.index[k] == i) diagonal[i] = rows.value[k];
    }
  }
  return diagonal;
}

// The scaled system D A D, whose diagonal is near 1. D is the identity if the diagonal is already similar to
// 1.
struct Equilibrated : MatrixInUnits {
  Doubles diagonal, inverseDiagonal;
  // True if the elements of the diagonal have very different sizes.
  bool graded = false;
  // Row i has no entries to the left of column i - halfBandwidth.
  int halfBandwidth = 0;

  explicit Equilibrated(LinearSystem& system) : MatrixInUnits(system), diagonal(diagonalOf(rows())) {
    const int n = rows().height;
    Ints powers(n);
    for (int i = 0; i < n; ++i) powers[i] = -(exponentOf(diagonal[i]) >> 1);
    graded = !within(powers, 18);
    if (!within(powers, similar)) {
      for (int i = 0; i < n; ++i) diagonal[i] = timesPowerOfTwo(diagonal[i], 2 * powers[i]);
      copy = rows();
      copy.scale(powers.data(), powers.data());
      units.rows = units.columns = powers;
    }
    inverseDiagonal = diagonal;
    for (double& d : inverseDiagonal) d = d > 0.0 ? 1.0 / d : 1.0;
    const Ints &start = rows().start, &index = rows().index;
    for (int i = 0; i < n; ++i) {
      if (start[i] < start[i + 1]) halfBandwidth = std::max(halfBandwidth, i - index[start[i]]);
    }
  }
  // True if the band can be factored in the time of a few products.
  bool narrow() const {
    return 1.0 * rows().height * halfBandwidth * halfBandwidth <= 10.0 * rows().entries();
  }
};

Outcome diagonalCG(LinearSystem& system, Equilibrated& scaled, int iterations) {
  DiagonalInverse inverse(scaled.inverseDiagonal);
  return correct(system, conjugateGradients, scaled.units, scaled.map(), &inverse, iterations,
                 &system.condition);
}

// True if the direction at which the factor failed has a curvature p^T A p < 0 beyond all rounding. A
// semidefinite matrix, rounded, may fail to have a factor and yet have no such direction.
bool provenIndefinite(const SparseRows& A, SparseCholesky& failed) {
  const int n = A.height;
  Doubles p(n), q(n);
  failed.failedDirection(p.data());
  scaleByPowerOfTwo(n, p.data(), -largestExponent(n, p.data()));
  A.multiply(p.data(), q.data());
  const double square = fixedDot(n, p.data(), p.data());
  const double norm = std::max(fixedNorm(n, q.data()) / std::sqrt(square), 1.0);
  return fixedDot(n, p.data(), q.data()) < -certainCurvature * n * norm * square;
}

// Solves a small system with a Cholesky factor, unless that may be singular or costs more than iterations.
void solveSmall(LinearSystem& system, Equilibrated& scaled) {
  SmallCholesky cholesky;
  if (!SmallCholesky::isCheap(scaled.rows()) || !cholesky.factor(scaled.rows())) return;
  refine(system, scaled.units, [&](const Doubles& u, Doubles* d) {
    *d = u;
    cholesky.solve(d->data());
  });
}

enum class Factor { costly, failed, complete };

// Conjugate gradients, preconditioned by a Cholesky factor if there is one that does not cost too much.
Factor choleskyCG(LinearSystem& system, Equilibrated& scaled, const Allowance& allowance, int iterations,
                  Outcome* outcome) {
  try {
    Elimination elimination;
    if (scaled.narrow()) {
      elimination = bandElimination(scaled.rows().height, scaled.halfBandwidth);
    } else if (!eliminateSymmetric(scaled.rows(), allowance, &elimination)) {
      return Factor::costly;
    }
    SparseCholesky cholesky;
    if (!cholesky.factor(scaled.rows(), std::move(elimination))) {
      *outcome = provenIndefinite(scaled.rows(), cholesky) ? Outcome::indefinite : Outcome::stuck;
      return Factor::failed;
    }
    system.measurePrecisely();
    *outcome = correct(system, conjugateGradients, scaled.units, scaled.map(), &cholesky, iterations);
    return Factor::complete;
  } catch (const std::bad_alloc&) {
    return Factor::costly;
  }
}

// True if an entry and its mirror image differ by more than rounding.
bool differs(double a, double b) {
  return std::fabs(a - b) > 1e-10 * std::max(std::fabs(a), std::fabs(b)) && std::fabs(a - b) > 1e-14;
}

// True if each row equals the column with the same number, entry by entry.
bool symmetric(const SparseRows& A) {
  const SparseRows T = A.transposed();
  for (int i = 0; i < A.height; ++i) {
    int k = A.start[i], t = T.start[i];
    while (k < A.start[i + 1] || t < T.start[i + 1]) {
      const int j = k < A.start[i + 1] ? A.index[k] : A.width;
      const int l = t < T.start[i + 1] ? T.index[t] : A.width;
      if (differs(j <= l ? A.value[k] : 0.0, l <= j ? T.value[t] : 0.0)) return false;
      k += j <= l;
      t += l <= j;
    }
  }
  return true;
}

// Examines D A D and recognises some matrices that are not symmetric or not positive definite.
Outcome inspect(const Equilibrated& scaled) {
  const SparseRows& A = scaled.rows();
  const int n = A.height;
  // for each row, the next entry to the right of the diagonal; the mirror images come in ascending order of
  // rows
  Ints next(n);
  const Doubles& diagonal = scaled.diagonal;
  bool mirrored = true, dominated = true;
  for (int i = 0; i < n; ++i) {
    int k = A.start[i];
    for (; k < A.start[i + 1] && A.index[k] < i; ++k) {
      const int j = A.index[k];
      const int at = next[j];
      const double a = A.value[k];
      if (at < A.start[j + 1] && A.index[at] == i) {
        mirrored &= !differs(a, A.value[at]);
        ++next[j];
      } else {
        mirrored = false;
      }
      // every positive definite matrix has |a_ij|^2 <= a_ii a_jj
      dominated &= !(a * a > diagonal[i] * diagonal[j] * (1.0 + 1e-10));
    }
    next[i] = k + (k < A.start[i + 1] && A.index[k] == i);
    if (diagonal[i] < 0.0) return Outcome::indefinite;
  }
  for (int i = 0; i < n; ++i) mirrored &= next[i] == A.start[i + 1];
  if (!mirrored && !symmetric(A)) return Outcome::unsymmetric;
  return dominated ? Outcome::done : Outcome::indefinite;
}

}  // namespace

Outcome solveDefinite(LinearSystem& system) {
  Outcome outcome = Outcome::stuck;
  std::unique_ptr<Equilibrated> scaled;
  if (system.haveRows) {
    scaled = std::make_unique<Equilibrated>(system);
    outcome = inspect(*scaled);
    if (outcome != Outcome::done) return outcome;
  }
  const int budget = scaled && scaled->narrow() ? 20 : std::clamp(system.width / 4, 200, 400);
  if (foreignPreconditioner(system) || wantsIdentity(system) || !scaled) {
    ForeignInverse foreign(foreignPreconditioner(system), system.width);
    Inverse* const inverse = foreignPreconditioner(system) ? &foreign : nullptr;
    outcome = correct(system, conjugateGradients, Units(), *system.map, inverse,
                      scaled ? budget : budgetWithoutEntries(system));
  }
  if (!scaled) return outcome;
  if (!system.ended() && !system.run.options.preconditioner) solveSmall(system, *scaled);
  Factor factor = Factor::costly;
  if (!system.ended() && outcome != Outcome::indefinite) {
    system.trial = trialOf(system, 20, 200);
    outcome = escalate(
        system, budget, [&](int iterations) { return diagonalCG(system, *scaled, iterations); },
        [&](const Allowance& allowance, Outcome* result) {
          factor = choleskyCG(system, *scaled, allowance, 100, result);
          return factor != Factor::costly;
        });
  }
  const bool doubtful = scaled->graded || system.condition > 1e8;
  if (worthPolish(system, doubtful)) {
    Outcome polished = outcome;
    system.beginPolish();
    choleskyCG(system, *scaled, polishAllowance(system, doubtful), 3, &polished);
    system.endPolish();
    if (polished == Outcome::indefinite) return polished;
  }
  if (!system.ended() && outcome != Outcome::indefinite &&
      (factor == Factor::failed || system.residual > 1e-6 * system.norm)) {
    // the matrix is singular or nearly so, so look for the best possible solution
    conditionedLsmr(system, Allowance{6e7, 1e9}, 50, &outcome);
    if (!system.ended()) denseMethod(system, lastResort);
  }
  return outcome == Outcome::indefinite || !system.run.mustEnd() ? outcome : system.run.whyEnded();
}

}  // namespace limber::detail
