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
  std::vector<Constraint> wishes;
  try {
    wishes = readScript(file.path(), nullptr, small).constraints;
  } catch (const Error& error) {
    REQUIRE(std::strncmp(error.what(), file.path().c_str(), file.path().size()) == 0);
    return 0;
  }
  for (const Constraint& wish : wishes) {
    REQUIRE(wish.frame >= 0 && wish.frame < small.frames);
    REQUIRE(wish.joint >= 0 && wish.joint < static_cast<int>(small.joints.size()));
    REQUIRE(std::isfinite(wish.weight) && wish.weight > 0.0);
    REQUIRE(std::isfinite(wish.target.x) && std::isfinite(wish.target.y) && std::isfinite(wish.target.z));
  }
  sortByFrame(&wishes);
  for (std::size_t i = 1; i < wishes.size(); ++i) {
    const Constraint &a = wishes[i - 1], &b = wishes[i];
    REQUIRE(a.frame < b.frame || (a.frame == b.frame && a.joint < b.joint));
  }
  if (wishes.empty()) return 0;
  Clip clip = small;
  EditOptions options;
  options.mostSteps = 2;
  Edit edit(clip, options);
  edit.add(wishes);
  const Report report = edit.solve();
  REQUIRE(std::isfinite(report.missAfter));
  for (const double value : clip.values) REQUIRE(std::isfinite(value));
  return 0;
}
