// The BVH format: a HIERARCHY of joints in braces, then a MOTION of one line of numbers a frame.

#include <cmath>
#include <cstring>

#include "clip.h"
#include "input_error.h"
#include "numbers.h"

namespace {

constexpr int deepest = 200;  // of joints in one chain
constexpr double radians = 3.14159265358979323846 / 180.0;

class ClipReader {
 public:
  ClipReader(const char* name, const char* searchPath) : reader_(name, searchPath), file_(name) {
    if (!reader_.file) throw InputError(file_, 0, "cannot be opened");
    if (reader_.name) file_ = reader_.name;
  }

  Clip read() {
    expect("HIERARCHY");
    expect("ROOT");
    readJoint(-1, 1, false);
    const std::string word = next("MOTION");
    if (word == "ROOT") fail("a second ROOT: only clips with one root can be read");
    if (word != "MOTION") fail("expected MOTION, found " + quoted(word.c_str()));
    expect("Frames:");
    clip_.frames = integer("the number of frames");
    if (clip_.frames < 1) fail("expected at least one frame");
    expect("Frame");
    expect("Time:");
    clip_.frameTime = real("the seconds of a frame");
    if (!(clip_.frameTime > 0.0)) fail("expected a frame time above 0");
    readMotion();
    return clip_;
  }

 private:
  // Words.

  [[noreturn]] void fail(const std::string& message) const { throw InputError(file_, line_, message); }

  std::string next(const std::string& wanted) {
    line_ = reader_.lineNo;
    const char* const word = reader_.getWord();
    if (!word) fail("expected " + wanted + ", found the end of the file");
    return word;
  }

  void expect(const char* wanted) {
    const std::string word = next(wanted);
    if (word != wanted) fail(std::string("expected ") + wanted + ", found " + quoted(word.c_str()));
  }

  double real(const std::string& wanted) {
    const std::string word = next(wanted);
    double value;
    if (!parseReal(word.c_str(), &value)) fail("expected " + wanted + ", found " + quoted(word.c_str()));
    return value;
  }

  int integer(const std::string& wanted) {
    const std::string word = next(wanted);
    int value;
    if (!parseInt(word.c_str(), &value)) fail("expected " + wanted + ", found " + quoted(word.c_str()));
    return value;
  }

  // The hierarchy.

  void readJoint(int parent, int depth, bool endSite) {
    if (depth > deepest) fail("more than " + std::to_string(deepest) + " joints in one chain");
    const std::size_t at = clip_.joints.size();
    Joint joint;
    joint.parent = parent;
    joint.endSite = endSite;
    joint.firstChannel = clip_.channels;
    joint.name =
        endSite ? clip_.joints[static_cast<std::size_t>(parent)].name + ".End" : next("a joint's name");
    if (clip_.find(joint.name) >= 0 && !endSite) fail("a second joint called " + quoted(joint.name.c_str()));
    expect("{");
    expect("OFFSET");
    joint.offset.x = real("an offset");
    joint.offset.y = real("an offset");
    joint.offset.z = real("an offset");
    if (parent >= 0 && joint.offset.lengthSq() == 0.0) {
      clip_.notes.push_back(file_ + ":" + std::to_string(line_) + ": the bone to " + joint.name +
                            " has length zero");
    }
    if (!endSite) readChannels(&joint);
    clip_.joints.push_back(joint);
    readChildren(static_cast<int>(at), depth, endSite);
  }

  void readChannels(Joint* joint) {
    expect("CHANNELS");
    const int count = integer("the number of channels");
    if (count < 0 || count > 6) fail("expected 0 to 6 channels, found " + std::to_string(count));
    for (int i = 0; i < count; i++) {
      const std::string word = next("a channel");
      const std::string kind = word.substr(word.empty() ? 0 : 1);
      const bool rotation = kind == "rotation";
      if (!std::strchr("XYZ", word[0]) || !(rotation || kind == "position")) {
        fail("expected a channel such as Xrotation or Yposition, found " + quoted(word.c_str()));
      }
      for (const Channel& other : joint->channels) {
        if (other.axis == word[0] && other.rotation == rotation)
          fail("the channel " + word + " twice in one joint");
      }
      joint->channels.push_back({word[0], rotation});
    }
    clip_.channels += count;
  }

  void readChildren(int joint, int depth, bool endSite) {
    for (;;) {
      const std::string word = next("a child joint or }");
      if (word == "}") return;
      if (word == "JOINT" && !endSite) {
        readJoint(joint, depth + 1, false);
      } else if (word == "End" && !endSite) {
        expect("Site");
        readJoint(joint, depth + 1, true);
      } else {
        fail(std::string("expected ") + (endSite ? "}" : "JOINT, End Site or }") + ", found " +
             quoted(word.c_str()));
      }
    }
  }

  // The motion. A line may be longer than the reader's own: its start is the reader's current line, cut at
  // 511 characters, and the rest and the lines behind it are taken raw.

  bool nextLine(std::string* line) {
    line->clear();
    char part[4096];
    if (!started_) {
      started_ = true;
      line_ = reader_.lineNo;
      const char* const start = reader_.getNextChars();
      if (!start) return false;
      *line = start;
      if (line->size() + 1 < sizeof reader_.line) return true;
    } else {
      line_++;
      if (!reader_.bgets(part, sizeof part)) return false;
      *line = part;
      if (line->size() + 1 < sizeof part) return true;
    }
    while (reader_.bgets(part, sizeof part)) {
      *line += part;
      if (std::strlen(part) + 1 < sizeof part) break;
    }
    return true;
  }

  void readMotion() {
    std::string line;
    int frame = 0;
    while (nextLine(&line)) {
      char* rest = line.data();
      char* word = std::strtok(rest, " \t\r\n");
      if (!word) continue;
      if (frame == clip_.frames) {
        fail("expected the end of the file after " + std::to_string(frame) + " frames, found " +
             quoted(word));
      }
      for (int c = 0; c < clip_.channels; c++, word = std::strtok(nullptr, " \t\r\n")) {
        double value;
        if (!word) {
          fail("expected " + std::to_string(clip_.channels) + " numbers in a frame, found " +
               std::to_string(c));
        }
        if (!parseReal(word, &value)) fail("expected a number, found " + quoted(word));
        clip_.values.push_back(value);
      }
      if (word)
        fail("expected " + std::to_string(clip_.channels) + " numbers in a frame, found also " +
             quoted(word));
      frame++;
    }
    if (frame < clip_.frames) {
      fail("expected " + std::to_string(clip_.frames) + " frames, found " + std::to_string(frame));
    }
    for (int c = 0; c < clip_.channels; c++) {
      if (!clip_.channel(c).rotation) continue;
      for (int f = 0; f < clip_.frames; f++) clip_.frame(f)[c] *= radians;
    }
  }

  Reader reader_;
  std::string file_;
  Clip clip_;
  int line_ = 0;
  bool started_ = false;
};

}  // namespace

Clip readClip(const char* name, const char* searchPath) { return ClipReader(name, searchPath).read(); }
