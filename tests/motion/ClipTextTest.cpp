// Clips of other programs: their spellings, and what stays the same when they are written again.

#include <gtest/gtest.h>

#include <cmath>

#include "limber_motion/motion.h"
#include "tests/motion/SmallClip.h"
#include "tests/support/CommaLocale.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/Tolerance.h"

namespace {

using namespace limber::motion;

constexpr double pi = 3.14159265358979323846, radians = pi / 180.0;

Clip clipOf(const std::string& text) {
  const TemporaryDirectory directory;
  return readClip(directory.write("clip.bvh", text));
}

std::string problem(const std::string& text) {
  try {
    clipOf(text);
  } catch (const Error& error) {
    return error.what() + error.file().size() + 2;
  }
  return "";
}

// The text after the line of the frame time.
std::string framesOf(const std::string& text) {
  const std::size_t times = text.find("Frame Time:");
  return text.substr(text.find('\n', times) + 1);
}

// The text without blanks at the ends of lines and without empty lines.
std::string withoutBlankEnds(const std::string& text) {
  std::string kept;
  for (const char c : text) {
    if (c == '\n') {
      while (!kept.empty() && static_cast<unsigned char>(kept.back()) <= ' ') kept.pop_back();
    }
    kept += c;
  }
  return kept;
}

TEST(ClipText, NamesMayHoldBlanksAndLettersOfOtherAlphabets) {
  const std::string text = with(with(smallClip, "ROOT Base", "ROOT Bip01 L Foot \t"), "JOINT Arm\n  {",
                                "JOINT Fu\xC3\x9F links {");
  const Clip clip = clipOf(text);
  EXPECT_EQ(clip.joints[0].name, "Bip01 L Foot");
  EXPECT_EQ(clip.joints[1].name, "Fu\xC3\x9F links");
  EXPECT_EQ(clip.joints[2].name, "Fu\xC3\x9F links.End");
  EXPECT_EQ(clip.values, clipOf(smallClip).values);
}

TEST(ClipText, IsReadHoweverItIsSpelt) {
  const std::vector<double> values = clipOf(smallClip).values;
  std::string tabs = smallClip;
  for (char& c : tabs) c = c == ' ' ? '\t' : c;
  for (const std::string& text :
       {"\xEF\xBB\xBF" + smallClip, tabs, with(smallClip, "Frames: 2", "Frames:2"),
        with(smallClip, "Frames: 2", " FRAMES : 2 "), with(smallClip, "Frame Time: 0.04", "Frame time:.04"),
        with(smallClip, "Frame Time: 0.04", "Frame  Time :\t4e-2"), with(smallClip, "Zposition", "zPosition"),
        with(smallClip, "End Site", "END SITE"), with(smallClip, "MOTION", "Motion")}) {
    const Clip clip = clipOf(text);
    EXPECT_EQ(clip.values, values) << text;
    EXPECT_EQ(clip.frameTime, 0.04);
    EXPECT_EQ(clip.channel(0).axis, 'Z');
  }
}

TEST(ClipText, AJointWithoutALineOfChannelsDoesNotMove) {
  const std::string text =
      with(with(smallClip, "    CHANNELS 2 Xrotation Yposition\n", ""), " 40 50\n", "\n");
  const Clip clip = clipOf(with(text, " 0 .5\n", "\n"));
  EXPECT_EQ(clip.channels, 6);
  EXPECT_TRUE(clip.joints[1].channels.empty());
}

TEST(ClipText, ASecondEndOfAJointHasANameOfItsOwn) {
  const Clip clip = clipOf(with(smallClip, "    End Site", "    End Site\n{\nOFFSET 1 2 3\n}\n    End Site"));
  EXPECT_EQ(clip.joints[2].name, "Arm.End");
  EXPECT_EQ(clip.joints[3].name, "Arm.End2");
}

TEST(ClipText, OtherEncodingsAndOtherFilesAreNamed) {
  EXPECT_EQ(problem(std::string("\xFF\xFEH\0I\0", 6)), "this is UTF-16 text; save it as UTF-8");
  EXPECT_EQ(problem(smallClip + std::string(1, '\0')), "this is not text: it holds a zero byte");
  EXPECT_THROW(readClip("/dev/zero"), Error);
}

TEST(ClipText, TheErrorKnowsFileAndLine) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("clip.bvh", with(smallClip, "30 40 50", "30 40 nan"));
  try {
    readClip(path);
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.file(), path);
    EXPECT_EQ(error.line(), 19);
    EXPECT_EQ(std::string(error.what()), path + ":19: expected a number, found 'nan'");
  }
}

TEST(ClipText, APositionChannelReplacesTheOffsetOnItsAxis) {
  Clip clip = clipOf(smallClip);
  clip.frame(0)[7] = 3.0;
  for (int c = 3; c < 7; ++c) clip.frame(0)[c] = 0.0;
  const std::vector<Pnt3> at = Skeleton(clip).positions(clip.frame(0));
  EXPECT_TRUE(at[0] == Pnt3(2, 3, 1));
  EXPECT_TRUE(at[1] == Pnt3(2, 6, 1)) << at[1].y;
  EXPECT_EQ(Skeleton(clip).height(), 15.0) << "the body's height is the offsets'";
}

TEST(ClipText, WhatWasNotChangedIsWrittenAsItStood) {
  std::vector<std::string> texts = {smallClip, readFile(sourceFile("examples/data/walk.bvh"))};
  for (const char* name : {"walk01.bvh", "mocapbank.bvh", "cmu_02_01_walk.bvh", "cmu_05_03.bvh"}) {
    const std::string path = sharedData(name);
    if (!path.empty()) texts.push_back(readFile(path));
  }
  for (const std::string& text : texts) {
    const Clip clip = clipOf(text);
    const std::string again = textOf(clip);
    EXPECT_EQ(again.substr(0, again.find("MOTION")), text.substr(0, text.find("MOTION")));
    EXPECT_TRUE(withoutBlankEnds(framesOf(again)) == withoutBlankEnds(framesOf(text)));
    const Clip same = clipOf(again);
    EXPECT_EQ(same.values, clip.values);
    EXPECT_EQ(same.frameTime, clip.frameTime);
  }
}

TEST(ClipText, AChangedNumberLeavesTheOthersAsTheyStood) {
  Clip clip = clipOf(with(smallClip, "1 2 3 10 20 30 40 50", "1.0 2e0 +3  10.25 20 30 40 50.12345678"));
  clip.frame(0)[4] += 0.5 * radians;
  clip.frame(1)[7] = 0.25;
  EXPECT_EQ(framesOf(textOf(clip)),
            "1.0 2e0 +3 10.25 20.50000000 30 40 50.12345678\n-1 -2 -3 0 0 90 0 0.25000000\n");
  clip.joints[1].offset.y = 11.5;
  EXPECT_NE(textOf(clip).find("OFFSET 0 11.5 0"), std::string::npos) << "a changed skeleton is written anew";
  EXPECT_EQ(clipOf(textOf(clip)).joints[1].offset.y, 11.5);
}

TEST(ClipText, PositionsOfASmallBodyKeepAMillionthOfItsHeight) {
  Clip clip = clipOf(smallClip);
  for (Joint& joint : clip.joints) joint.offset *= 1e-5;
  const double height = Skeleton(clip).height();
  clip.frame(1)[1] = height / 3.0;
  clip.frame(1)[7] = -height / 7.0;
  const Clip again = clipOf(textOf(clip));
  EXPECT_TRUE(std::fabs(again.frame(1)[1] - clip.frame(1)[1]) <= 1e-6 * height);
  EXPECT_TRUE(std::fabs(again.frame(1)[7] - clip.frame(1)[7]) <= 1e-6 * height);
}

TEST(ClipText, IsWrittenAlikeInEveryLocale) {
  Clip clip = clipOf(smallClip);
  clip.frame(0)[4] += 0.5 * radians;
  clip.text = nullptr;
  const std::string text = textOf(clip);
  const CommaLocale comma;
  if (!comma.active()) GTEST_SKIP() << "cannot make a locale here";
  EXPECT_EQ(textOf(clip), text);
  EXPECT_TRUE(tolerance::close(clipOf(text).frame(0)[4], 20.5 * radians, 1e-12));
}

TEST(ClipText, IsWrittenWholeOrNotAtAll) {
  const TemporaryDirectory directory;
  const Clip clip = clipOf(smallClip);
  EXPECT_THROW(writeClip(clip, directory / "none/clip.bvh"), Error);
  EXPECT_THROW(writeClip(clip, "/dev/full"), Error);
  writeClip(clip, directory / "clip.bvh");
  EXPECT_EQ(readClip(directory / "clip.bvh").values, clip.values);
  EXPECT_EQ(readFile(directory / "clip.bvh.part"), "");
}

TEST(Angles, AreContinuousOnceUnwrapped) {
  Clip clip = clipOf(with(with(smallClip, "10 20 30", "179 -170 350"), "0 0 90", "-179 -190 10"));
  const Clip original = clip;
  unwrapAngles(&clip);
  EXPECT_NEAR(clip.frame(1)[3], 181 * radians, 1e-12);
  EXPECT_NEAR(clip.frame(1)[4], -190 * radians, 1e-12);
  EXPECT_NEAR(clip.frame(1)[5], 370 * radians, 1e-12);
  EXPECT_EQ(clip.frame(1)[0], original.frame(1)[0]) << "a length is no angle";
  wrapAngles(&clip, original);
  for (int c = 3; c < 6; ++c) EXPECT_NEAR(clip.frame(1)[c], original.frame(1)[c], 1e-12) << c;
}

TEST(Angles, GoBackToTheRangeOfTheClip) {
  const Clip original = clipOf(with(with(smallClip, "10 20 30", "179 350 700"), "0 0 90", "-179 10 690"));
  Clip clip = original;
  unwrapAngles(&clip);
  for (int c = 3; c < 6; ++c) clip.frame(0)[c] += 15 * radians;
  wrapAngles(&clip, original);
  EXPECT_NEAR(clip.frame(0)[3], -166 * radians, 1e-12) << "within half a turn";
  EXPECT_NEAR(clip.frame(0)[4], 5 * radians, 1e-12) << "from 0 to a whole turn";
  EXPECT_NEAR(clip.frame(0)[5], 715 * radians, 1e-12) << "as far round as it was";
}

TEST(Angles, GimbalLockIsFound) {
  Clip clip = clipOf(smallClip);
  EXPECT_TRUE(findGimbalLock(clip).empty());
  clip.frame(0)[4] = 86 * radians;
  clip.frame(1)[4] = -271 * radians;
  const std::vector<GimbalLock> locks = findGimbalLock(clip);
  ASSERT_EQ(locks.size(), 1u);
  EXPECT_EQ(locks[0].joint, 0);
  EXPECT_EQ(locks[0].frames, 2);
  EXPECT_EQ(locks[0].first, 0);
  EXPECT_EQ(locks[0].worst, 1);
  EXPECT_NEAR(locks[0].distance, radians, 1e-12);
  clip.frame(0)[4] = 90 * radians;
  EXPECT_EQ(findGimbalLock(clip).at(0).worst, 0);
}

}  // namespace
