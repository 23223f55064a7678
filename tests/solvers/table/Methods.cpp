// Runs each method of the solvers by itself, so that no later method can correct its result.
#include "limber/solvers/detail/SolveMethods.h"

#include <functional>

#include "limber/solvers/detail/BiCGStab.h"
#include "limber/solvers/detail/ConjugateGradients.h"
#include "limber/solvers/detail/IncompleteLu.h"
#include "limber/solvers/detail/Lsmr.h"
#include "tests/solvers/table/Table.h"

namespace {

using namespace table;
using namespace limber::detail;

int observe(int iteration, double rsq, void* data) {
  static_cast<Hash*>(data)->add(iteration);
  static_cast<Hash*>(data)->add(rsq);
  return 0;
}

// Runs a method on the system and prints the result. `method` returns the method's report.
void run(Line* line, const std::string& name, const System& system, LinearSystem::Kind kind, double relative,
         bool start, const std::function<std::string(LinearSystem&)>& method) {
  Hash trace;
  SolveOptions options;
  options.relative = relative;
  options.observer = observe;
  options.observerData = &trace;
  LinearSystem its(options, kind);
  golden::Numbers numbers(8);
  const Vector from = start ? vectorOf(&numbers, system.A.width()) : Vector();
  if (its.take(system.A.matrix(), system.b, from)) return;
  const std::string says = method(its);
  line->add(name, says + " " + std::to_string(its.run.iterations) + " " + std::to_string(its.map->products) +
                      " x " + hashOf(its.x) + " r " + hashOf(its.r) + " " + hashOf(its.residual) + " trace " +
                      trace.text() + " condition " + hashOf(its.condition) + (its.nearest ? " nearest" : "") +
                      (its.fullRank ? " full rank" : "") + (its.swollen() ? " swollen" : "") +
                      (its.converged() ? " converged" : ""));
}

std::string textOf(Outcome outcome) { return std::to_string(static_cast<int>(outcome)); }

void methods() {
  for (const System& system : systems()) {
    Line line(system.name);
    for (const bool start : {false, true}) {
      const double relative = start ? 1e-13 : 1e-8;
      const std::string from = start ? " from a start" : "";
      const auto least = [&](const std::string& name,
                             const std::function<std::string(LinearSystem&)>& method) {
        run(&line, name + from, system, LinearSystem::Kind::leastSquares, relative, start, method);
      };
      least("LSMR", [](LinearSystem& its) { return textOf(scaledLsmr(its, 300)); });
      least("thin", [](LinearSystem& its) { return std::to_string(thinMethod(its)); });
      least("QR", [](LinearSystem& its) { return std::to_string(denseMethod(its, lastResort)); });
      least("R and LSMR", [](LinearSystem& its) {
        Outcome outcome = Outcome::stuck;
        const bool made = conditionedLsmr(its, Allowance(), 30, &outcome);
        return std::to_string(made) + textOf(outcome) + (farFromMinimum(its) ? " far" : "");
      });
      if (system.A.height() != system.A.width()) continue;
      run(&line, "square QR" + from, system, LinearSystem::Kind::square, relative, start,
          [](LinearSystem& its) { return std::to_string(denseMethod(its, lastResort)); });
    }
  }
}

// The iterations themselves, with and without a weight and a trial.
void iterations() {
  for (const System& system : systems()) {
    Line line(system.name);
    const SparseRows A = rowsOf(system.A.matrix());
    RowsMap map(A);
    Doubles weight(A.height);
    for (int i = 0; i < A.height; ++i) weight[i] = 0.5 + i % 3;
    for (const bool trial : {false, true}) {
      SolveOptions options;
      Goal goal;
      double size = 0.0;
      for (int i = 0; i < A.height; ++i) size += system.b[i] * system.b[i];
      goal.residual = (trial ? 1e-11 : 1e-6) * std::sqrt(size);
      goal.relative = trial ? 1e-4 : HUGE_VAL;
      goal.iterations = 1000;
      goal.weight = trial ? weight.data() : nullptr;
      if (trial) goal.trial = Trial{10, 50};
      const auto print = [&](const std::string& name, const std::string& more, Outcome outcome,
                             const SolveRun& its, const Doubles& r, const Doubles& d) {
        line.add(name + (trial ? " on trial" : ""), more + textOf(outcome) + " " +
                                                        std::to_string(its.iterations) + " " + hashOf(r) +
                                                        " " + hashOf(d));
      };
      const auto right = [&] {
        Doubles r(A.height);
        for (int i = 0; i < A.height; ++i) r[i] = system.b[i];
        return r;
      };
      {
        LsmrGoal its;
        its.residual = goal.residual;
        its.iterations = 1000;
        its.every = trial ? 0.5 : 0.0;
        Hash checked;
        its.check = [&](const double* d) {
          checked.add(A.width, d);
          return 2.0;
        };
        if (!trial) its.check = nullptr;
        its.truth = 1.0;
        SolveRun solve(options);
        solve.expect(A.width);
        Doubles r = right(), d(A.width);
        const LsmrResult result = lsmr(map, r.data(), d.data(), its, solve);
        print("LSMR", hashOf(result.condition) + (result.checked ? " checked " : " ") + checked.text(),
              result.outcome, solve, r, d);
      }
      if (A.height != A.width) continue;
      IncompleteLu incomplete;
      const bool factored = incomplete.factor(A);
      for (Inverse* const inverse : {static_cast<Inverse*>(nullptr), static_cast<Inverse*>(&incomplete)}) {
        if (inverse && !factored) continue;
        const std::string with = inverse ? " with ILU" : "";
        SolveRun first(options), second(options);
        first.expect(A.width);
        second.expect(A.width);
        Doubles r = right(), d(A.width);
        double condition = 0.0;
        goal.condition = &condition;
        const Outcome cg = conjugateGradients(map, inverse, r.data(), d.data(), goal, first);
        print("CG" + with, hashOf(condition), cg, first, r, d);
        r = right();
        const Outcome stab = biCGStab(map, inverse, r.data(), d.data(), goal, second);
        print("BiCGSTAB" + with, "", stab, second, r, d);
      }
    }
  }
}

const golden::Part parts[] = {{"methods", methods}, {"iterations", iterations}};

}  // namespace
