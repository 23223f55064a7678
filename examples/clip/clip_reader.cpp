// The BVH format: a HIERARCHY of joints in braces, then a MOTION of one line of numbers a frame.

#include <cstring>

#include "clip.h"
#include "input_error.h"
#include "line_reader.h"

namespace {

constexpr int deepest = 200;         // joints in one chain
constexpr int mostChannels = 10000;  // Limber's sums of sparse rows, which carry the derivatives, end there
constexpr double radians = 3.14159265358979323846 / 180.0;

class ClipReader {
 public:
  ClipReader(const char* name, const char* searchPath) : in_(name, searchPath) {}

  Clip read() {
    in_.expect("HIERARCHY");
    in_.expect("ROOT");
    readJoint(-1, 1, false);
    const std::string word = in_.nextAnywhere("MOTION");
    if (word == "ROOT") in_.fail("a second ROOT: only clips with one root can be read");
    if (word != "MOTION") in_.unexpected("MOTION", word.c_str());
    if (clip_.channels == 0) in_.fail("a skeleton without channels cannot move");
    if (clip_.channels > mostChannels) in_.fail("more than " + std::to_string(mostChannels) + " channels");
    in_.expect("Frames:");
    clip_.frames = in_.integer("the number of frames");
    if (clip_.frames < 1) in_.fail("expected at least one frame");
    in_.expectLineEnd();
    in_.expect("Frame");
    in_.expect("Time:");
    clip_.frameTime = in_.real("the seconds of a frame");
    if (!(clip_.frameTime > 0.0)) in_.fail("expected a frame time above 0");
    in_.expectLineEnd();
    readMotion();
    return clip_;
  }

 private:
  void readJoint(int parent, int depth, bool endSite) {
    if (depth > deepest) in_.fail("more than " + std::to_string(deepest) + " joints in one chain");
    const std::size_t at = clip_.joints.size();
    Joint joint;
    joint.parent = parent;
    joint.endSite = endSite;
    joint.firstChannel = clip_.channels;
    joint.name =
        endSite ? clip_.joints[static_cast<std::size_t>(parent)].name + ".End" : in_.next("a joint's name");
    if (clip_.find(joint.name) >= 0 && !endSite)
      in_.fail("a second joint called " + quoted(joint.name.c_str()));
    in_.expect("{");
    in_.expect("OFFSET");
    joint.offset.x = in_.real("an offset");
    joint.offset.y = in_.real("an offset");
    joint.offset.z = in_.real("an offset");
    if (parent >= 0 && joint.offset.lengthSq() == 0.0) {
      clip_.notes.push_back(in_.place() + ": the bone to " + joint.name + " has length zero");
    }
    in_.expectLineEnd();
    if (!endSite) readChannels(&joint);
    clip_.joints.push_back(joint);
    readChildren(static_cast<int>(at), depth, endSite);
  }

  void readChannels(Joint* joint) {
    in_.expect("CHANNELS");
    const int count = in_.integer("the number of channels");
    if (count < 0 || count > 6) in_.fail("expected 0 to 6 channels, found " + std::to_string(count));
    for (int i = 0; i < count; i++) {
      const char* const word = in_.next("a channel");
      const bool rotation = std::strcmp(word + 1, "rotation") == 0;
      if (!std::strchr("XYZ", *word) || !(rotation || std::strcmp(word + 1, "position") == 0)) {
        in_.unexpected("a channel such as Xrotation or Yposition", word);
      }
      for (const Channel& other : joint->channels) {
        if (other.axis == *word && other.rotation == rotation) {
          in_.fail("the channel " + quoted(word) + " twice in one joint");
        }
      }
      joint->channels.push_back({*word, rotation});
    }
    in_.expectLineEnd();
    clip_.channels += count;
  }

  void readChildren(int joint, int depth, bool endSite) {
    for (;;) {
      const std::string word = in_.nextAnywhere(endSite ? "}" : "a child joint or }");
      if (word == "}") return;
      if (word == "JOINT" && !endSite) {
        readJoint(joint, depth + 1, false);
      } else if (word == "End" && !endSite) {
        in_.expect("Site");
        readJoint(joint, depth + 1, true);
      } else {
        in_.unexpected(endSite ? "}" : "JOINT, End Site or }", word.c_str());
      }
    }
  }

  void readMotion() {
    const std::string numbers = std::to_string(clip_.channels) + " numbers in a frame";
    int frame = 0;
    for (; in_.nextLine(); frame++) {
      if (frame == clip_.frames) {
        in_.unexpected("the end of the file after " + std::to_string(frame) + " frames", in_.peek());
      }
      for (int c = 0; c < clip_.channels; c++) {
        if (!in_.peek()) in_.fail("expected " + numbers + ", found " + std::to_string(c));
        clip_.values.push_back(in_.real("a number"));
      }
      if (in_.peek()) in_.unexpected("no more than " + numbers, in_.peek());
    }
    if (frame < clip_.frames) {
      in_.fail("expected " + std::to_string(clip_.frames) + " frames, found " + std::to_string(frame));
    }
    for (int c = 0; c < clip_.channels; c++) {
      if (!clip_.channel(c).rotation) continue;
      for (int f = 0; f < clip_.frames; f++) clip_.frame(f)[c] *= radians;
    }
  }

  LineReader in_;
  Clip clip_;
};

}  // namespace

Clip readClip(const char* name, const char* searchPath) { return ClipReader(name, searchPath).read(); }
