#include <string>

#include "clip.h"

namespace {

constexpr double degrees = 180.0 / 3.14159265358979323846;

/// The examples never leave the "C" locale, so the point is a point.
void number(std::FILE* out, double value) { std::fprintf(out, " %.6f", value); }

void writeJoint(const Clip& clip, std::size_t j, int depth, std::FILE* out) {
  const std::string indent(static_cast<std::size_t>(depth), '\t');
  const Joint& joint = clip.joints[j];
  const char* const in = indent.c_str();
  if (joint.endSite) {
    std::fprintf(out, "%sEnd Site\n%s{\n", in, in);
  } else {
    std::fprintf(out, "%s%s %s\n%s{\n", in, joint.parent < 0 ? "ROOT" : "JOINT", joint.name.c_str(), in);
  }
  std::fprintf(out, "%s\tOFFSET", in);
  number(out, joint.offset.x);
  number(out, joint.offset.y);
  number(out, joint.offset.z);
  std::fprintf(out, "\n");
  if (!joint.endSite) {
    std::fprintf(out, "%s\tCHANNELS %zu", in, joint.channels.size());
    for (const Channel& c : joint.channels)
      std::fprintf(out, " %c%s", c.axis, c.rotation ? "rotation" : "position");
    std::fprintf(out, "\n");
  }
  for (std::size_t child = j + 1; child < clip.joints.size(); child++) {
    if (clip.joints[child].parent == static_cast<int>(j)) writeJoint(clip, child, depth + 1, out);
  }
  std::fprintf(out, "%s}\n", in);
}

}  // namespace

void writeClip(const Clip& clip, std::FILE* out) {
  std::fprintf(out, "HIERARCHY\n");
  writeJoint(clip, 0, 0, out);
  std::fprintf(out, "MOTION\nFrames: %d\nFrame Time: %.9g\n", clip.frames, clip.frameTime);
  for (int f = 0; f < clip.frames; f++) {
    const double* const values = clip.frame(f);
    for (const Joint& joint : clip.joints) {
      int c = joint.firstChannel;
      for (const Channel& channel : joint.channels) {
        number(out, values[c] * (channel.rotation ? degrees : 1.0));
        c++;
      }
    }
    std::fprintf(out, "\n");
  }
}
