#pragma once

/// @file
/// Motion clips: a skeleton of joints and one line of numbers a frame, read from and written to BVH files.

#include <memory>
#include <string>
#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Api.h"

namespace limber::motion {

/// One number of a joint that moves: a translation along, or a rotation about, an axis.
struct Channel {
  char axis;  ///< 'X', 'Y' or 'Z'
  bool rotation;
};

/// A joint or an end site (which has no channels). Joints stand in the order of the file, each behind its
/// parent.
struct Joint {
  std::string name;  ///< may hold spaces; an end site is called after its parent: "Head.End", a second one
                     ///< "Head.End2"
  int parent;        ///< -1 for the root
  Pnt3 offset;       ///< from the parent, in the parent's axes; a position channel replaces it on its axis
  std::vector<Channel> channels;  ///< in the order of the file; rotations act on a point last channel first
  int firstChannel;               ///< where the joint's channels begin in a frame
  bool endSite;
};

/// The words of the file that a clip was read from. What has not been changed is written as it stood there.
struct ClipText {
  std::string hierarchy;            ///< up to MOTION, line ends and all
  std::string frameTime;            ///< the word behind "Frame Time:"
  std::vector<std::string> frames;  ///< one line a frame
  int decimals = 6;                 ///< most digits behind a point, at least 6 and at most 15
};

/// A skeleton and its motion. Angles are in radians, lengths in the file's unit, times in seconds.
struct LIMBER_MOTION_API Clip {
  std::vector<Joint> joints;
  int channels = 0;  ///< numbers a frame
  int frames = 0;
  double frameTime = 0.0;                ///< seconds
  std::vector<double> values;            ///< frames times channels, frame after frame
  std::vector<std::string> notes;        ///< what a reader of the file may want to know: bones of length zero
  std::shared_ptr<const ClipText> text;  ///< null for a clip that was not read from a file

  double* frame(int f) {
    return values.data() + static_cast<std::size_t>(f) * static_cast<std::size_t>(channels);
  }
  const double* frame(int f) const {
    return values.data() + static_cast<std::size_t>(f) * static_cast<std::size_t>(channels);
  }
  /// The joint of that name, -1 when there is none.
  int find(const std::string& name) const;
  /// The channel at place c of a frame, 0 <= c < channels.
  const Channel& channel(int c) const;
  /// The joint that the channel at place c of a frame moves.
  int owner(int c) const;
};

/// Reads a BVH clip, plain or gzip-compressed, along `searchPath` (null: the name as it stands). Joint names
/// may hold spaces, lines may be long and end in LF, CR LF or CR, a byte-order mark is skipped, keywords may
/// be written in any case. Throws Error naming file, line and word for what cannot be used, NaN included.
LIMBER_MOTION_API Clip readClip(const std::string& path, const char* searchPath = nullptr);

/// The clip as BVH text. The hierarchy and every number that equals what the clip was read from are written
/// as they stood; other numbers get as many decimals as the file had, at least six, and positions of a body
/// that is smaller than a unit get more: a millionth of its height is kept.
LIMBER_MOTION_API std::string textOf(const Clip& clip);
/// Writes textOf(clip) to a file that appears whole or not at all. Throws Error when that fails.
LIMBER_MOTION_API void writeClip(const Clip& clip, const std::string& path);

/// Makes each rotation channel continuous: multiples of 2 pi are added so that no value is further than pi
/// from the one in the frame before. The first frame stays.
LIMBER_MOTION_API void unwrapAngles(Clip* clip);
/// Brings the rotation channels back to the range of `original`: a channel that stays within +-pi there
/// (or within 0 to 2 pi) stays within it here; any other ends up in the same turn of the circle as there,
/// give or take half a turn. Both clips have the same channels and frames.
LIMBER_MOTION_API void wrapAngles(Clip* clip, const Clip& original);

/// Frames in which a joint of three rotation channels is near gimbal lock: its middle angle is within
/// `nearness` radians of a quarter turn, so that the outer two turn about almost the same axis.
struct GimbalLock {
  int joint;
  int frames;       ///< how many
  int first;        ///< the first of them
  int worst;        ///< the one that is nearest to the lock
  double distance;  ///< radians between the middle angle and the quarter turn in that frame
};
/// At most one a joint, in the order of the joints.
LIMBER_MOTION_API std::vector<GimbalLock> findGimbalLock(const Clip& clip, double nearness = 0.0873);

}  // namespace limber::motion
