// Contacts of feet do not depend on the frame rate, the unit or the names of the joints.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "limber_motion/motion.h"
#include "tests/motion/Resample.h"
#include "tests/motion/SmallClip.h"
#include "tests/motion/StandingFigure.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/Tolerance.h"

namespace {

using namespace limber::motion;

Clip walk() { return readClip(sourceFile("examples/data/walk.bvh")); }

// The walk of this project and, if they are available, recorded clips.
std::vector<Clip> clips() {
  std::vector<Clip> all = {walk()};
  for (const char* name : {"walk01.bvh", "mocapbank.bvh", "cmu_02_01_walk.bvh", "cmu_05_03.bvh"}) {
    const std::string path = sharedData(name);
    if (!path.empty()) all.push_back(readClip(path));
  }
  return all;
}

bool stands(const Contacts& contacts, int joint, int frame) {
  for (const Contact& c : contacts.list) {
    if (c.joint == joint && c.first <= frame && frame <= c.last) return true;
  }
  return false;
}

double seconds(const Clip& clip, const Contacts& contacts) {
  double sum = 0.0;
  for (const Contact& c : contacts.list) sum += (c.last - c.first + 1) * clip.frameTime;
  return sum;
}

// Low: less than 0.05 heights above the height that the joint goes below in only a twentieth of the frames.
// Slow: less than 0.1 heights per second over 0.05 seconds.
TEST(Contacts, HoldEveryTimeInWhichAFootIsLowAndSlow) {
  for (const Clip& clip : clips()) {
    const Skeleton skeleton(clip);
    const double height = skeleton.height();
    const Contacts contacts = findContacts(clip);
    EXPECT_FALSE(contacts.list.empty());
    for (const int joint : contacts.feet) {
      std::vector<Pnt3> at;
      std::vector<double> heights;
      for (int f = 0; f < clip.frames; ++f) {
        at.push_back(skeleton.position(joint, clip.frame(f)));
        if (f > 0) heights.push_back(at.back().y);
      }
      std::sort(heights.begin(), heights.end());
      const double low = heights[static_cast<std::size_t>((clip.frames - 1) / 20)];
      const int half = std::max(1, static_cast<int>(std::lrint(0.025 / clip.frameTime)));
      const int least = std::max(2, static_cast<int>(std::lrint(0.1 / clip.frameTime)));
      int rested = 0;
      for (int f = 0; f <= clip.frames; ++f) {
        const int a = std::max(f - half, 0), b = std::min(f + half, clip.frames - 1);
        const bool rests = f < clip.frames && at[static_cast<std::size_t>(f)].y < low + 0.05 * height &&
                           (at[static_cast<std::size_t>(b)] - at[static_cast<std::size_t>(a)]).length() <
                               0.1 * height * (b - a) * clip.frameTime;
        if (rests) {
          ++rested;
          continue;
        }
        for (int g = f - rested; rested >= least && g < f; ++g) {
          EXPECT_TRUE(stands(contacts, joint, g))
              << clip.joints[static_cast<std::size_t>(joint)].name << " " << g;
        }
        rested = 0;
      }
    }
  }
}

TEST(Contacts, PlacesOfOneFootAreAsFarApartAsItsBonesAreLong) {
  int bones = 0;
  for (const Clip& clip : clips()) {
    const Skeleton skeleton(clip);
    const Contacts contacts = findContacts(clip);
    for (const Contact& a : contacts.list) {
      for (const Contact& b : contacts.list) {
        if (clip.joints[static_cast<std::size_t>(b.joint)].parent != a.joint) continue;
        if (std::max(a.first, b.first) > std::min(a.last, b.last)) continue;
        const double bone = clip.joints[static_cast<std::size_t>(b.joint)].offset.length();
        EXPECT_TRUE(tolerance::close((a.place - b.place).length(), bone, 1e-8 * skeleton.height()));
        ++bones;
      }
    }
  }
  EXPECT_GT(bones, 6);
}

TEST(Contacts, PlacesAreWhereTheFootWasAndNotBelowTheGround) {
  for (const Clip& clip : clips()) {
    const Skeleton skeleton(clip);
    const Contacts contacts = findContacts(clip);
    for (const Contact& c : contacts.list) {
      double nearest = skeleton.height();
      for (int f = c.first; f <= c.last; ++f) {
        nearest = std::min(nearest, (skeleton.position(c.joint, clip.frame(f)) - c.place).length());
      }
      EXPECT_LT(nearest, 0.03 * skeleton.height());
      EXPECT_GE(c.place.y, contacts.ground - 1e-3 * skeleton.height());
    }
  }
}

TEST(Contacts, AreTheSameAtEveryFrameRate) {
  for (const Clip& clip : clips()) {
    const double wanted = seconds(clip, findContacts(clip));
    for (const double rate : {24.0, 30.0, 60.0, 120.0}) {
      const Clip other = resampled(clip, rate);
      EXPECT_TRUE(tolerance::relative(seconds(other, findContacts(other)), wanted, 0.08)) << rate;
    }
  }
  // A contact that is cut off by the end of the clip may be too short at one rate and not at another.
  const auto whole = [](const Clip& clip) {
    Contacts contacts = findContacts(clip);
    const auto cut = [&](const Contact& c) { return (c.last - c.first) * clip.frameTime < 0.2; };
    contacts.list.erase(std::remove_if(contacts.list.begin(), contacts.list.end(), cut), contacts.list.end());
    return contacts;
  };
  const Clip own = walk();
  const Contacts wanted = whole(own);
  EXPECT_GE(wanted.list.size(), 18u);
  for (const double rate : {24.0, 60.0, 120.0}) {
    const Clip other = resampled(own, rate);
    const Contacts found = whole(other);
    ASSERT_EQ(found.list.size(), wanted.list.size()) << rate;
    for (std::size_t i = 0; i < found.list.size(); ++i) {
      const Contact &a = found.list[i], &b = wanted.list[i];
      EXPECT_EQ(a.joint, b.joint);
      EXPECT_NEAR(a.first / rate, b.first * own.frameTime, 0.09) << rate;
      EXPECT_NEAR(a.last / rate, b.last * own.frameTime, 0.09) << rate;
      EXPECT_LT((a.place - b.place).length(), 0.02 * Skeleton(own).height());
    }
  }
}

TEST(Contacts, AreTheSameInEveryUnit) {
  const Clip clip = walk();
  const Contacts wanted = findContacts(clip);
  for (const double unit : {1e-3, 0.0254, 1000.0}) {
    Clip scaled = clip;
    for (Joint& joint : scaled.joints) joint.offset *= unit;
    for (int c = 0; c < clip.channels; ++c) {
      for (int f = 0; f < clip.frames && !clip.channel(c).rotation; ++f) scaled.frame(f)[c] *= unit;
    }
    const Contacts found = findContacts(scaled);
    ASSERT_EQ(found.list.size(), wanted.list.size());
    for (std::size_t i = 0; i < found.list.size(); ++i) {
      EXPECT_EQ(found.list[i].first, wanted.list[i].first);
      EXPECT_EQ(found.list[i].last, wanted.list[i].last);
      EXPECT_LT((found.list[i].place - wanted.list[i].place * unit).length(),
                1e-6 * Skeleton(scaled).height());
    }
  }
}

// The clip after an additional first frame in which all channels are zero.
Clip behindATPose(const Clip& clip) {
  Clip out = clip;
  ++out.frames;
  out.values.insert(out.values.begin(), static_cast<std::size_t>(clip.channels), 0.0);
  return out;
}

TEST(Contacts, AFirstFrameInTPoseSpoilsNothing) {
  for (const Clip& clip : clips()) {
    const Contacts wanted = findContacts(clip), found = findContacts(behindATPose(clip));
    EXPECT_NEAR(seconds(clip, found), seconds(clip, wanted), 0.01 * seconds(clip, wanted) + 1e-9);
    EXPECT_EQ(found.feet, wanted.feet);
    EXPECT_EQ(found.first, wanted.first + 1);
    for (const Contact& c : found.list) EXPECT_GT(c.first, 0);
  }
}

TEST(Contacts, NamesMakeNoDifference) {
  Clip clip = walk();
  const Contacts wanted = findContacts(clip);
  int number = 0;
  for (Joint& joint : clip.joints) joint.name = "Gelenk " + std::to_string(number++);
  const Contacts found = findContacts(clip);
  ASSERT_EQ(found.list.size(), wanted.list.size());
  for (std::size_t i = 0; i < found.list.size(); ++i) EXPECT_EQ(found.list[i].joint, wanted.list[i].joint);
}

TEST(Contacts, AnkleToesAndTheirEndStandEachForThemselves) {
  const Clip clip = walk();
  std::vector<std::string> names;
  for (const int joint : findContacts(clip).feet)
    names.push_back(clip.joints[static_cast<std::size_t>(joint)].name);
  for (const char* name : {"LeftFoot", "LeftToeBase", "LeftToeBase.End", "RightFoot", "RightToeBase"}) {
    EXPECT_NE(std::find(names.begin(), names.end(), name), names.end()) << name;
  }
  EXPECT_EQ(names.size(), 6u);
}

TEST(Contacts, WithoutToesTheEndSiteStandsToo) {
  LIMBER_NEEDS_DATA(path, "walk01.bvh");
  const Clip clip = readClip(path);
  const Contacts contacts = findContacts(clip);
  for (const char* name : {"LeftFoot", "LeftFoot.End", "RightFoot", "RightFoot.End"}) {
    int count = 0;
    for (const Contact& c : contacts.list) count += c.joint == clip.find(name);
    EXPECT_EQ(count, 4) << name;
  }
}

// The base and arm of the small clip for `frames` frames; `height` gives the height of the base in each
// frame.
template <class Height>
Clip moved(int frames, Height height) {
  const TemporaryDirectory directory;
  Clip clip = readClip(directory.write("clip.bvh", smallClip));
  clip.text = nullptr;
  clip.frames = frames;
  clip.values.assign(static_cast<std::size_t>(frames * clip.channels), 0.0);
  for (int f = 0; f < frames; ++f) {
    clip.frame(f)[2] = height(f);
    clip.frame(f)[7] = 10.0;
  }
  return clip;
}

TEST(Contacts, SayWhyThereAreNone) {
  const Contacts one = findContacts(moved(1, [](int) { return 0.0; }));
  EXPECT_TRUE(one.list.empty());
  EXPECT_EQ(one.note, "no feet found: one frame does not show what stands");
  // The body falls all the time.
  const Contacts falling = findContacts(moved(50, [](int f) { return -3.0 * f; }));
  EXPECT_TRUE(falling.list.empty());
  EXPECT_EQ(falling.note.find("no feet found: the lowest parts of the body ("), 0u) << falling.note;
}

TEST(Contacts, BodiesOnFourFeetStandOnAllOfThemAndTheNoteSaysSo) {
  const TemporaryDirectory directory;
  std::string text = "HIERARCHY\nROOT Body\n{\nOFFSET 0 0 0\nCHANNELS 3 Xposition Yposition Zposition\n";
  for (const char* leg : {"A -1 0 -1", "B 1 0 -1", "C -1 0 1", "D 1 0 1"}) {
    text += std::string("JOINT ") + leg[0] + "\n{\nOFFSET " + (leg + 2) + "\nCHANNELS 1 Xrotation\n" +
            "End Site\n{\nOFFSET 0 -2 0\n}\n}\n";
  }
  text += "}\nMOTION\nFrames: 20\nFrame Time: 0.04\n";
  for (int f = 0; f < 20; ++f) text += "0 3 0 0 0 0 0\n";
  const Contacts contacts = findContacts(readClip(directory.write("clip.bvh", text)));
  EXPECT_EQ(contacts.note,
            "4 parts of the body come near the ground and may stand there: A.End, B.End, C.End, D.End");
}

TEST(Contacts, OneToeStandsForThoseOfAHighAnkle) {
  const TemporaryDirectory directory;
  std::string text =
      "HIERARCHY\nROOT Body\n{\nOFFSET 0 0 0\nCHANNELS 3 Xposition Yposition Zposition\n"
      "JOINT Ankle\n{\nOFFSET 0 -5 0\nCHANNELS 1 Xrotation\n";
  for (const char* toe : {"A -1 -5 0", "B 1 -5 0", "C 0 -5 1"}) {
    text += std::string("JOINT ") + toe[0] + "\n{\nOFFSET " + (toe + 2) + "\nCHANNELS 1 Xrotation\n" +
            "End Site\n{\nOFFSET 0 0 1\n}\n}\n";
  }
  text += "}\n}\nMOTION\nFrames: 20\nFrame Time: 0.04\n";
  for (int f = 0; f < 20; ++f) text += "0 10 0 0 0 0 0\n";
  const Clip clip = readClip(directory.write("clip.bvh", text));
  const Contacts contacts = findContacts(clip);
  EXPECT_EQ(contacts.list.size(), 2u);
  for (const Contact& c : contacts.list) EXPECT_EQ(c.foot, clip.find("Ankle")) << c.joint;
  EXPECT_EQ(contacts.note, "");
}

TEST(Contacts, FeetThatSlideEverywhereStandWhereTheySlideSlowly) {
  const Contacts contacts = findContacts(walk());
  EXPECT_EQ(contacts.note,
            "the feet never stand still: they are taken to stand where they slide slower than 0.30 heights a "
            "second");
  EXPECT_GE(contacts.list.size(), 6u * 3u);  // a little more than three strides
  EXPECT_LE(contacts.list.size(), 6u * 4u);
}

TEST(Contacts, ShortGapsAreClosedAndShortContactsDropped) {
  // A hop of a hundredth of a second, with the speed of the jump around it, is a gap of 0.05 seconds.
  for (const int off : {1, 6}) {
    Clip clip = moved(100, [&](int f) { return f >= 50 && f < 50 + off ? 2.0 : 0.0; });
    clip.frameTime = 0.01;
    int count = 0;
    for (const Contact& c : findContacts(clip).list) count += c.joint == 1;
    EXPECT_EQ(count, off == 1 ? 1 : 2) << off;
  }
  // The body rests for one frame while it rises.
  const Contacts rising =
      findContacts(moved(60, [](int f) { return f < 20 ? 0.0 : 0.3 * (f - 20 - (f > 22) - (f > 23)); }));
  ASSERT_FALSE(rising.list.empty());
  for (const Contact& c : rising.list) EXPECT_EQ(c.first, 0);
}

// A foot stands flat, and then its heel rises slowly over toes that stay where they are. Both are contacts of
// the ankle, but at different heights.
TEST(Contacts, OfAnAnkleBeforeAndAfterTheHeelRisesHaveTheirOwnPlaces) {
  const TemporaryDirectory directory;
  std::string text =
      "HIERARCHY\nROOT Body\n{\nOFFSET 0 0 0\nCHANNELS 3 Xposition Yposition Zposition\n"
      "JOINT Ankle\n{\nOFFSET 0 -80 0\nCHANNELS 1 Xrotation\n"
      "JOINT Toes\n{\nOFFSET 0 -6 14\nCHANNELS 1 Xrotation\nEnd Site\n{\nOFFSET 0 -1 6\n}\n}\n}\n}\n"
      "MOTION\nFrames: 120\nFrame Time: 0.0166667\n";
  for (int f = 0; f < 120; ++f) {
    const double u = std::clamp((f - 50) / 20.0, 0.0, 1.0),
                 angle = 0.28 * u * u * u * (10 - 15 * u + 6 * u * u);
    const double c = std::cos(angle), s = std::sin(angle), degrees = angle * 57.29577951308232;
    text += "0 " + std::to_string(81 + 6 * c + 14 * s) + " " + std::to_string(6 * s - 14 * c) + " " +
            std::to_string(degrees) + " " + std::to_string(-degrees) + "\n";
  }
  const Clip clip = readClip(directory.write("clip.bvh", text));
  const Skeleton skeleton(clip);
  int ofAnkle = 0;
  for (const Contact& c : findContacts(clip).list) {
    ofAnkle += c.joint == clip.find("Ankle");
    for (int f = c.first; f <= c.last; ++f) {
      const double off = (skeleton.position(c.joint, clip.frame(f)) - c.place).length();
      EXPECT_LE(off, 0.02 * skeleton.height()) << clip.joints[static_cast<std::size_t>(c.joint)].name << f;
    }
  }
  EXPECT_EQ(ofAnkle, 2);
}

// A foot with high knuckles slides forward slowly: first its ankle stands, then the end of its toes. The mean
// places of both are further apart than the foot is long.
TEST(Contacts, OfAnkleAndToesAreWithinReachOfTheBonesBetweenThem) {
  const TemporaryDirectory directory;
  std::string text =
      "HIERARCHY\nROOT Body\n{\nOFFSET 0 0 0\nCHANNELS 3 Xposition Yposition Zposition\n"
      "JOINT Ankle\n{\nOFFSET 0 -80 0\nCHANNELS 1 Xrotation\n"
      "JOINT Toes\n{\nOFFSET 0 0 15\nCHANNELS 1 Xrotation\nEnd Site\n{\nOFFSET 0 0 15\n}\n}\n}\n}\n"
      "MOTION\nFrames: 180\nFrame Time: 0.0166667\n";
  const auto smooth = [](double u) { return std::clamp(u, 0.0, 1.0) * std::clamp(u, 0.0, 1.0); };
  for (int f = 0; f < 180; ++f) {
    const double knuckle = 8.0 * smooth((f - 20) / 20.0),
                 end = 6.0 * smooth((f - 20) / 20.0) * smooth((110 - f) / 10.0);
    const double ankle = 6.0 * smooth((f - 115) / 10.0);
    const double first = std::asin((knuckle - ankle) / 15.0), second = std::asin((end - knuckle) / 15.0);
    text += "0 " + std::to_string(80.0 + ankle) + " " + std::to_string(5.0 * std::max(f - 20, 0) / 60.0) +
            " " + std::to_string(-first * 57.29577951308232) + " " +
            std::to_string((first - second) * 57.29577951308232) + "\n";
  }
  const Clip clip = readClip(directory.write("clip.bvh", text));
  const Contacts contacts = findContacts(clip);
  double furthest = 0.0;
  for (const Contact& a : contacts.list) {
    for (const Contact& b : contacts.list) {
      if (a.joint != clip.find("Ankle") || b.joint != clip.find("Toes.End")) continue;
      if (std::max(a.first, b.first) > std::min(a.last, b.last)) continue;
      furthest = std::max(furthest, (b.place - a.place).length());
    }
  }
  EXPECT_TRUE(furthest <= 30.0 && furthest >= 29.9) << furthest;
}

TEST(Contacts, EndWhereTheBodyJumpsToAnotherPlace) {
  Clip clip = moved(60, [](int) { return 0.0; });
  clip.frameTime = 0.02;  // the two fast frames around the jump are a gap of 0.04 seconds
  const double height = Skeleton(clip).height();
  for (int f = 30; f < 60; ++f) clip.frame(f)[1] += height;
  int before = 0, after = 0;
  for (const Contact& c : findContacts(clip).list) {
    EXPECT_TRUE(c.last < 30 || c.first >= 30) << c.first << " to " << c.last;
    before += c.last < 30;
    after += c.first >= 30;
  }
  EXPECT_GE(before, 1);
  EXPECT_EQ(after, before);
}

// A standing figure whose body moves aside by `way` heights and up by a little within `seconds`, as smoothly
// as possible, and hops `high` heights meanwhile.
Clip steppingAside(double way, double seconds, double high) {
  Clip clip = standing(180, 60.0);
  const double height = Skeleton(clip).height();
  for (int f = 0; f < clip.frames; ++f) {
    const double t = std::clamp((f - 90) / (60.0 * seconds) + 0.5, 0.0, 1.0);
    clip.frame(f)[2] = 3.0;  // far from the origin, which makes no difference
    const double part = t * t * t * (10.0 - 15.0 * t + 6.0 * t * t);
    clip.frame(f)[0] = way * height * part;
    clip.frame(f)[1] += 0.01 * height * part + high * height * std::pow(std::sin(3.14159265358979 * t), 2);
  }
  return clip;
}

std::vector<Contact> ofJoint(const Clip& clip, const char* name) {
  std::vector<Contact> own;
  for (const Contact& contact : findContacts(clip).list) {
    if (contact.joint == clip.find(name)) own.push_back(contact);
  }
  return own;
}

TEST(Contacts, OfAJointThatGlidesAsideShareAPlace) {
  const Clip clip = steppingAside(0.04, 0.5, 0.0);
  for (const char* name : {"RightFoot", "RightToe.End"}) {
    const std::vector<Contact> own = ofJoint(clip, name);
    ASSERT_EQ(own.size(), 2u);
    EXPECT_TRUE((own[1].place - own[0].place).length() <= 1e-6);
  }
}

TEST(Contacts, OfAJointThatHopsAsideHaveTheirOwnPlaces) {
  const Clip clip = steppingAside(0.04, 0.3, 0.1);
  for (const char* name : {"RightFoot", "RightToe.End"}) {
    const std::vector<Contact> own = ofJoint(clip, name);
    ASSERT_EQ(own.size(), 2u);
    EXPECT_NEAR((own[1].place - own[0].place).x, 0.04 * Skeleton(clip).height(), 1e-3);
  }
}

// The joint is never far from its first place, but it stands elsewhere afterwards.
TEST(Contacts, OfAJointThatStepsAsideALittleAreNotOne) {
  EXPECT_EQ(ofJoint(steppingAside(0.028, 0.3, 0.0), "RightFoot").size(), 2u);
  EXPECT_EQ(ofJoint(steppingAside(0.015, 0.3, 0.0), "RightFoot").size(), 1u);
}

TEST(Contacts, GiveWayToWhatAScriptAsksOfTheSameFoot) {
  Contacts contacts;
  contacts.list = {{3, 0, 9, Pnt3(1, 0, 0), 3}, {4, 2, 5, Pnt3(2, 0, 0), 3}, {8, 0, 9, Pnt3(3, 0, 0), 8}};
  const Contacts left = contactsBeside(
      contacts, {{4, 3, Pnt3(), 1.0}, {5, 4, Pnt3(), 1.0}, {8, 3, Pnt3(), 1.0}, {7, 20, Pnt3(), 1.0}});
  ASSERT_EQ(left.list.size(), 5u);
  const int firsts[] = {0, 6, 9, 2, 0}, lasts[] = {3, 7, 9, 3, 9}, joints[] = {3, 3, 3, 4, 8};
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(left.list[i].joint, joints[i]);
    EXPECT_EQ(left.list[i].first, firsts[i]);
    EXPECT_EQ(left.list[i].last, lasts[i]);
  }
}

TEST(Contacts, EachFrameOfAContactIsAConstraint) {
  Contacts contacts;
  contacts.list = {{5, 3, 4, Pnt3(1, 0, 0)}, {2, 4, 6, Pnt3(2, 0, 0)}};
  const std::vector<Constraint> constraints = constraintsOf(contacts);
  ASSERT_EQ(constraints.size(), 5u);
  const int frames[] = {3, 4, 4, 5, 6}, joints[] = {5, 2, 5, 2, 2};
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(constraints[i].frame, frames[i]);
    EXPECT_EQ(constraints[i].joint, joints[i]);
    EXPECT_EQ(constraints[i].target.x, joints[i] == 5 ? 1.0 : 2.0);
    EXPECT_EQ(constraints[i].weight, 1.0);
  }
}

}  // namespace

// A figure steps up by 0.3 m and stands there for a second.
TEST(Contacts, FeetThatAreStillHigherUpAreMentioned) {
  Clip clip = standing(90, 30.0);
  for (int f = 60; f < clip.frames; ++f) clip.frame(f)[1] += 0.3;
  const Contacts contacts = findContacts(clip);
  ASSERT_FALSE(contacts.list.empty());
  for (const Contact& contact : contacts.list) EXPECT_LT(contact.last, 60);
  EXPECT_NE(contacts.note.find("LeftFoot is also still in 29 frames in which it is higher"),
            std::string::npos)
      << contacts.note;
  EXPECT_EQ(findContacts(standing(90, 30.0)).note, "");
}
