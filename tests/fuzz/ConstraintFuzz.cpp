// Any bytes are either a script or an error that names the file. The constraints of a script fit the clip,
// and two steps of an edit with a few of them give finite numbers.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "limber/limber.h"
#include "limber_motion/motion.h"
#include "tests/fuzz/MemoryFile.h"
#include "tests/motion/SmallClip.h"

namespace {

using namespace limber::motion;

Clip smallOne() {
  const MemoryFile file(smallClip.data(), smallClip.size());
  return readClip(file.path().c_str(), nullptr);
}

int silent(const char*) { return 0; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Clip small = smallOne();
  stdoutF = stderrF = silent;
  const MemoryFile file(data, size);
  std::vector<Constraint> constraints;
  try {
    constraints = readScript(file.path(), nullptr, small).constraints;
  } catch (const Error& error) {
    REQUIRE(std::strncmp(error.what(), file.path().c_str(), file.path().size()) == 0);
    return 0;
  }
  for (const Constraint& constraint : constraints) {
    REQUIRE(constraint.frame >= 0 && constraint.frame < small.frames);
    REQUIRE(constraint.joint >= 0 && constraint.joint < static_cast<int>(small.joints.size()));
    REQUIRE(std::isfinite(constraint.weight) && constraint.weight > 0.0);
    REQUIRE(std::isfinite(constraint.target.x) && std::isfinite(constraint.target.y) &&
            std::isfinite(constraint.target.z));
  }
  sortByFrame(&constraints);
  for (std::size_t i = 1; i < constraints.size(); ++i) {
    const Constraint &a = constraints[i - 1], &b = constraints[i];
    REQUIRE(a.frame < b.frame || (a.frame == b.frame && a.joint < b.joint));
  }
  if (constraints.empty()) return 0;
  Clip clip = small;
  EditOptions options;
  options.mostSteps = 2;
  Edit edit(clip, options);
  edit.add(constraints);
  const Report report = edit.solve();
  REQUIRE(std::isfinite(report.missAfter));
  for (const double value : clip.values) REQUIRE(std::isfinite(value));
  return 0;
}
