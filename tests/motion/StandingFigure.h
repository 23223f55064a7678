#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "limber_motion/motion.h"
#include "tests/support/TemporaryFile.h"

constexpr double degree = 3.14159265358979323846 / 180.0;

inline std::string leg(const std::string& side, const std::string& x) {
  return "JOINT " + side + "UpLeg\n{\nOFFSET " + x + " -0.05 0\nCHANNELS 3 Zrotation Xrotation Yrotation\n" +
         "JOINT " + side + "Leg\n{\nOFFSET 0 -0.42 0\nCHANNELS 3 Zrotation Xrotation Yrotation\n" + "JOINT " +
         side + "Foot\n{\nOFFSET 0 -0.4 0.02\nCHANNELS 3 Zrotation Xrotation Yrotation\n" + "JOINT " + side +
         "Toe\n{\nOFFSET 0 -0.05 0.12\nCHANNELS 3 Zrotation Xrotation Yrotation\n" +
         "End Site\n{\nOFFSET 0 0 0.05\n}\n}\n}\n}\n}\n";
}

/// A figure of about 1.7 m that stands for `frames` frames at `rate` frames a second.
inline limber::motion::Clip standing(int frames, double rate) {
  std::string text =
      "HIERARCHY\nROOT Hips\n{\nOFFSET 0 0 0\n"
      "CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation Yrotation\n" +
      leg("Left", "0.09") + leg("Right", "-0.09") +
      "JOINT Chest\n{\nOFFSET 0 0.3 0\nCHANNELS 3 Zrotation Xrotation Yrotation\n"
      "JOINT Head\n{\nOFFSET 0 0.3 0\nCHANNELS 3 Zrotation Xrotation Yrotation\n"
      "End Site\n{\nOFFSET 0 0.2 0\n}\n}\n}\n}\n"
      "MOTION\nFrames: 1\nFrame Time: " +
      std::to_string(1.0 / rate) + "\n0 0.92 0";
  for (int i = 0; i < 33; ++i) text += " 0";
  const TemporaryDirectory directory;
  limber::motion::Clip clip = limber::motion::readClip(directory.write("standing.bvh", text + "\n"));
  clip.text = nullptr;
  const std::vector<double> pose = clip.values;
  while (clip.frames < frames) {
    clip.values.insert(clip.values.end(), pose.begin(), pose.end());
    ++clip.frames;
  }
  return clip;
}

/// The angle of a joint in a frame, in radians.
inline double& angle(limber::motion::Clip* clip, int frame, const std::string& joint, char axis) {
  const limber::motion::Joint& of = clip->joints[static_cast<std::size_t>(clip->find(joint))];
  for (std::size_t c = 0; c < of.channels.size(); ++c) {
    if (of.channels[c].rotation && of.channels[c].axis == axis)
      return clip->frame(frame)[of.firstChannel + static_cast<int>(c)];
  }
  throw limber::motion::Error("no such channel");
}
