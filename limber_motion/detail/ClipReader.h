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
  void readJoint(int parent, int depth, bool endSite);
  std::string jointName();
  std::string endSiteName(int parent) const;
  void readChannels(Joint* joint);
  void readChildren(int joint, int depth, bool endSite);
  void takeLabel(const char* first, const char* second);
  void readTimes(ClipText* text);
  void readFrames(ClipText* text);

  LineReader in_;
  Clip clip_;
};

}  // namespace limber::motion::detail
