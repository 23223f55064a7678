// Makes the walking clip of the demo: 120 frames of 20 joints. Its feet slide when they should stand, because
// the body moves faster than the legs. The clip is written to standard output as BVH: lengths in centimetres,
// y upwards, z forwards, x to the left; rotations in Z X Y order, in degrees.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double degrees = 180.0 / pi;

constexpr int frames = 120;
constexpr double frameTime = 1.0 / 30.0;
constexpr double cycle = 1.2;      // seconds for a left and a right step
constexpr double standing = 0.62;  // the fraction of the cycle in which a foot is on the ground
constexpr double stride = 52.0;    // how far a standing foot moves back under the hips
constexpr double slide =
    1.35;  // how much faster than the legs the body moves: the fault that the demo repairs
constexpr double thigh = 42.0, shank = 40.0, ankleHeight = 8.0, hipHeight = 87.0, hipHalfWidth = 9.0;

struct Joint {
  const char* name;
  int parent;
  double x, y, z;           // offset from the parent
  double endX, endY, endZ;  // end site, if there is no child
};

const std::vector<Joint> joints = {
    {"Hips", -1, 0, 0, 0, 0, 0, 0},
    {"LeftUpLeg", 0, hipHalfWidth, 0, 0, 0, 0, 0},
    {"LeftLeg", 1, 0, -thigh, 0, 0, 0, 0},
    {"LeftFoot", 2, 0, -shank, 0, 0, 0, 0},
    {"LeftToeBase", 3, 0, -ankleHeight + 2, 14, 0, 0, 6},
    {"RightUpLeg", 0, -hipHalfWidth, 0, 0, 0, 0, 0},
    {"RightLeg", 5, 0, -thigh, 0, 0, 0, 0},
    {"RightFoot", 6, 0, -shank, 0, 0, 0, 0},
    {"RightToeBase", 7, 0, -ankleHeight + 2, 14, 0, 0, 6},
    {"Spine", 0, 0, 8, 0, 0, 0, 0},
    {"Spine1", 9, 0, 14, 0, 0, 0, 0},
    {"Chest", 10, 0, 14, 0, 0, 0, 0},
    {"Neck", 11, 0, 20, 0, 0, 0, 0},
    {"Head", 12, 0, 8, 1, 0, 16, 2},
    {"LeftArm", 11, 18, 15, 0, 0, 0, 0},
    {"LeftForeArm", 14, 2, -28, 0, 0, 0, 0},
    {"LeftHand", 15, 0, -25, 2, 0, -9, 1},
    {"RightArm", 11, -18, 15, 0, 0, 0, 0},
    {"RightForeArm", 17, -2, -28, 0, 0, 0, 0},
    {"RightHand", 18, 0, -25, 2, 0, -9, 1},
};

void writeJoint(std::size_t j, int depth) {
  const std::string indent(static_cast<std::size_t>(depth), '\t');
  const Joint& joint = joints[j];
  std::printf("%s%s %s\n%s{\n", indent.c_str(), joint.parent < 0 ? "ROOT" : "JOINT", joint.name,
              indent.c_str());
  std::printf("%s\tOFFSET %.4f %.4f %.4f\n", indent.c_str(), joint.x, joint.y, joint.z);
  std::printf("%s\tCHANNELS %sZrotation Xrotation Yrotation\n", indent.c_str(),
              joint.parent < 0 ? "6 Xposition Yposition Zposition " : "3 ");
  bool leaf = true;
  for (std::size_t child = 0; child < joints.size(); ++child) {
    if (joints[child].parent == static_cast<int>(j)) {
      writeJoint(child, depth + 1);
      leaf = false;
    }
  }
  if (leaf) {
    std::printf("%s\tEnd Site\n%s\t{\n%s\t\tOFFSET %.4f %.4f %.4f\n%s\t}\n", indent.c_str(), indent.c_str(),
                indent.c_str(), joint.endX, joint.endY, joint.endZ, indent.c_str());
  }
  std::printf("%s}\n", indent.c_str());
}

struct Angles {
  double z = 0, x = 0, y = 0;  // radians
};

// The angles of hip, knee and ankle about the x axis that put the ankle `ahead` of the hip and `below` it,
// with the sole turned by `pitch`. They follow from a triangle with two known sides.
void bendLeg(double ahead, double below, double pitch, Angles* leg) {
  const double reach = std::fmin(std::hypot(ahead, below), 0.999 * (thigh + shank));
  const double atHip = std::acos((thigh * thigh + reach * reach - shank * shank) / (2 * thigh * reach));
  const double atKnee = std::acos((thigh * thigh + shank * shank - reach * reach) / (2 * thigh * shank));
  leg[0].x = -(std::atan2(ahead, below) + atHip);
  leg[1].x = pi - atKnee;
  leg[2].x = pitch - leg[0].x - leg[1].x;
}

void poseLeg(double phase, double hips, Angles* leg) {
  phase -= std::floor(phase);
  if (phase < standing) {
    bendLeg(stride * (0.5 - phase / standing), hips - ankleHeight, 0.0, leg);
  } else {
    const double swing = (phase - standing) / (1 - standing);
    const double ease = 0.5 - 0.5 * std::cos(pi * swing);
    bendLeg(stride * (ease - 0.5), hips - ankleHeight - 13 * std::sin(pi * swing),
            0.5 * std::sin(2 * pi * swing), leg);
  }
}

void writeFrame(int frame) {
  const double time = frame * frameTime, phase = time / cycle;
  const double hips = hipHeight - 1.5 + 1.5 * std::cos(4 * pi * phase);
  const double ahead = slide * stride / (standing * cycle) * time;

  std::vector<Angles> pose(joints.size());
  poseLeg(phase, hips, &pose[1]);
  poseLeg(phase + 0.5, hips, &pose[5]);
  const double beat = 2 * pi * phase;
  pose[0].y = 0.10 * std::sin(beat);
  pose[0].z = 0.03 * std::sin(beat);
  pose[9].y = pose[10].y = -0.08 * std::sin(beat);
  pose[9].x = 0.06;
  pose[11].z = -0.03 * std::sin(beat);
  pose[13].x = -0.05 + 0.02 * std::sin(2 * beat);
  pose[14].x = 0.45 * std::cos(beat);
  pose[14].z = 0.10;
  pose[15].x = -0.35 - 0.20 * std::cos(beat);
  pose[17].x = -0.45 * std::cos(beat);
  pose[17].z = -0.10;
  pose[18].x = -0.35 + 0.20 * std::cos(beat);

  std::printf("%.4f %.4f %.4f", 0.8 * std::sin(beat), hips, ahead);
  for (const Angles& a : pose) std::printf(" %.4f %.4f %.4f", a.z * degrees, a.x * degrees, a.y * degrees);
  std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {
    const bool help = std::strcmp(argv[1], "--help") == 0;
    std::fputs("usage: walk_generator >CLIP.bvh\nPrints the motion clip of a walk whose feet slide.\n",
               help ? stdout : stderr);
    return !help || std::fflush(stdout) != 0;
  }
  std::printf("HIERARCHY\n");
  writeJoint(0, 0);
  std::printf("MOTION\nFrames: %d\nFrame Time: %.6f\n", frames, frameTime);
  for (int frame = 0; frame < frames; ++frame) writeFrame(frame);
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return 0;
  std::fputs("walk_generator: the clip could not be written completely\n", stderr);
  return 1;
}
