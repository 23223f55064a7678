#pragma once

/// @file
/// Motion clips: a skeleton of joints and one line of numbers per frame, read from and written to BVH files.

#include <memory>
#include <string>
#include <vector>

#include "limber/geometry/Pnt3.h"
#include "limber_motion/Api.h"

namespace limber::motion {

/// One number per frame that moves a joint: a translation along an axis, or a rotation about it.
struct Channel {
  char axis;  ///< 'X', 'Y' or 'Z'
  bool rotation;
};

/// A joint or an end site (which has no channels). Joints stand in the order of the file, each after its
/// parent.
struct Joint {
  std::string name;  ///< may contain spaces; an end site is named after its parent: "Head.End", a second one
                     ///< "Head.End2"
  int parent;        ///< -1 for the root
  Pnt3 offset;       ///< from the parent, in the parent's axes; a position channel replaces it on its axis
  std::vector<Channel> channels;  ///< in the order of the file; rotations act on a point last channel first
  int firstChannel;               ///< the index in a frame of the joint's first channel
  bool endSite;
};

/// The text of the file that a clip was read from. Everything that has not been changed is written back
/// unchanged.
struct ClipText {
  std::string hierarchy;            ///< everything before MOTION, including the line ends
  std::string frameTime;            ///< the word after "Frame Time:"
  std::vector<std::string> frames;  ///< one line per frame
  int decimals = 6;  ///< the largest number of digits after a decimal point, at least 6 and at most 15
};

/// The axis of the world that points up.
enum class Up { X, Y, Z, MinusX, MinusY, MinusZ };

/// A skeleton and its motion. Angles are in radians, lengths in the file's unit, times in seconds. A program
/// may build a clip of its own. Functions that take a clip throw an Error if it is not consistent. In a
/// consistent clip
/// - the first joint is the only one without a parent, and every other joint stands after its parent;
/// - the channels of the joints follow one another;
/// - there are frames times channels values, all of them finite;
/// - the frame time is above 0.
struct LIMBER_MOTION_API Clip {
  std::vector<Joint> joints;
  int channels = 0;  ///< numbers per frame
  int frames = 0;
  double frameTime = 0.0;          ///< seconds
  Up up = Up::Y;                   ///< readClip finds it (findUp); everything that has to do with heights
                                   ///< and the ground follows it
  std::vector<double> values;      ///< frames times channels, frame after frame
  std::vector<std::string> notes;  ///< remarks about the file, such as bones of length zero
  std::shared_ptr<const ClipText> text;  ///< null for a clip that was not read from a file

  double* frame(int f) {
    return values.data() + static_cast<std::size_t>(f) * static_cast<std::size_t>(channels);
  }
  const double* frame(int f) const {
    return values.data() + static_cast<std::size_t>(f) * static_cast<std::size_t>(channels);
  }
  /// The index of the joint with that name, or -1 if there is none.
  int find(const std::string& name) const;
  /// The channel with index c in a frame, 0 <= c < channels.
  const Channel& channel(int c) const;
  /// The joint that the channel with index c moves.
  int owner(int c) const;
};

/// Reads a BVH clip, plain or gzip-compressed, and looks for it along `searchPath` (if that is null, opens
/// the name as given). Joint names may contain spaces. Lines may be long and end in LF, CR LF or CR. A
/// byte-order mark is skipped. Keywords may be written in upper or lower case. A frame may be broken over
/// several lines. What is unusual, but has a clear meaning, is read, and a note of the clip says what was
/// done:
///   - lines after the declared number of frames are left out;
///   - if there are fewer frames (a truncated file), those that are whole are read;
///   - a frame time of 0 is taken as 30 frames a second;
///   - commas in numbers are decimal points;
///   - joints without a name, and joints with the name of another one, get names of their own.
/// If the input is not valid (NaN, two roots and frames with a wrong number of values included), throws an
/// Error that names the file, the line and the word.
LIMBER_MOTION_API Clip readClip(const std::string& path, const char* searchPath = nullptr);

/// The clip as BVH text. The hierarchy and every number that has not changed since the clip was read are
/// written as they stood in the file. Other numbers get as many decimals as the file had, at least six. If
/// the body is smaller than one unit, positions get more decimals, so that they are exact to a millionth of
/// its height. Throws Error if the joints do not stand in the order of a BVH file (each joint after its
/// parent and all that hangs on the parent's earlier children). End sites have no names in the file.
LIMBER_MOTION_API std::string textOf(const Clip& clip);
/// Writes textOf(clip) to a file. The file appears complete or not at all: the text is first written to
/// PATH.part, which stays only if the process is ended meanwhile. Throws Error on failure.
LIMBER_MOTION_API void writeClip(const Clip& clip, const std::string& path);

/// Makes each rotation channel continuous: adds multiples of 2 pi so that no value differs from that of the
/// previous frame by more than pi. The first frame does not change.
LIMBER_MOTION_API void unwrapAngles(Clip* clip);
/// Brings the rotation channels back to the range of `original`. A channel that stays within +-pi there (or
/// within 0 to 2 pi) stays within that range here. Every value of any other channel is moved to within half a
/// turn of its value in `original`. Both clips have the same channels and frames.
LIMBER_MOTION_API void wrapAngles(Clip* clip, const Clip& original);

/// The frames in which a joint with three rotation channels is near gimbal lock: its middle angle is within
/// `nearness` radians of a quarter turn, so that the two outer rotations have almost the same axis.
struct GimbalLock {
  int joint;
  int frames;       ///< how many
  int first;        ///< the first such frame
  int worst;        ///< the frame that is nearest to the lock
  double distance;  ///< radians between the middle angle and the quarter turn in that frame
};
/// At most one per joint, in the order of the joints.
LIMBER_MOTION_API std::vector<GimbalLock> findGimbalLock(const Clip& clip, double nearness = 0.0873);

}  // namespace limber::motion
