#pragma once

#include <string>

#include "limber_motion/Clip.h"
#include "limber_motion/detail/LineReader.h"

namespace limber::motion::detail {

/// Reads the BVH format: a HIERARCHY of joints in braces, then a MOTION with one line of numbers per frame.
class ClipReader {
 public:
  explicit ClipReader(LineReader in) : in_(std::move(in)) {}

  /// Reads the whole clip.
  Clip read();
  /// Reads only the joints, and ignores everything after them.
  std::vector<Joint> readHierarchy();

 private:
  struct ShortLine {
    int line = 0, numbers = 0;
  };

  void readJoint(int parent, int depth, bool endSite);
  std::string jointName();
  std::string endSiteName(int parent) const;
  std::string unique(const std::string& name) const;
  void readChannels(Joint* joint);
  void readChildren(int joint, int depth, bool endSite);
  void takeLabel(const char* first, const char* second);
  void readTimes(ClipText* text);
  void readFrames(ClipText* text);
  bool readFrame(const std::vector<bool>& turns, ClipText* text);
  void noteEmptyBone(const std::string& joint);
  void noteMissingFrames(int found);
  void noteRest();
  [[noreturn]] void refuse(const ShortLine& line) const;
  std::string numbersOfFrame() const;
  double number(const char* wanted);
  void note(const std::string& sentence) { clip_.notes.push_back(in_.place() + ": " + sentence); }

  LineReader in_;
  Clip clip_;
  bool commas_ = false;        // a number has a decimal comma
  std::string firstEmpty_;     // the place and joint of the first bone of length zero
  std::size_t emptyNote_ = 0;  // and the index of the note about it
  int empty_ = 0;              // the number of these bones
  ShortLine broken_;           // the first line that does not hold a whole frame and is followed by another
  ShortLine cut_;              // the same at the end of the file
};

}  // namespace limber::motion::detail
