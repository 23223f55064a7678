#include "editor.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "edit.h"

namespace {

constexpr double leastDamping = 1e-9, mostDamping = 1.0;

double secondsNow() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

EditResult editMotion(Clip* clip, const std::vector<Constraint>& constraints, const EditOptions& options,
                      const std::function<void(const EditStep&)>& progress) {
  const double begun = secondsNow();
  Edit edit(clip, constraints, options);
  EditResult result;
  result.goal = options.goal * edit.height();
  double sum = edit.misses(&result.missBefore);
  double miss = result.missBefore;
  double damping = options.damping;
  while (!(miss <= result.goal) && result.steps < options.steps) {
    EditStep step;
    const double stepBegun = secondsNow();
    step.number = ++result.steps;
    step.before = miss;
    edit.linearize(damping);
    step.iterations = edit.solve(options.preconditioning, 1e-8);
    double trial = sum;
    for (step.scale = 1.0; step.scale > 1e-3; step.scale *= 0.5) {
      edit.apply(step.scale);
      trial = edit.misses(&step.after);
      if (trial < sum) break;
    }
    const bool better = trial < sum;
    if (better) {
      edit.accept(step.scale);
    } else {
      edit.apply(step.scale = 0.0);
      step.after = step.before;
    }
    step.seconds = secondsNow() - stepBegun;
    // Full steps show that the linearization can be trusted, halved ones that it cannot (Levenberg 1944).
    damping =
        step.scale == 1.0 ? std::max(0.1 * damping, leastDamping) : std::min(10.0 * damping, mostDamping);
    result.iterations += std::abs(step.iterations);
    if (progress) progress(step);
    if (!better) break;
    sum = trial;
    miss = step.after;
  }
  result.missAfter = miss;
  result.met = miss <= result.goal;
  edit.measureChange(&result);
  result.seconds = secondsNow() - begun;
  return result;
}

// The solver's own trace, read back: a line "... rsq(VALUE) ..." an iteration.
std::vector<double> convergence(const Clip& clip, const std::vector<Constraint>& constraints,
                                const EditOptions& options, EditOptions::Preconditioning preconditioning) {
  Clip copy = clip;
  Edit edit(&copy, constraints, options);
  edit.linearize(options.damping);
  std::vector<double> history;
  std::FILE* const trace = std::tmpfile();
  if (!trace) return history;
  cgradDribble = trace;
  edit.solve(preconditioning, 1e-8);
  cgradDribble = nullptr;
  std::rewind(trace);
  char line[512];
  while (std::fgets(line, sizeof line, trace)) {
    const std::string text = line;
    const std::size_t at = text.find("rsq(");
    if (text.find("cg:iter") == std::string::npos || at == std::string::npos) continue;
    // The trace's first line has its two labels swapped: the squared residual stands behind "obj (".
    const std::size_t from = history.empty() ? text.find("obj (") + 5 : at + 4;
    history.push_back(std::strtod(text.c_str() + from, nullptr));
  }
  std::fclose(trace);
  return history;
}
