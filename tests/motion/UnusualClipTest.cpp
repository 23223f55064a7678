// Clips that differ from what their hierarchy or their times announce, as other programs write them. They are
// read if their meaning is clear, and a note says what was done.

#include <gtest/gtest.h>

#include <cmath>

#include "limber_motion/motion.h"
#include "tests/motion/SmallClip.h"
#include "tests/support/TemporaryFile.h"

namespace {

using namespace limber::motion;

Clip clipOf(const std::string& text) {
  const TemporaryDirectory directory;
  return readClip(directory.write("clip.bvh", text));
}

// The notes without the directory, one per line.
std::string notesOf(const Clip& clip) {
  std::string notes;
  for (const std::string& note : clip.notes)
    notes += (notes.empty() ? "" : "\n") + note.substr(note.find("clip.bvh"));
  return notes;
}

std::vector<double> firstFrame(const Clip& clip) {
  return std::vector<double>(clip.frame(0), clip.frame(0) + clip.channels);
}

TEST(UnusualClip, LinesAfterTheDeclaredFramesAreLeftOut) {
  const Clip one = clipOf(with(smallClip, "Frames: 2", "Frames: 1"));
  EXPECT_EQ(one.frames, 1);
  EXPECT_EQ(one.values, firstFrame(clipOf(smallClip)));
  EXPECT_EQ(notesOf(one), "clip.bvh:20: one line after the declared 1 frames left out");
  const Clip two = clipOf(smallClip + "\n 9 9 9 9 9 9 9 9\nmore text\n");
  EXPECT_EQ(two.values, clipOf(smallClip).values);
  EXPECT_EQ(notesOf(two), "clip.bvh:22: 2 lines after the declared 2 frames left out");
  EXPECT_EQ(textOf(two), smallClip) << "what was left out is not written";
}

TEST(UnusualClip, WholeFramesOfATruncatedFileAreRead) {
  for (const char* declared : {"Frames: 3", "Frames: 2000000000", "Frames: 0"}) {
    const Clip clip = clipOf(with(smallClip, "Frames: 2", declared));
    EXPECT_EQ(clip.frames, 2);
    EXPECT_EQ(clip.values, clipOf(smallClip).values);
    EXPECT_EQ(notesOf(clip), "clip.bvh:20: there are 2 whole frames instead of the declared " +
                                 std::string(declared).substr(8) + " frames");
    EXPECT_EQ(textOf(clip), smallClip) << "the number of frames is right again";
  }
}

TEST(UnusualClip, AFrameThatIsCutIsLeftOut) {
  const std::vector<double> first = firstFrame(clipOf(smallClip));
  const std::size_t second = smallClip.find("-1 -2");
  for (std::size_t length = second; length + 2 < smallClip.size(); ++length) {
    const Clip clip = clipOf(smallClip.substr(0, length));
    EXPECT_EQ(clip.values, first) << length;
    EXPECT_EQ(clip.notes.size(), 1u) << length;
  }
  // The last line of a file may lack its end, but not if frames are missing.
  const std::string withoutEnd = smallClip.substr(0, smallClip.size() - 1);
  EXPECT_EQ(clipOf(withoutEnd).values, clipOf(smallClip).values);
  EXPECT_TRUE(clipOf(withoutEnd).notes.empty());
  EXPECT_EQ(clipOf(with(withoutEnd, "Frames: 2", "Frames: 3")).frames, 1);
}

TEST(UnusualClip, AFrameMayBeBrokenOverSeveralLines) {
  const Clip clip = clipOf(with(with(smallClip, "3 10 20", "3\n10\n\n 20"), "0 .5", "0\n.5"));
  EXPECT_EQ(clip.values, clipOf(smallClip).values);
  EXPECT_EQ(clipOf(textOf(clip)).values, clip.values);
}

TEST(UnusualClip, AFrameTimeOfZeroIsAThirtiethOfASecond) {
  for (const char* zero : {"0", "0.0", "0,000", "-0"}) {
    const Clip clip = clipOf(with(smallClip, "0.04", zero));
    EXPECT_EQ(clip.frameTime, 1.0 / 30.0);
    EXPECT_NE(notesOf(clip).find("clip.bvh:18: a frame lasts no time: 30 frames a second are assumed"),
              std::string::npos);
    EXPECT_EQ(clipOf(textOf(clip)).frameTime, 1.0 / 30.0);
  }
}

TEST(UnusualClip, ALongFrameTimeIsProbablyAFrameRate) {
  EXPECT_EQ(notesOf(clipOf(with(smallClip, "0.04", "25"))),
            "clip.bvh:18: a frame lasts 25 s; is this the frame rate?");
  EXPECT_TRUE(clipOf(with(smallClip, "0.04", "1.")).notes.empty());
}

TEST(UnusualClip, TheColonsOfTheTimesMayBeMissing) {
  const Clip clip = clipOf(with(with(smallClip, "Frames:", "frames"), "Frame Time:", "frametime"));
  EXPECT_EQ(clip.values, clipOf(smallClip).values);
  EXPECT_EQ(clip.frameTime, 0.04);
}

TEST(UnusualClip, CommasInNumbersAreDecimalPoints) {
  std::string commas = with(with(smallClip, "OFFSET 0 10 0", "OFFSET 0 10,25 -,5"), "0.04", "0,04");
  commas = with(with(commas, "1 2 3", "1,5 2 3e-1"), "0 .5", "0 ,5");
  const std::string points = with(
      with(with(with(smallClip, "OFFSET 0 10 0", "OFFSET 0 10.25 -.5"), "1 2 3", "1.5 2 3e-1"), "\n", "\r\n"),
      "0 .5", "0 .5");
  const Clip clip = clipOf(commas), same = clipOf(points);
  EXPECT_EQ(clip.values, same.values);
  EXPECT_EQ(clip.frameTime, 0.04);
  EXPECT_EQ(clip.joints[1].offset.y, 10.25);
  EXPECT_EQ(clip.joints[1].offset.z, -0.5);
  EXPECT_EQ(notesOf(clip), "clip.bvh:8: commas in numbers are taken as decimal points");
  const std::string again = textOf(clip);
  EXPECT_EQ(again.find(','), std::string::npos) << again;
  EXPECT_EQ(clipOf(again).values, clip.values);
  EXPECT_EQ(clipOf(again).joints[1].offset.y, 10.25);
}

TEST(UnusualClip, JointsWithoutAndWithTheSameNameGetNamesOfTheirOwn) {
  const Clip unnamed = clipOf(with(smallClip, "JOINT Arm", "JOINT"));
  EXPECT_EQ(unnamed.joints[1].name, "Joint2");
  EXPECT_EQ(unnamed.joints[2].name, "Joint2.End");
  EXPECT_EQ(notesOf(unnamed), "clip.bvh:6: a joint without a name is called Joint2 here");
  EXPECT_EQ(textOf(unnamed), with(smallClip, "JOINT Arm", "JOINT"));
  const Clip twins = clipOf(with(smallClip, "JOINT Arm", "JOINT Base"));
  EXPECT_EQ(twins.joints[1].name, "Base (2)");
  EXPECT_EQ(notesOf(twins), "clip.bvh:6: another joint called 'Base' is called 'Base (2)' here");
  EXPECT_EQ(textOf(twins), with(smallClip, "JOINT Arm", "JOINT Base"));
  const Clip ends = clipOf(with(with(smallClip, "ROOT Base", "ROOT Arm.End"), "JOINT Arm\n",
                                "JOINT Arm {\n"
                                "    OFFSET 0 1 0\n"
                                "  } JOINT Arm2\n"));
  EXPECT_EQ(ends.joints[2].name, "Arm2");
}

TEST(UnusualClip, NamesMayHoldAnyOtherCharacters) {
  for (const char* name :
       {"mixamorig:LeftHand", "Bip01 L Foot.001", "007", "-1.5", "J\xF6rg", "a,b;c#d", "MOTION"}) {
    const std::string text = with(smallClip, "JOINT Arm", std::string("JOINT ") + name);
    const Clip clip = clipOf(text);
    EXPECT_EQ(clip.joints[1].name, name);
    EXPECT_EQ(clip.find(name), 1);
    EXPECT_EQ(textOf(clip), text);
  }
}

TEST(UnusualClip, EndSitesMayBeSpeltInOneWord) {
  for (const char* word : {"End site", "end SITE", "EndSite"}) {
    EXPECT_EQ(clipOf(with(smallClip, "End Site", word)).joints[2].name, "Arm.End") << word;
  }
}

TEST(UnusualClip, JointsHaveAnyNumberOfChannelsInAnyOrder) {
  const std::string six = "CHANNELS 6 Xrotation Xposition Yrotation Yposition Zrotation Zposition";
  for (const char* channels : {"CHANNELS 0", "CHANNELS 1 Yrotation", "CHANNELS 2 Zposition Xrotation",
                               "CHANNELS 3 Yrotation Xrotation Zrotation", six.c_str()}) {
    const int count = channels[9] - '0';
    std::string text = with(smallClip, "CHANNELS 2 Xrotation Yposition", channels), row;
    for (int c = 0; c < count; ++c) row += " " + std::to_string(c + 1);
    text = with(with(text, " 40 50", row), " 0 .5", row);
    const Clip clip = clipOf(text);
    EXPECT_EQ(clip.channels, 6 + count);
    EXPECT_EQ(clip.joints[1].channels.size(), static_cast<std::size_t>(count));
    EXPECT_EQ(textOf(clip), text);
  }
}

}  // namespace
