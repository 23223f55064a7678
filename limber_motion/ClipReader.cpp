#include "limber_motion/detail/ClipReader.h"

#include <algorithm>
#include <cstring>

#include "limber_motion/Clip.h"
#include "limber_motion/Upright.h"
#include "limber_motion/detail/Degrees.h"

namespace limber::motion {

namespace detail {

namespace {

constexpr int deepest = 200;         // joints in one chain
constexpr int mostChannels = 10000;  // SparseSum leaves out indices from here on
constexpr int mostDecimals = 15;
constexpr double assumedFrame = 1.0 / 30.0;  // seconds, if the file says 0
constexpr double longFrame = 5.0;            // seconds: a longer one is probably a frame rate

// The number of digits after the decimal point.
int decimals(std::string_view word) {
  const std::size_t point = word.find_first_of(".,");
  if (point == std::string_view::npos) return 0;
  const std::size_t end = word.find_first_not_of("0123456789", point + 1);
  return static_cast<int>((end == std::string_view::npos ? word.size() : end) - point - 1);
}

// True if the word is not a number, but may be the beginning of one.
bool isCutNumber(std::string_view word) {
  double value;
  return word.find_first_not_of("+-.,0123456789eE") == std::string_view::npos && !parseUsable(word, &value);
}

}  // namespace

Clip ClipReader::read() {
  readHierarchy();
  const auto text = std::make_shared<ClipText>();
  const std::string_view word = in_.nextAnywhere("MOTION");
  if (sameWord(word, "ROOT")) in_.fail("a second ROOT: only clips of one character can be read");
  if (!sameWord(word, "MOTION")) in_.unexpected("MOTION", word);
  if (clip_.channels == 0) in_.fail("a skeleton without channels cannot move");
  if (clip_.channels > mostChannels) in_.fail("more than " + std::to_string(mostChannels) + " channels");
  if (!commas_) text->hierarchy = in_.text().substr(0, in_.lineStart());
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
  const std::string own =
      name.empty() ? "Joint" + std::to_string(clip_.joints.size() + 1) : std::string(name);
  const std::string given = unique(own);
  if (name.empty()) note("a joint without a name is called " + given + " here");
  if (given != own) note("another joint called " + quoted(own) + " is called " + quoted(given) + " here");
  in_.skip(name.size());
  return given;
}

std::string ClipReader::unique(const std::string& name) const {
  std::string own = name;
  for (int count = 2; clip_.find(own) >= 0; ++count) own = name + " (" + std::to_string(count) + ")";
  return own;
}

std::string ClipReader::endSiteName(int parent) const {
  const std::string name = clip_.joints[static_cast<std::size_t>(parent)].name + ".End";
  int count = 1;
  for (const Joint& other : clip_.joints) count += other.parent == parent && other.endSite;
  return unique(count == 1 ? name : name + std::to_string(count));
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
  joint.offset.x = number("an offset");
  joint.offset.y = number("an offset");
  joint.offset.z = number("an offset");
  if (parent >= 0 && joint.offset.lengthSq() == 0.0) noteEmptyBone(joint.name);
  in_.expectLineEnd();
  if (!endSite) readChannels(&joint);
  clip_.joints.push_back(joint);
  readChildren(static_cast<int>(at), depth, endSite);
}

// One note for all of them: some programs end every limb with such a bone.
void ClipReader::noteEmptyBone(const std::string& joint) {
  if (++empty_ == 1) {
    firstEmpty_ = in_.place() + ": the bone to " + joint;
    emptyNote_ = clip_.notes.size();
    clip_.notes.push_back(firstEmpty_ + " has length zero");
  } else {
    clip_.notes[emptyNote_] = firstEmpty_ + " and " + std::to_string(empty_ - 1) + " more have length zero";
  }
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
    } else if ((sameWord(word, "End") || sameWord(word, "EndSite")) && !endSite) {
      if (sameWord(word, "End")) in_.expect("Site");
      readJoint(joint, depth + 1, true);
    } else {
      in_.unexpected(endSite ? "}" : "JOINT, End Site or }", word);
    }
  }
}

// "Frames:" or "Frame Time:", with or without spaces around the colon, or without the colon.
void ClipReader::takeLabel(const char* first, const char* second) {
  const std::string label = std::string(first) + (*second ? " " : "") + second + ":";
  if (!in_.nextLine()) in_.fail("expected " + label + ", found the end of the file");
  for (const char* part : {first, second}) {
    const std::size_t length = std::strlen(part);
    if (!sameWord(in_.rest().substr(0, length), part)) in_.unexpected(label, in_.peek());
    in_.skip(length);
  }
  if (in_.rest().substr(0, 1) == ":") in_.skip(1);
}

void ClipReader::readTimes(ClipText* text) {
  in_.expectLineEnd();
  takeLabel("Frames", "");
  clip_.frames = in_.integer("the number of frames");
  if (clip_.frames < 0) in_.fail("expected at least one frame");
  in_.expectLineEnd();
  takeLabel("Frame", "Time");
  text->frameTime = in_.peek();
  clip_.frameTime = number("the seconds of a frame");
  if (clip_.frameTime < 0.0) in_.fail("expected a frame time above 0");
  if (clip_.frameTime == 0.0) {
    note("a frame lasts no time: 30 frames a second are assumed");
    clip_.frameTime = assumedFrame;
  }
  if (clip_.frameTime > longFrame) note("a frame lasts " + text->frameTime + " s; is this the frame rate?");
  in_.expectLineEnd();
}

void ClipReader::readFrames(ClipText* text) {
  std::vector<bool> turns;
  for (const Joint& joint : clip_.joints) {
    for (const Channel& channel : joint.channels) turns.push_back(channel.rotation);
  }
  const auto found = [&] { return static_cast<int>(text->frames.size()); };
  while ((found() < clip_.frames || clip_.frames == 0) && readFrame(turns, text)) continue;
  if (found() < clip_.frames || clip_.frames == 0) noteMissingFrames(found());
  clip_.frames = found();
  noteRest();
}

// Reads one frame, which may be broken over several lines. Returns false if there is none, or only a part of
// one at the end of the file.
bool ClipReader::readFrame(const std::vector<bool>& turns, ClipText* text) {
  const std::size_t begin = clip_.values.size();
  const bool last = static_cast<int>(text->frames.size()) + 1 >= clip_.frames;
  std::string words;
  int firstLine = 0;
  for (std::size_t c = 0; c < turns.size();) {
    // A number at the end of a line that is cut may be cut too.
    const int before = static_cast<int>(c);
    if (!in_.nextLine() || (in_.lineIsCut() && !last)) {
      cut_ = {before > 0 ? firstLine : in_.lineNumber(), before};
      clip_.values.resize(begin);
      return false;
    }
    if (before == 0) firstLine = in_.lineNumber();
    if (before > 0 && broken_.line == 0) broken_ = {firstLine, before};
    words += (before > 0 ? " " : "") + std::string(in_.line());
    for (std::string_view word = in_.peek(); !word.empty(); word = in_.peek(), ++c) {
      if (c == turns.size() && before > 0) refuse({firstLine, before});
      if (c == turns.size()) in_.unexpected("no more than " + numbersOfFrame(), word);
      if (in_.lineIsCut() && isCutNumber(word)) break;
      const double value = number("a number");
      clip_.values.push_back(turns[c] ? value * radiansOfDegree : value);
      text->decimals = std::max(text->decimals, std::min(decimals(word), mostDecimals));
    }
  }
  if (commas_) std::replace(words.begin(), words.end(), ',', '.');
  text->frames.push_back(std::move(words));
  return true;
}

// Frames broken over several lines are trusted only if their number is the declared one; otherwise, the lines
// are too short.
void ClipReader::noteMissingFrames(int found) {
  if (broken_.line > 0) refuse(broken_);
  if (found == 0 && cut_.numbers > 0) refuse(cut_);
  const std::string declared = std::to_string(clip_.frames) + " frames";
  if (found == 0)
    in_.fail("expected " + (clip_.frames > 0 ? declared : "at least one frame") + ", found none");
  note("there are " + std::to_string(found) + " whole frames instead of the declared " + declared);
}

void ClipReader::noteRest() {
  if (!in_.nextLine()) return;
  const std::string place = in_.place();
  int lines = 1;
  while (in_.nextLine()) ++lines;
  clip_.notes.push_back(place + ": " + (lines == 1 ? "one line" : std::to_string(lines) + " lines") +
                        " after the declared " + std::to_string(clip_.frames) + " frames left out");
}

void ClipReader::refuse(const ShortLine& line) const {
  in_.failAt(line.line, "expected " + numbersOfFrame() + ", found " + std::to_string(line.numbers));
}

std::string ClipReader::numbersOfFrame() const {
  return std::to_string(clip_.channels) + " numbers in a frame";
}

// Programs in some languages write commas instead of decimal points.
double ClipReader::number(const char* wanted) {
  const std::string_view word = in_.peek();
  const std::size_t comma = word.find(',');
  if (comma == std::string_view::npos) return in_.real(wanted);
  std::string point(word);
  point[comma] = '.';
  double value;
  if (!parseUsable(point, &value)) in_.unexpected(wanted, word);
  if (!commas_) note("commas in numbers are taken as decimal points");
  commas_ = true;
  in_.skip(word.size());
  return value;
}

}  // namespace detail

Clip readClip(const std::string& path, const char* searchPath) {
  Clip clip = detail::ClipReader(detail::LineReader(path, searchPath)).read();
  clip.up = findUp(clip);
  return clip;
}

}  // namespace limber::motion
