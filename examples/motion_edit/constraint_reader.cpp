#include <algorithm>
#include <cstring>

#include "constraints.h"
#include "input_error.h"
#include "line_reader.h"
#include "numbers.h"

namespace {

class ConstraintReader {
 public:
  ConstraintReader(const char* name, const char* searchPath, const Clip& clip, const Skeleton& skeleton)
      : in_(name, searchPath, '#'), clip_(clip), skeleton_(skeleton) {}

  std::vector<Constraint> read() {
    while (in_.nextLine()) readWish();
    return wishes_;
  }

 private:
  int frame(const std::string& number, const char* word) const {
    int value;
    if (!parseInt(number.c_str(), &value)) in_.unexpected("a frame or a range of frames such as 10-25", word);
    if (value < 1 || value > clip_.frames) {
      in_.fail("frame " + std::to_string(value) + " is not in the clip, which has frames 1 to " +
               std::to_string(clip_.frames));
    }
    return value - 1;
  }

  void frames(int* first, int* last) {
    const char* const word = in_.next("a frame or a range of frames");
    const std::string text = word;
    const std::size_t dash = text.find('-', 1);
    *first = frame(text.substr(0, dash), word);
    *last = dash == std::string::npos ? *first : frame(text.substr(dash + 1), word);
    if (*last < *first) in_.fail("the range " + quoted(word) + " ends before it begins");
  }

  int joint() {
    const char* const name = in_.next("a joint");
    const int j = clip_.find(name);
    if (j < 0) in_.fail("the clip has no joint called " + quoted(name));
    return j;
  }

  double weight() {
    if (!in_.peek()) return 1.0;
    const double value = in_.real("a weight");
    if (!(value > 0.0)) in_.fail("expected a weight above 0");
    return value;
  }

  bool take(const char* word) {
    if (!in_.peek() || std::strcmp(in_.peek(), word) != 0) return false;
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
        const char* const word = in_.next("a frame");
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

  LineReader in_;
  const Clip& clip_;
  const Skeleton& skeleton_;
  std::vector<Constraint> wishes_;
};

}  // namespace

std::vector<Constraint> readConstraints(const char* name, const char* searchPath, const Clip& clip,
                                        const Skeleton& skeleton) {
  return ConstraintReader(name, searchPath, clip, skeleton).read();
}

void sortByFrame(std::vector<Constraint>* constraints) {
  std::stable_sort(constraints->begin(), constraints->end(), [](const Constraint& a, const Constraint& b) {
    return a.frame != b.frame ? a.frame < b.frame : a.joint < b.joint;
  });
  std::vector<Constraint> kept;
  for (const Constraint& wish : *constraints) {
    if (!kept.empty() && kept.back().frame == wish.frame && kept.back().joint == wish.joint) kept.pop_back();
    kept.push_back(wish);
  }
  *constraints = kept;
}
