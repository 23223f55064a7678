// Forward kinematics of a motion clip: reads its joints and frames, multiplies each joint's matrix by its
// parent's, and prints where everything is.

#include <algorithm>
#include <cstdio>

#include "failure.h"
#include "input_error.h"
#include "limber_motion/motion.h"
#include "options.h"
#include "output_file.h"
#include "program_name.h"

namespace {

using limber::motion::Clip;
using limber::motion::Joint;
using limber::motion::Skeleton;

void printTable(const Clip& clip, const std::vector<Pnt3>& at) {
  int width = 5;
  for (const Joint& joint : clip.joints) width = std::max(width, static_cast<int>(joint.name.size()));
  std::printf("%-*s  %-*s  %15s  %15s  %15s\n", width, "joint", width, "parent", "x", "y", "z");
  for (std::size_t j = 0; j < at.size(); ++j) {
    const Joint& joint = clip.joints[j];
    const char* const parent =
        joint.parent < 0 ? "-" : clip.joints[static_cast<std::size_t>(joint.parent)].name.c_str();
    std::printf("%-*s  %-*s  %15.9f  %15.9f  %15.9f\n", width, joint.name.c_str(), width, parent, at[j].x,
                at[j].y, at[j].z);
  }
}

void show(const Options& options) {
  if (options.help) {
    std::printf("usage: %s%s", programName().c_str(), usage);
    return;
  }
  if (options.version) {
    std::printf("%s (Limber %s)\n", programName().c_str(), limberVersion());
    return;
  }
  const Clip clip = limber::motion::readClip(options.clip, options.path());
  if (options.frame < 1 || options.frame > clip.frames) {
    throw InputError(options.clip + ": frame " + std::to_string(options.frame) +
                     " is not in the clip, which has frames 1 to " + std::to_string(clip.frames));
  }
  for (const std::string& note : clip.notes) std::fprintf(stderr, "note: %s\n", note.c_str());
  std::printf("%s: frame %d of %d, at %.6f s\n", options.clip.c_str(), options.frame, clip.frames,
              (options.frame - 1) * clip.frameTime);
  printTable(clip, Skeleton(clip).positions(clip.frame(options.frame - 1)));
}

}  // namespace

int main(int count, char** arguments) {
  setProgramName(arguments[0], "limber-skeleton");
  const QuietAllocations quiet;
  try {
    show(readOptions(count, arguments));
    requireStandardOutput(programName());
    return 0;
  } catch (...) {
    return reportException(programName().c_str());
  }
}
