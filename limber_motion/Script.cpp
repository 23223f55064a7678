#include "limber_motion/Script.h"

#include "limber_motion/Skeleton.h"
#include "limber_motion/detail/LineReader.h"
#include "limber_motion/detail/Numbers.h"

namespace limber::motion {

namespace {

class ScriptReader {
 public:
  ScriptReader(const std::string& path, const char* searchPath, const Clip& clip)
      : in_(path, searchPath, '#'), clip_(clip), skeleton_(clip) {}

  std::vector<Constraint> read() {
    while (in_.nextLine()) readWish();
    return wishes_;
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

  int joint() {
    const std::string_view name = in_.next("a joint");
    const int j = clip_.find(std::string(name));
    if (j < 0) in_.fail("the clip has no joint called " + detail::quoted(name));
    return j;
  }

  double weight() {
    if (in_.peek().empty()) return 1.0;
    const double value = in_.real("a weight");
    if (!(value > 0.0)) in_.fail("expected a weight above 0");
    return value;
  }

  bool take(const char* word) {
    if (in_.peek() != word) return false;
    in_.next(word);
    return true;
  }

  void readWish() {
    const bool hold = take("hold");
    int first, last;
    frames(&first, &last);
    Constraint wish;
    wish.joint = joint();
    if (hold) {
      int from = first;
      if (take("at")) {
        const std::string_view word = in_.next("a frame");
        from = frame(word, word);
      }
      wish.target = skeleton_.position(wish.joint, clip_.frame(from));
    } else {
      wish.target.x = in_.real("a coordinate");
      wish.target.y = in_.real("a coordinate");
      wish.target.z = in_.real("a coordinate");
    }
    wish.weight = weight();
    in_.expectLineEnd();
    for (wish.frame = first; wish.frame <= last; wish.frame++) wishes_.push_back(wish);
  }

  detail::LineReader in_;
  const Clip& clip_;
  const Skeleton skeleton_;
  std::vector<Constraint> wishes_;
};

}  // namespace

std::vector<Constraint> readConstraints(const std::string& path, const char* searchPath, const Clip& clip) {
  return ScriptReader(path, searchPath, clip).read();
}

}  // namespace limber::motion
