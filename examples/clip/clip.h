#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "limber/limber.h"

/// One number of a joint that moves: a translation along, or a rotation about, an axis.
struct Channel {
  char axis;  ///< 'X', 'Y' or 'Z'
  bool rotation;
};

/// A joint or an end site (which has no channels). Joints stand in the order of the file, each behind its
/// parent.
struct Joint {
  std::string name;               ///< an end site is called after its parent: "Head.End"
  int parent;                     ///< -1 for the root
  Pnt3 offset;                    ///< from the parent, in the parent's axes
  std::vector<Channel> channels;  ///< in the order of the file; rotations act on a point last channel first
  int firstChannel;               ///< where the joint's channels begin in a frame
  bool endSite;
};

/// A skeleton and its motion. Angles are in radians, lengths in the file's unit.
struct Clip {
  std::vector<Joint> joints;
  int channels = 0;  ///< numbers a frame
  int frames = 0;
  double frameTime = 0.0;          ///< seconds
  std::vector<double> values;      ///< frames times channels, frame after frame
  std::vector<std::string> notes;  ///< what a reader of the file may want to know: bones of length zero

  double* frame(int f) {
    return values.data() + static_cast<std::size_t>(f) * static_cast<std::size_t>(channels);
  }
  const double* frame(int f) const { return const_cast<Clip*>(this)->frame(f); }
  /// The joint of that name, -1 when there is none.
  int find(const std::string& name) const;
  /// The channel at place c of a frame.
  const Channel& channel(int c) const;
};

/// Reads a BVH clip, plain or gzip-compressed, found along `searchPath` (null: the name as it stands). Throws
/// InputError naming file, line and word.
Clip readClip(const char* name, const char* searchPath);

/// Writes a clip as BVH, six digits behind the point.
void writeClip(const Clip& clip, std::FILE* out);
