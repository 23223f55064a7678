#include <algorithm>
#include <cstring>

#include "constraints.h"
#include "input_error.h"
#include "numbers.h"

namespace {

class ConstraintReader {
 public:
  ConstraintReader(const char* name, const char* searchPath, const Clip& clip, const Skeleton& skeleton)
      : reader_(name, searchPath), file_(name), clip_(clip), skeleton_(skeleton) {
    if (!reader_.file) throw InputError(file_, 0, "cannot be opened");
    if (reader_.name) file_ = reader_.name;
  }

  std::vector<Constraint> read() {
    for (const char* line = reader_.getNextChars(); line; line = reader_.gets()) {
      line_ = reader_.lineNo;
      if (std::strlen(line) + 1 == sizeof reader_.line) fail("a line of more than 510 characters");
      split(line);
      if (!words_.empty()) readWish();
    }
    return wishes_;
  }

 private:
  [[noreturn]] void fail(const std::string& message) const { throw InputError(file_, line_, message); }

  void split(const char* line) {
    words_.clear();
    at_ = 0;
    std::string text(line);
    for (char* word = std::strtok(text.data(), " \t\r\n"); word && *word != '#';
         word = std::strtok(nullptr, " \t\r\n")) {
      words_.push_back(word);
    }
  }

  bool more() const { return at_ < words_.size(); }

  const std::string& next(const char* wanted) {
    if (!more()) fail(std::string("expected ") + wanted + ", found the end of the line");
    return words_[at_++];
  }

  [[noreturn]] void unexpected(const char* wanted, const std::string& word) const {
    fail(std::string("expected ") + wanted + ", found " + quoted(word.c_str()));
  }

  double real(const char* wanted) {
    const std::string& word = next(wanted);
    double value;
    if (!parseReal(word.c_str(), &value)) unexpected(wanted, word);
    return value;
  }

  int frame(const std::string& text, const std::string& word) const {
    int value;
    if (!parseInt(text.c_str(), &value)) unexpected("a frame or a range of frames such as 10-25", word);
    if (value < 1 || value > clip_.frames) {
      fail("frame " + text + " is not in the clip, which has frames 1 to " + std::to_string(clip_.frames));
    }
    return value - 1;
  }

  void frames(int* first, int* last) {
    const std::string word = next("a frame or a range of frames");
    const std::size_t dash = word.find('-', 1);
    *first = frame(word.substr(0, dash), word);
    *last = dash == std::string::npos ? *first : frame(word.substr(dash + 1), word);
    if (*last < *first) fail("the range " + quoted(word.c_str()) + " ends before it begins");
  }

  int joint() {
    const std::string& name = next("a joint");
    const int j = clip_.find(name);
    if (j < 0) fail("the clip has no joint called " + quoted(name.c_str()));
    return j;
  }

  double weight() {
    if (!more()) return 1.0;
    const double value = real("a weight");
    if (!(value > 0.0)) fail("expected a weight above 0");
    return value;
  }

  void readWish() {
    const bool hold = words_[0] == "hold";
    if (hold) at_++;
    int first, last;
    frames(&first, &last);
    Constraint wish;
    wish.joint = joint();
    if (hold) {
      int from = first;
      if (more() && words_[at_] == "at") {
        at_++;
        const std::string word = next("a frame");
        from = frame(word, word);
      }
      wish.target = skeleton_.position(wish.joint, clip_.frame(from));
    } else {
      wish.target.x = real("a coordinate");
      wish.target.y = real("a coordinate");
      wish.target.z = real("a coordinate");
    }
    wish.weight = weight();
    if (more()) unexpected("the end of the line", words_[at_]);
    for (wish.frame = first; wish.frame <= last; wish.frame++) wishes_.push_back(wish);
  }

  Reader reader_;
  std::string file_;
  const Clip& clip_;
  const Skeleton& skeleton_;
  std::vector<Constraint> wishes_;
  std::vector<std::string> words_;
  std::size_t at_ = 0;
  int line_ = 0;
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
