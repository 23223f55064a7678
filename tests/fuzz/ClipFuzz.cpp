// Any bytes are either a clip or an error that names the file. A clip is complete, its poses are finite, its
// contacts lie inside it, and after writing it reads back as the same clip.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "limber_motion/motion.h"
#include "tests/fuzz/MemoryFile.h"

namespace {

using namespace limber::motion;

bool close(double a, double b) { return std::fabs(a - b) <= 0.51e-6 + 1e-15 * std::fabs(a); }

void checkWhole(const Clip& clip) {
  REQUIRE(clip.frames >= 1 && clip.channels >= 1 && clip.frameTime > 0.0);
  REQUIRE(clip.values.size() ==
          static_cast<std::size_t>(clip.frames) * static_cast<std::size_t>(clip.channels));
  for (const double value : clip.values) REQUIRE(std::isfinite(value));
  int channels = 0, j = 0;
  for (const Joint& joint : clip.joints) {
    REQUIRE(joint.parent < j && (joint.parent >= 0) == (j > 0));
    REQUIRE(joint.firstChannel == channels);
    channels += static_cast<int>(joint.channels.size());
    ++j;
  }
  REQUIRE(channels == clip.channels);
  const Skeleton skeleton(clip);
  REQUIRE(std::isfinite(skeleton.height()));
  for (const int f : {0, clip.frames - 1}) {
    for (const Pnt3& p : skeleton.positions(clip.frame(f))) {
      REQUIRE(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z));
    }
  }
}

void checkContacts(const Clip& clip) {
  const Contacts contacts = findContacts(clip);
  REQUIRE(!contacts.list.empty() || !contacts.note.empty());
  for (const Contact& contact : contacts.list) {
    REQUIRE(contact.joint >= 0 && contact.joint < static_cast<int>(clip.joints.size()));
    REQUIRE(0 <= contact.first && contact.first <= contact.last && contact.last < clip.frames);
    REQUIRE(std::isfinite(contact.place.x) && std::isfinite(contact.place.y) &&
            std::isfinite(contact.place.z));
  }
}

void checkSame(const Clip& a, const Clip& b) {
  REQUIRE(a.joints.size() == b.joints.size() && a.channels == b.channels && a.frames == b.frames);
  for (std::size_t j = 0; j < a.joints.size(); ++j) {
    REQUIRE(a.joints[j].name == b.joints[j].name && a.joints[j].parent == b.joints[j].parent);
    REQUIRE(close(a.joints[j].offset.y, b.joints[j].offset.y));
  }
  for (std::size_t i = 0; i < a.values.size(); ++i) REQUIRE(close(a.values[i], b.values[i]));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const MemoryFile file(data, size);
  Clip clip;
  try {
    clip = readClip(file.path().c_str(), nullptr);
  } catch (const Error& error) {
    REQUIRE(std::strncmp(error.what(), file.path().c_str(), file.path().size()) == 0);
    return 0;
  }
  checkWhole(clip);
  checkContacts(clip);
  const MemoryFile copy;
  std::FILE* const out = std::fopen(copy.path().c_str(), "wb");
  REQUIRE(out && std::fputs(textOf(clip).c_str(), out) >= 0);
  std::fclose(out);
  checkSame(clip, readClip(copy.path().c_str(), nullptr));
  return 0;
}
