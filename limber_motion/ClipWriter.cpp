// Writes a clip as BVH text. What has not changed since the clip was read is written as it stood in the file.

#include <algorithm>
#include <cmath>
#include <string>

#include "limber_motion/Clip.h"
#include "limber_motion/Error.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/detail/CheckClip.h"
#include "limber_motion/detail/ClipReader.h"
#include "limber_motion/detail/Degrees.h"
#include "limber_motion/detail/Numbers.h"
#include "limber_motion/detail/WholeFile.h"

namespace limber::motion {

namespace {

using detail::fixed;
using detail::shortest;

bool same(const Joint& a, const Joint& b) {
  if (a.name != b.name || a.parent != b.parent || a.endSite != b.endSite || a.offset != b.offset)
    return false;
  if (a.channels.size() != b.channels.size()) return false;
  for (std::size_t c = 0; c < a.channels.size(); ++c) {
    if (a.channels[c].axis != b.channels[c].axis || a.channels[c].rotation != b.channels[c].rotation)
      return false;
  }
  return true;
}

// The number of decimals, at most 15, that gives a position to a millionth of the body's height. If the unit
// is larger than the body, fewer decimals would move the joints away from their places.
int decimalsOfHeight(const Clip& clip) {
  const double height = Skeleton(clip).height();
  return height > 0.0 && height < 1.0 ? std::min(15, static_cast<int>(std::ceil(6.0 - std::log10(height))))
                                      : 0;
}

class ClipWriter {
 public:
  explicit ClipWriter(const Clip& clip)
      : clip_(clip),
        text_(clip.text ? *clip.text : ClipText()),
        positionDecimals_(std::max(text_.decimals, decimalsOfHeight(clip))) {}

  std::string write() {
    if (keepsHierarchy()) {
      out_ = text_.hierarchy;
      if (out_.find("\r\n") != std::string::npos) lineEnd_ = "\r\n";
    } else {
      out_ = "HIERARCHY\n";
      writeJoint(0, 0);
      checkHierarchy();
    }
    out_ += "MOTION" + lineEnd_ + "Frames: " + std::to_string(clip_.frames) + lineEnd_;
    out_ += "Frame Time: " + frameTime() + lineEnd_;
    for (int f = 0; f < clip_.frames; ++f) writeFrame(f);
    return out_;
  }

 private:
  // True if the hierarchy in the text that the clip was read from still agrees with the clip's joints.
  bool keepsHierarchy() const {
    if (text_.hierarchy.empty()) return false;
    try {
      detail::ClipReader reader(detail::LineReader::ofText("", text_.hierarchy));
      const std::vector<Joint> joints = reader.readHierarchy();
      if (joints.size() != clip_.joints.size()) return false;
      for (std::size_t j = 0; j < joints.size(); ++j) {
        if (!same(joints[j], clip_.joints[j])) return false;
      }
      return true;
    } catch (const Error&) {
      return false;
    }
  }

  // A skeleton that a program has built may be one that no BVH file describes.
  void checkHierarchy() const {
    const std::string fault = "the skeleton cannot be written as BVH: ";
    try {
      const std::vector<Joint> joints =
          detail::ClipReader(detail::LineReader::ofText("its text", out_)).readHierarchy();
      for (std::size_t j = 0; j < clip_.joints.size(); ++j) {
        if (j < joints.size() && joints[j].parent == clip_.joints[j].parent) continue;
        throw Error(
            "each joint must stand after its parent and all that hangs on the parent's earlier children");
      }
    } catch (const Error& error) {
      throw Error(fault + error.what());
    }
  }

  std::string frameTime() const {
    double before;
    const bool kept = detail::parseReal(text_.frameTime, &before) && before == clip_.frameTime;
    return kept ? text_.frameTime : shortest(clip_.frameTime);
  }

  void writeJoint(std::size_t j, int depth) {
    const std::string indent(static_cast<std::size_t>(depth), '\t');
    const Joint& joint = clip_.joints[j];
    out_ += indent + (joint.endSite ? "End Site" : (joint.parent < 0 ? "ROOT " : "JOINT ") + joint.name);
    out_ += "\n" + indent + "{\n" + indent + "\tOFFSET " + shortest(joint.offset.x) + " " +
            shortest(joint.offset.y) + " " + shortest(joint.offset.z) + "\n";
    if (!joint.endSite) {
      out_ += indent + "\tCHANNELS " + std::to_string(joint.channels.size());
      for (const Channel& c : joint.channels) {
        out_ += std::string(" ") + c.axis + (c.rotation ? "rotation" : "position");
      }
      out_ += "\n";
    }
    for (std::size_t child = j + 1; child < clip_.joints.size(); ++child) {
      if (clip_.joints[child].parent == static_cast<int>(j)) writeJoint(child, depth + 1);
    }
    out_ += indent + "}\n";
  }

  // Each number is compared with the word that stood in its place. A number that has not changed is written
  // as that word, and a line without any change keeps its spaces too.
  void writeFrame(int f) {
    const std::size_t at = static_cast<std::size_t>(f);
    const std::string before = at < text_.frames.size() ? text_.frames[at] : "";
    detail::LineReader words = detail::LineReader::ofText("", before);
    words.nextLine();
    std::string line;
    bool kept = true;
    int c = 0;
    for (const Joint& joint : clip_.joints) {
      for (const Channel& channel : joint.channels) {
        const double value = clip_.frame(f)[c];
        const double unit = channel.rotation ? detail::radiansOfDegree : 1.0;
        const std::string_view word = words.peek();
        words.skip(word.size());
        double old;
        const bool unchanged = !word.empty() && detail::parseReal(word, &old) && old * unit == value;
        kept = kept && unchanged;
        if (c++ > 0) line += " ";
        line += unchanged          ? std::string(word)
                : channel.rotation ? fixed(value * detail::degreesOfRadian, text_.decimals)
                                   : fixed(value, positionDecimals_);
      }
    }
    out_ += (kept && words.peek().empty() ? before : line) + lineEnd_;
  }

  const Clip& clip_;
  const ClipText text_;
  const int positionDecimals_;
  std::string out_, lineEnd_ = "\n";
};

}  // namespace

std::string textOf(const Clip& clip) {
  detail::checkClip(clip);
  return ClipWriter(clip).write();
}

void writeClip(const Clip& clip, const std::string& path) { detail::writeWhole(path, textOf(clip)); }

}  // namespace limber::motion
