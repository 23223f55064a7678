// Edits a motion clip: joints are put where a script says, by the smallest smooth change of the joint angles.

#include <chrono>
#include <cstdio>

#include "drawing.h"
#include "failure.h"
#include "foot_plants.h"
#include "input_error.h"
#include "options.h"
#include "output_file.h"

namespace {

constexpr double degrees = 180.0 / 3.14159265358979323846;

void printStep(const EditStep& step) {
  std::printf("  step %2d: largest miss %10.5f -> %10.5f cm", step.number, step.before, step.after);
  if (step.scale < 1.0) std::printf("  (%g of the step)", step.scale);
  std::printf("  %d iterations%s  %.3f s\n", step.iterations < 0 ? -step.iterations : step.iterations,
              step.iterations < 0 ? " (gave up)" : "", step.seconds);
}

std::vector<ConvergenceCurve> compare(const Clip& clip, const std::vector<Constraint>& constraints,
                                      const Options& options) {
  struct {
    const char* name;
    EditOptions::Preconditioning kind;
  } const all[] = {
      {"none", EditOptions::None}, {"jacobi", EditOptions::Jacobi}, {"banded", EditOptions::Banded}};
  std::vector<ConvergenceCurve> curves;
  for (const auto& one : all) {
    if (!options.compare && one.kind != options.edit.preconditioning) continue;
    const auto begun = std::chrono::steady_clock::now();
    ConvergenceCurve curve{one.name, 0.0, convergence(clip, constraints, options.edit, one.kind)};
    curve.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
    curves.push_back(curve);
  }
  return curves;
}

int edit(const Options& options) {
  OutputFile motion(options.output + ".bvh"), drawing(options.output + ".ai"),
      curves(options.output + "-convergence.ai");
  const char* const path = options.searchPath.empty() ? nullptr : options.searchPath.c_str();
  Clip clip = limber::motion::readClip(options.clip, path);
  for (const std::string& note : clip.notes) std::printf("note: %s\n", note.c_str());
  const Clip before = clip;
  const Skeleton skeleton(before);
  std::printf("%s: %zu joints and end sites, %d channels, %d frames, height %.1f cm\n", options.clip.c_str(),
              clip.joints.size(), clip.channels, clip.frames, skeleton.height());

  std::vector<Constraint> constraints =
      options.constraints.empty()
          ? findFootPlants(before, skeleton, options.shortestPlant, options.edit.knotSpacing)
          : limber::motion::readScript(options.constraints, path, before).constraints;
  if (constraints.empty()) {
    throw InputError(options.constraints.empty()
                         ? options.clip + ": no foot plants found, and no script given"
                         : options.constraints + ": no constraints in the script");
  }
  limber::motion::sortByFrame(&constraints);
  std::printf("%zu position constraints\n", constraints.size());

  const EditResult result = editMotion(&clip, constraints, options.edit, printStep);
  std::printf("largest constraint error: %.5f cm before, %.5f cm after (goal %.5f cm)\n", result.missBefore,
              result.missAfter, result.goal);
  std::printf("largest joint change: %.2f degrees (%s); largest second difference %.3f degrees a frame^2\n",
              result.largestChange * degrees, result.largestChangeOf.c_str(), result.largestBend * degrees);
  std::printf("%d steps, %d iterations, %.3f s\n", result.steps, result.iterations, result.seconds);

  std::fputs(limber::motion::textOf(clip).c_str(), motion.stream());
  drawEdit(before, clip, constraints, options.figures, drawing.stream());
  drawConvergence(compare(before, constraints, options), curves.stream());
  for (OutputFile* file : {&motion, &drawing, &curves}) file->complete();
  for (OutputFile* file : {&motion, &drawing, &curves}) file->finish();
  std::printf("wrote %s, %s and %s\n", motion.path().c_str(), drawing.path().c_str(), curves.path().c_str());
  if (!result.met) {
    std::fprintf(stderr,
                 "motion_edit: the goal was not met: a joint is still %.5f cm from where it shall be\n",
                 result.missAfter);
    return 1;
  }
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  const QuietAllocations quiet;
  try {
    const int status = edit(readOptions(count, arguments));
    requireStandardOutput("motion_edit");
    return status;
  } catch (...) {
    return reportException("motion_edit");
  }
}
