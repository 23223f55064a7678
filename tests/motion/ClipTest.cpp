// Reading and writing clips: the meaning of correct files, and a message with file, line and word for each
// fault.

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "limber_motion/motion.h"
#include "tests/motion/SmallClip.h"
#include "tests/support/DecimalPoint.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/Tolerance.h"

namespace {

using namespace limber::motion;

constexpr double radians = 3.14159265358979323846 / 180.0;

Clip clipOf(const std::string& text) {
  const TemporaryDirectory directory;
  return readClip(directory.write("clip.bvh", text).c_str(), nullptr);
}

// The error message without the directory; empty if there was no error.
std::string problem(const std::string& text) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("clip.bvh", text);
  try {
    readClip(path.c_str(), nullptr);
  } catch (const Error& error) {
    const std::string message = error.what();
    return message.compare(0, directory.path().size() + 1, directory.path() + "/") == 0
               ? message.substr(directory.path().size() + 1)
               : "no path in front: " + message;
  }
  return "";
}

Clip writtenAndRead(const Clip& clip) {
  const TemporaryDirectory directory;
  const std::string path = directory / "copy.bvh";
  writeClip(clip, path);
  return readClip(path.c_str(), nullptr);
}

void expectSameSkeleton(const Clip& a, const Clip& b) {
  ASSERT_EQ(a.joints.size(), b.joints.size());
  for (std::size_t j = 0; j < a.joints.size(); ++j) {
    EXPECT_EQ(a.joints[j].name, b.joints[j].name);
    EXPECT_EQ(a.joints[j].parent, b.joints[j].parent);
    EXPECT_EQ(a.joints[j].endSite, b.joints[j].endSite);
    EXPECT_EQ(a.joints[j].firstChannel, b.joints[j].firstChannel);
    EXPECT_TRUE(tolerance::small((a.joints[j].offset - b.joints[j].offset).length(), 1e-6));
    ASSERT_EQ(a.joints[j].channels.size(), b.joints[j].channels.size());
    for (std::size_t c = 0; c < a.joints[j].channels.size(); ++c) {
      EXPECT_EQ(a.joints[j].channels[c].axis, b.joints[j].channels[c].axis);
      EXPECT_EQ(a.joints[j].channels[c].rotation, b.joints[j].channels[c].rotation);
    }
  }
}

TEST(Clip, EachJointKeepsItsChannelsInTheirOrder) {
  const Clip clip = clipOf(smallClip);
  ASSERT_EQ(clip.joints.size(), 3u);
  EXPECT_EQ(clip.channels, 8);
  EXPECT_EQ(clip.frames, 2);
  EXPECT_EQ(clip.frameTime, 0.04);
  const char order[] = "ZXYYZXXY";
  const bool turns[] = {false, false, false, true, true, true, true, false};
  for (int c = 0; c < 8; ++c) {
    EXPECT_EQ(clip.channel(c).axis, order[c]) << c;
    EXPECT_EQ(clip.channel(c).rotation, turns[c]) << c;
  }
  EXPECT_EQ(clip.joints[1].firstChannel, 6);
  EXPECT_EQ(clip.joints[2].name, "Arm.End");
  EXPECT_TRUE(clip.joints[2].endSite);
  EXPECT_EQ(clip.find("Arm.End"), 2);
  EXPECT_EQ(clip.find("Leg"), -1);
  EXPECT_EQ(clip.frame(0)[0], 1.0);
  EXPECT_EQ(clip.frame(0)[3], 10 * radians);
  EXPECT_EQ(clip.frame(1)[7], 0.5);
}

// In the second frame the base is at (-2, -3, -1) and turned by 90 degrees about x, which takes y to z. The
// arm is half a unit up, as its channel says (not its offset), and its end 5 more.
TEST(Clip, ChannelsMoveTheirJointsAlongAndAboutTheirAxes) {
  const Clip clip = clipOf(smallClip);
  const Skeleton skeleton(clip);
  const std::vector<Pnt3> at = skeleton.positions(clip.frame(1));
  EXPECT_TRUE(tolerance::small((at[0] - Pnt3(-2, -3, -1)).length(), 1e-14));
  EXPECT_TRUE(tolerance::small((at[1] - Pnt3(-2, -3, -1 + 0.5)).length(), 1e-14));
  EXPECT_TRUE(tolerance::small((at[2] - Pnt3(-2, -3, -1 + 5.5)).length(), 1e-14));
}

// The rotation of the last channel is applied to a point first: "Y Z X" is Y(10) Z(20) X(30) on column
// vectors.
TEST(Clip, TheLastRotationChannelActsFirst) {
  const Clip clip = clipOf(with(smallClip, "1 2 3 10 20 30 40 50", "0 0 0 90 0 90 0 10"));
  // The arm, 10 up: about x to (0, 0, 10), then about y to (10, 0, 0). The other order would give (0, 0, 10).
  const Pnt3 arm = Skeleton(clip).position(1, clip.frame(0));
  EXPECT_TRUE(tolerance::small((arm - Pnt3(10, 0, 0)).length(), 1e-13))
      << arm.x << " " << arm.y << " " << arm.z;
}

TEST(Clip, LineEndsBlankLinesAndCompressionMakeNoDifference) {
  const Clip clip = clipOf(smallClip);
  std::string dos, mac, wide;
  for (const char c : smallClip) {
    if (c == '\n') dos += '\r';
    dos += c;
    mac += c == '\n' ? '\r' : c;
    wide += c;
    if (c == '\n') wide += " \t\n\n";
  }
  const TemporaryDirectory directory;
  for (const std::string& text :
       {dos, mac, wide, "\n\n" + smallClip + "\n \n", smallClip.substr(0, smallClip.size() - 1)}) {
    const Clip same = clipOf(text);
    EXPECT_EQ(same.values, clip.values);
    expectSameSkeleton(same, clip);
  }
  const Clip unpacked = readClip(directory.writeGz("clip.bvh.gz", smallClip).c_str(), nullptr);
  EXPECT_EQ(unpacked.values, clip.values);
}

TEST(Clip, IsFoundAlongASearchPath) {
  const TemporaryDirectory here, there;
  there.write("clip.bvh", smallClip);
  EXPECT_EQ(readClip("clip.bvh", (here.path() + ";" + there.path()).c_str()).channels, 8);
  try {
    readClip("clip.bvh", here.path().c_str());
    FAIL() << "there is none";
  } catch (const Error& error) {
    EXPECT_EQ(error.what(), "clip.bvh: not found along " + here.path());
  }
}

// 90 joints of three channels: a line of about 3000 characters and, with wide numbers, one above 4096.
TEST(Clip, MotionLinesMayBeLong) {
  const DecimalPoint point;  // for atof
  for (const char* number : {" -123.456789", " -123.4567890123456"}) {
    std::string hierarchy = "HIERARCHY\nROOT J0\n{\nOFFSET 0 0 0\nCHANNELS 3 Zrotation Xrotation Yrotation\n";
    for (int j = 1; j < 90; ++j) {
      hierarchy +=
          "JOINT J" + std::to_string(j) + "\n{\nOFFSET 0 1 0\nCHANNELS 3 Zrotation Xrotation Yrotation\n";
    }
    std::string line;
    for (int j = 0; j < 90; ++j) {
      hierarchy += "}\n";
      for (int k = 0; k < 3; ++k) line += number;
    }
    const std::string text = hierarchy + "MOTION\nFrames: 2\nFrame Time: 1\n" + line + "\n" + line + "\n";
    const Clip clip = clipOf(text);
    ASSERT_EQ(clip.values.size(), 540u);
    for (const double value : clip.values) EXPECT_EQ(value, std::atof(number) * radians);
    const std::string shorter = hierarchy + "MOTION\nFrames: 1\nFrame Time: 1\n" + line.substr(20) + "\n";
    EXPECT_EQ(problem(shorter).find("clip.bvh:455: expected 270 numbers"), 0u) << problem(shorter);
  }
}

TEST(Clip, AMillionCharactersAreTooManyForALine) {
  EXPECT_EQ(problem(smallHierarchy + std::string(2000000, ' ')),
            "clip.bvh:16: a line of more than 1048576 characters");
}

TEST(Clip, AWrittenClipReadsBackToThePrintedDigits) {
  std::mt19937 random(3);
  for (const std::string& name : {std::string("own"), std::string("small")}) {
    Clip clip =
        name == "own" ? readClip(sourceFile("examples/data/walk.bvh").c_str(), nullptr) : clipOf(smallClip);
    for (double& value : clip.values) value += 1e-3 * static_cast<double>(random() % 1000);
    const Clip same = writtenAndRead(clip);
    expectSameSkeleton(clip, same);
    EXPECT_EQ(same.frames, clip.frames);
    EXPECT_TRUE(tolerance::relative(same.frameTime, clip.frameTime, 1e-8));
    ASSERT_EQ(same.values.size(), clip.values.size());
    for (int f = 0; f < clip.frames; ++f) {
      for (int c = 0; c < clip.channels; ++c) {
        // Half of the sixth digit (in degrees for angles), and the rounding of the conversions.
        const double half = 0.5000001e-6 * (clip.channel(c).rotation ? radians : 1.0);
        EXPECT_TRUE(tolerance::close(same.frame(f)[c], clip.frame(f)[c], half)) << f << " " << c;
      }
    }
  }
}

TEST(Clip, RealClipsReadAndReadBack) {
  LIMBER_NEEDS_DATA(bank, "mocapbank.bvh");
  LIMBER_NEEDS_DATA(recorded, "cmu_02_01_walk.bvh");
  for (const std::string& path : {bank, recorded}) {
    const Clip clip = readClip(path.c_str(), nullptr);
    EXPECT_GT(clip.frames, 100);
    EXPECT_GT(Skeleton(clip).height(), 0.0);
    const Clip same = writtenAndRead(clip);
    expectSameSkeleton(clip, same);
    EXPECT_TRUE(tolerance::close(clip.values.data(), same.values.data(), static_cast<int>(clip.values.size()),
                                 0.5000001e-6));
  }
}

TEST(Clip, BonesOfLengthZeroAreAcceptedWithANote) {
  const Clip clip = clipOf(with(smallClip, "OFFSET 0 10 0", "OFFSET 0 0 -0"));
  ASSERT_EQ(clip.notes.size(), 1u);
  EXPECT_NE(clip.notes[0].find("clip.bvh:8: the bone to Arm has length zero"), std::string::npos)
      << clip.notes[0];
  EXPECT_TRUE(clipOf(smallClip).notes.empty());
  const Clip both =
      clipOf(with(with(smallClip, "OFFSET 0 10 0", "OFFSET 0 0 0"), "OFFSET 0 5 0", "OFFSET 0 0 0"));
  ASSERT_EQ(both.notes.size(), 1u);
  EXPECT_NE(both.notes[0].find("clip.bvh:8: the bone to Arm and 1 more have length zero"), std::string::npos)
      << both.notes[0];
}

struct Spoilt {
  const char* from;
  const char* to;
  const char* message;
};

class SpoiltClip : public ::testing::TestWithParam<Spoilt> {};

TEST_P(SpoiltClip, IsRefusedWithItsPlace) {
  const Spoilt& one = GetParam();
  ASSERT_EQ(problem(smallClip), "");
  EXPECT_EQ(problem(with(smallClip, one.from, one.to)), std::string("clip.bvh:") + one.message);
}

const Spoilt spoilt[] = {
    {"HIERARCHY", "HIERARCHIE", "1: expected HIERARCHY, found 'HIERARCHIE'"},
    {"{", "[", "3: expected {, found '['"},
    {"OFFSET 0 1 0", "OFFSET 0 1", "4: expected an offset, found the end of the line"},
    {"OFFSET 0 1 0", "OFFSET 0 1 0 0", "4: expected the end of the line, found '0'"},
    {"OFFSET 0 1 0", "OFFSET 0 nan 0", "4: expected an offset, found 'nan'"},
    {"OFFSET 0 1 0", "OFFSET 0 1e400 0", "4: expected an offset, found '1e400'"},
    {"OFFSET 0 1 0", "OFFSET 0 1e16 0", "4: expected an offset, found '1e16'"},
    {"OFFSET 0 1 0", "OFFSET 0 0x1 0", "4: expected an offset, found '0x1'"},
    {"OFFSET 0 1 0", "OFFSET 0 1,5,5 0", "4: expected an offset, found '1,5,5'"},
    {"OFFSET 0 1 0", "OFFSET 0 1,500.5 0", "4: expected an offset, found '1,500.5'"},
    {"CHANNELS 6", "CHANNELS six", "5: expected the number of channels, found 'six'"},
    {"CHANNELS 6", "CHANNELS 7", "5: expected 0 to 6 channels, found 7"},
    {"CHANNELS 6", "CHANNELS -1", "5: expected 0 to 6 channels, found -1"},
    {"CHANNELS 6", "CHANNELS 5", "5: expected the end of the line, found 'Xrotation'"},
    {"CHANNELS 2", "CHANNELS 3", "9: expected a channel, found the end of the line"},
    {"Zposition", "Wposition", "5: expected a channel such as Xrotation or Yposition, found 'Wposition'"},
    {"Zposition", "Zscale", "5: expected a channel such as Xrotation or Yposition, found 'Zscale'"},
    {"Zposition", "Xposition", "5: the channel 'Xposition' twice in one joint"},
    {"JOINT Arm", "LIMB Arm", "6: expected JOINT, End Site or }, found 'LIMB'"},
    {"End Site", "End", "11: expected Site, found '{'"},
    {"OFFSET 0 5 0\n", "OFFSET 0 5 0\n JOINT Hand\n", "13: expected }, found 'JOINT'"},
    {"}\nMOTION", "}\nROOT Other\n{\n", "16: a second ROOT: only clips of one character can be read"},
    {"MOTION", "MOTIONS", "16: expected MOTION, found 'MOTIONS'"},
    {"Frames: 2", "Frames: 2.5", "17: expected the number of frames, found '2.5'"},
    {"Frames: 2", "Frames: 99999999999", "17: expected the number of frames, found '99999999999'"},
    {"Frames: 2", "Frames: -1", "17: expected at least one frame"},
    {"Frames: 2", "Frames: 2 3", "17: expected the end of the line, found '3'"},
    {"Frame Time: 0.04", "Frame Time: -0.04", "18: expected a frame time above 0"},
    {"Frame Time: 0.04", "Time: 0.04", "18: expected Frame Time:, found 'Time:'"},
    {"Frame Time: 0.04", "Frame Time: nan", "18: expected the seconds of a frame, found 'nan'"},
    {"Frame Time: 0.04", "Frame Time: 0.04 s", "18: expected the end of the line, found 's'"},
    {"30 40 50", "30 40", "19: expected 8 numbers in a frame, found 7"},
    {"30 40 50", "30 40 50 60", "19: expected no more than 8 numbers in a frame, found '60'"},
    {"30 40 50", "30 40 NaN", "19: expected a number, found 'NaN'"},
    {"30 40 50", "30 40 -inf", "19: expected a number, found '-inf'"},
    {"30 40 50", "30 40 1e400", "19: expected a number, found '1e400'"},
    {"30 40 50", "30 40 5O", "19: expected a number, found '5O'"},
    {"30 40 50\n", "30 40\n50 60\n", "19: expected 8 numbers in a frame, found 7"},
    {"30 40 50\n", "30 40 50\nmore\n", "20: expected a number, found 'more'"},
    {smallMotion.c_str(), "MOTION\nFrames: 2\nFrame Time: 0.04\n", "18: expected 2 frames, found none"},
    {smallMotion.c_str(), "MOTION\nFrames: 0\nFrame Time: 0.04\n",
     "18: expected at least one frame, found none"},
    {smallMotion.c_str(), "MOTION\nFrames: 2\nFrame Time: 0.04\n1 2 3\n",
     "19: expected 8 numbers in a frame, found 3"},
    {smallMotion.c_str(), "MOTION\nFrames: 2\nFrame Time: 0.04\n1 2 3 4\n5 6 7 8\n",
     "19: expected 8 numbers in a frame, found 4"},
    {smallMotion.c_str(), "", "15: expected MOTION, found the end of the file"},
};

INSTANTIATE_TEST_SUITE_P(Clip, SpoiltClip, ::testing::ValuesIn(spoilt));

TEST(Clip, ATruncatedTextIsRefusedIfItHasNoWholeFrame) {
  // The line of the first frame must have its end, because its last number may be cut too.
  for (std::size_t length = 0; length <= smallClip.find("\n-1 -2"); ++length) {
    EXPECT_NE(problem(smallClip.substr(0, length)), "") << length;
  }
}

TEST(Clip, EveryTruncationOfACompressedClipIsRefused) {
  const TemporaryDirectory directory;
  const std::string packed = readFile(directory.writeGz("clip.bvh.gz", smallClip));
  ASSERT_GT(packed.size(), 60u);
  for (std::size_t length = 0; length < packed.size(); ++length) {
    EXPECT_NE(problem(packed.substr(0, length)), "") << length;
  }
  EXPECT_EQ(problem(packed), "");
  EXPECT_NE(problem(packed.substr(0, packed.size() / 2)).find("damaged or cut short"), std::string::npos);
}

TEST(Clip, OtherFilesAreRefused) {
  const TemporaryDirectory directory;
  EXPECT_THROW(readClip((directory / "none.bvh").c_str(), nullptr), Error);
  EXPECT_THROW(readClip(directory.path().c_str(), nullptr), Error);
  EXPECT_EQ(problem(""), "clip.bvh: expected HIERARCHY, found the end of the file");
  EXPECT_EQ(problem(std::string("HIER\0ARCHY", 10)), "clip.bvh: this is not text: it holds a zero byte");
  EXPECT_EQ(problem("HIERARCHY ROOT a { OFFSET 0 0 0\nCHANNELS 0\n}\nMOTION\nFrames: 1\nFrame Time: 1\n"),
            "clip.bvh:4: a skeleton without channels cannot move");
  std::string deep = "HIERARCHY\nROOT j\n";
  for (int j = 0; j < 300; ++j) deep += "{ OFFSET 0 1 0\nCHANNELS 0\nJOINT j" + std::to_string(j) + "\n";
  EXPECT_EQ(problem(deep), "clip.bvh:602: more than 200 joints in one chain");
}

}  // namespace
