#include "limber_motion/Script.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "limber_motion/Error.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/detail/LineReader.h"
#include "limber_motion/detail/NameOf.h"
#include "limber_motion/detail/Numbers.h"
#include "limber_motion/detail/WholeFile.h"

namespace limber::motion {

namespace {

using detail::nameOf;

class ScriptReader {
 public:
  ScriptReader(const std::string& path, const char* searchPath, const Clip& clip)
      : in_(path, searchPath, '#'), clip_(clip), skeleton_(clip) {}

  Script read() {
    while (in_.nextLine()) {
      if (take("plants")) {
        script_.plants = true;
        in_.expectLineEnd();
      } else {
        readConstraint();
      }
    }
    sortByFrame(&script_.constraints);
    return script_;
  }

 private:
  int frame(std::string_view number, std::string_view word) const {
    int value;
    if (!detail::parseInt(number, &value)) in_.unexpected("a frame or a range of frames such as 10-25", word);
    if (value < 1 || value > clip_.frames) {
      in_.fail("frame " + std::to_string(value) + " is not in the clip, which has frames 1 to " +
               std::to_string(clip_.frames));
    }
    return value - 1;
  }

  void frames(int* first, int* last) {
    const std::string_view word = in_.next("a frame or a range of frames");
    const std::size_t dash = word.find('-', 1);
    *first = frame(word.substr(0, dash), word);
    *last = dash == std::string_view::npos ? *first : frame(word.substr(dash + 1), word);
    if (*last < *first) in_.fail("the range " + detail::quoted(word) + " ends before it begins");
  }

  // The joint whose name the rest of the line begins with. If there are several, the longest name counts.
  int joint() {
    const std::string_view rest = in_.rest();
    int found = -1;
    std::size_t longest = 0;
    for (std::size_t j = 0; j < clip_.joints.size(); ++j) {
      const std::string& name = clip_.joints[j].name;
      if (name.size() <= longest || rest.substr(0, name.size()) != name) continue;
      if (rest.size() > name.size() && static_cast<unsigned char>(rest[name.size()]) > ' ') continue;
      found = static_cast<int>(j);
      longest = name.size();
    }
    if (found < 0) in_.fail("the clip has no joint called " + detail::quoted(in_.next("a joint")));
    in_.skip(longest);
    return found;
  }

  double weight() {
    if (in_.peek().empty() || in_.peek() == "ease") return 1.0;
    const double value = in_.real("a weight");
    if (!(value > 0.0)) in_.fail("expected a weight above 0");
    return value;
  }

  // The weights in each of the frames.
  std::vector<double> weights(int frames) {
    const double full = weight();
    int in = 0, out = 0;
    if (take("ease")) {
      in = in_.integer("the frames of a ramp");
      out = in_.peek().empty() ? in : in_.integer("the frames of a ramp");
    }
    try {
      return easedWeights(frames, in, out, full);
    } catch (const Error& error) {
      in_.fail(error.what());
    }
  }

  bool take(const char* word) {
    if (in_.peek() != word) return false;
    in_.next(word);
    return true;
  }

  void readConstraint() {
    const bool hold = take("hold");
    int first, last;
    frames(&first, &last);
    Constraint constraint;
    constraint.joint = joint();
    if (hold) {
      int from = first;
      if (take("at")) {
        const std::string_view word = in_.next("a frame");
        from = frame(word, word);
      }
      constraint.target = skeleton_.position(constraint.joint, clip_.frame(from));
    } else {
      constraint.target.x = in_.real("a coordinate");
      constraint.target.y = in_.real("a coordinate");
      constraint.target.z = in_.real("a coordinate");
    }
    constraint.frame = first;
    const std::vector<double> weights = this->weights(last - first + 1);
    in_.expectLineEnd();
    for (const double weight : weights) {
      constraint.weight = weight;
      refuseSecond(constraint);
      script_.constraints.push_back(constraint);
      ++constraint.frame;
    }
  }

  void refuseSecond(const Constraint& constraint) {
    const auto [found, isNew] = lines_.insert({{constraint.frame, constraint.joint}, in_.lineNumber()});
    if (isNew) return;
    in_.fail("a second target for " + nameOf(clip_, constraint.joint) + " in frame " +
             std::to_string(constraint.frame + 1) + "; line " + std::to_string(found->second) + " has one");
  }

  detail::LineReader in_;
  const Clip& clip_;
  const Skeleton skeleton_;
  Script script_;
  std::map<std::pair<int, int>, int> lines_;  // the line of each frame and joint that has a target
};

}  // namespace

Script readScript(const std::string& path, const char* searchPath, const Clip& clip) {
  return ScriptReader(path, searchPath, clip).read();
}

std::string scriptOf(const Contacts& contacts, const Clip& clip) {
  const double height = Skeleton(clip).height();
  const int decimals =
      height > 0.0 ? std::clamp(8 - static_cast<int>(std::floor(std::log10(height))), 0, 30) : 8;
  std::string text =
      "# Where the feet stand: FRAMES JOINT X Y Z, frames from 1, lengths in the clip's unit.\n";
  for (const Contact& contact : contacts.list) {
    text += std::to_string(contact.first + 1) + "-" + std::to_string(contact.last + 1) + " " +
            nameOf(clip, contact.joint);
    for (const double x : {contact.place.x, contact.place.y, contact.place.z})
      text += " " + detail::fixed(x, decimals);
    text += "\n";
  }
  return text;
}

void writeScript(const Contacts& contacts, const Clip& clip, const std::string& path) {
  detail::writeWhole(path, scriptOf(contacts, clip));
}

}  // namespace limber::motion
