#include "limber_motion/detail/ClipReader.h"

#include <algorithm>
#include <cstring>

#include "limber_motion/Clip.h"
#include "limber_motion/detail/Degrees.h"

namespace limber::motion {

namespace detail {

namespace {

constexpr int deepest = 200;         // joints in one chain
constexpr int mostChannels = 10000;  // SparseSum leaves out indices from here on
constexpr int mostDecimals = 15;

// The number of digits after the decimal point.
int decimals(std::string_view word) {
  const std::size_t point = word.find('.');
  if (point == std::string_view::npos) return 0;
  const std::size_t end = word.find_first_not_of("0123456789", point + 1);
  return static_cast<int>((end == std::string_view::npos ? word.size() : end) - point - 1);
}

}  // namespace

Clip ClipReader::read() {
  readHierarchy();
  const auto text = std::make_shared<ClipText>();
  const std::string_view word = in_.nextAnywhere("MOTION");
  if (sameWord(word, "ROOT")) in_.fail("a second ROOT: only clips with one root can be read");
  if (!sameWord(word, "MOTION")) in_.unexpected("MOTION", word);
  if (clip_.channels == 0) in_.fail("a skeleton without channels cannot move");
  if (clip_.channels > mostChannels) in_.fail("more than " + std::to_string(mostChannels) + " channels");
  text->hierarchy = in_.text().substr(0, in_.lineStart());
  readTimes(text.get());
  readFrames(text.get());
  clip_.text = text;
  return clip_;
}

std::vector<Joint> ClipReader::readHierarchy() {
  in_.expect("HIERARCHY");
  in_.expect("ROOT");
  readJoint(-1, 1, false);
  return clip_.joints;
}

// A name extends to the end of the line or to the brace, so it may contain spaces.
std::string ClipReader::jointName() {
  std::string_view name = in_.rest();
  name = name.substr(0, name.find('{'));
  while (!name.empty() && static_cast<unsigned char>(name.back()) <= ' ') name.remove_suffix(1);
  if (name.empty()) in_.fail("expected a joint's name, found " + quoted(in_.peek()));
  const std::string own(name);
  if (clip_.find(own) >= 0) in_.fail("a second joint called " + quoted(own));
  in_.skip(own.size());
  return own;
}

std::string ClipReader::endSiteName(int parent) const {
  const std::string name = clip_.joints[static_cast<std::size_t>(parent)].name + ".End";
  int count = 1;
  for (const Joint& other : clip_.joints) count += other.parent == parent && other.endSite;
  return count == 1 ? name : name + std::to_string(count);
}

void ClipReader::readJoint(int parent, int depth, bool endSite) {
  if (depth > deepest) in_.fail("more than " + std::to_string(deepest) + " joints in one chain");
  const std::size_t at = clip_.joints.size();
  Joint joint;
  joint.parent = parent;
  joint.endSite = endSite;
  joint.firstChannel = clip_.channels;
  joint.name = endSite ? endSiteName(parent) : jointName();
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

// A joint that cannot move may lack the line of channels.
void ClipReader::readChannels(Joint* joint) {
  const std::string_view word = in_.nextAnywhere("CHANNELS");
  if (!sameWord(word, "CHANNELS")) return in_.putBack(word);
  const int count = in_.integer("the number of channels");
  if (count < 0 || count > 6) in_.fail("expected 0 to 6 channels, found " + std::to_string(count));
  for (int i = 0; i < count; ++i) {
    const std::string_view name = in_.next("a channel");
    const char axis = static_cast<char>(name[0] >= 'a' ? name[0] - 32 : name[0]);
    const bool rotation = sameWord(name.substr(1), "rotation");
    if (!std::strchr("XYZ", axis) || !(rotation || sameWord(name.substr(1), "position"))) {
      in_.unexpected("a channel such as Xrotation or Yposition", name);
    }
    for (const Channel& other : joint->channels) {
      if (other.axis == axis && other.rotation == rotation) {
        in_.fail("the channel " + quoted(name) + " twice in one joint");
      }
    }
    joint->channels.push_back({axis, rotation});
  }
  in_.expectLineEnd();
  clip_.channels += count;
}

void ClipReader::readChildren(int joint, int depth, bool endSite) {
  for (;;) {
    const std::string_view word = in_.nextAnywhere(endSite ? "}" : "a child joint or }");
    if (word == "}") return;
    if (sameWord(word, "JOINT") && !endSite) {
      readJoint(joint, depth + 1, false);
    } else if (sameWord(word, "End") && !endSite) {
      in_.expect("Site");
      readJoint(joint, depth + 1, true);
    } else {
      in_.unexpected(endSite ? "}" : "JOINT, End Site or }", word);
    }
  }
}

// "Frames:" or "Frame Time:", with or without spaces around the colon.
void ClipReader::takeLabel(const char* first, const char* second) {
  const std::string label = std::string(first) + (*second ? " " : "") + second + ":";
  if (!in_.nextLine()) in_.fail("expected " + label + ", found the end of the file");
  for (const char* part : {first, second, ":"}) {
    const std::size_t length = std::strlen(part);
    if (!sameWord(in_.rest().substr(0, length), part)) in_.unexpected(label, in_.peek());
    in_.skip(length);
  }
}

void ClipReader::readTimes(ClipText* text) {
  in_.expectLineEnd();
  takeLabel("Frames", "");
  clip_.frames = in_.integer("the number of frames");
  if (clip_.frames < 1) in_.fail("expected at least one frame");
  in_.expectLineEnd();
  takeLabel("Frame", "Time");
  text->frameTime = in_.peek();
  clip_.frameTime = in_.real("the seconds of a frame");
  if (!(clip_.frameTime > 0.0)) in_.fail("expected a frame time above 0");
  in_.expectLineEnd();
}

void ClipReader::readFrames(ClipText* text) {
  const std::string numbers = std::to_string(clip_.channels) + " numbers in a frame";
  std::vector<bool> turns;
  for (const Joint& joint : clip_.joints) {
    for (const Channel& channel : joint.channels) turns.push_back(channel.rotation);
  }
  int frame = 0;
  for (; in_.nextLine(); ++frame) {
    if (frame == clip_.frames) {
      in_.unexpected("the end of the file after " + std::to_string(frame) + " frames", in_.peek());
    }
    for (std::size_t c = 0; c < turns.size(); ++c) {
      const std::string_view word = in_.peek();
      if (word.empty()) in_.fail("expected " + numbers + ", found " + std::to_string(c));
      const double value = in_.real("a number");
      clip_.values.push_back(turns[c] ? value * radiansOfDegree : value);
      text->decimals = std::max(text->decimals, std::min(decimals(word), mostDecimals));
    }
    if (!in_.peek().empty()) in_.unexpected("no more than " + numbers, in_.peek());
    text->frames.emplace_back(in_.line());
  }
  if (frame < clip_.frames) {
    in_.fail("expected " + std::to_string(clip_.frames) + " frames, found " + std::to_string(frame));
  }
}

}  // namespace detail

Clip readClip(const std::string& path, const char* searchPath) {
  return detail::ClipReader(detail::LineReader(path, searchPath)).read();
}

}  // namespace limber::motion
