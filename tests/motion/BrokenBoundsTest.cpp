// An edit that only holds contacts, but breaks a bound of natural motion or lets a foot sink, is not met and
// says why.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "limber_motion/motion.h"
#include "tests/motion/StandingFigure.h"

using namespace limber::motion;

namespace {

bool names(const std::vector<std::string>& sentences, const std::string& what) {
  return std::any_of(sentences.begin(), sentences.end(),
                     [&](const std::string& s) { return s.find(what) != std::string::npos; });
}

// A figure that stands and sways a little.
Clip swaying() {
  Clip clip = standing(60, 30.0);
  for (int f = 0; f < clip.frames; ++f) clip.frame(f)[0] = 0.01 * std::sin(0.2 * f);
  return clip;
}

// The contacts of the clip, with those of the right foot moved forward by `way` from the frame `from` on.
Contacts movedFrom(const Clip& clip, int from, double way) {
  Contacts contacts = findContacts(clip);
  std::vector<Contact> list;
  for (Contact contact : contacts.list) {
    if (clip.joints[static_cast<std::size_t>(contact.foot)].name == "RightFoot") {
      Contact before = contact;
      before.last = from - 1;
      list.push_back(before);
      contact.first = from;
      contact.place.z += way;
    }
    list.push_back(contact);
  }
  contacts.list = list;
  return contacts;
}

}  // namespace

// The foot is asked to be 0.3 m further ahead from one frame to the next. Held loosely around that
// moment, it slides there.
TEST(BrokenBounds, ContactsThatMakeAFootSlideAreNotMet) {
  Clip clip = swaying();
  const Clip before = clip;
  Edit edit(clip);
  edit.plant(movedFrom(clip, 30, 0.3));
  const Report report = edit.solve();
  ASSERT_GT(report.looseFrames, 0) << textOf(report);
  ASSERT_GT(measureQuality(before, clip).skateAfter, 0.02);
  EXPECT_FALSE(report.met) << textOf(report);
  EXPECT_FALSE(report.impossible) << textOf(report);
  EXPECT_TRUE(names(report.reasons, "the mean speed of standing feet")) << textOf(report);
  EXPECT_TRUE(names(report.reasons, "Right")) << textOf(report);
}

// The feet tremble five times a second, which curves with two knots a second cannot still.
TEST(BrokenBounds, KnotsThatAreTooFarApartAreNamed) {
  for (const double knots : {0.0, 0.5}) {
    Clip clip = standing(120, 60.0);
    for (int f = 0; f < clip.frames; ++f) clip.frame(f)[0] = 0.003 * std::sin(2.0 * 3.14159 * 5.0 * f / 60.0);
    EditOptions options;
    options.knots = knots;
    Edit edit(clip, options);
    edit.plant(findContacts(clip));
    const Report report = edit.solve();
    EXPECT_EQ(report.met, knots == 0.0) << textOf(report);
    EXPECT_EQ(names(report.reasons, "curves with knots 0.5 seconds apart"), knots > 0.0) << textOf(report);
  }
}

// The user may ask for a movement that turns joints further.
TEST(BrokenBounds, DoNotBindTheUser) {
  Clip clip = swaying();
  Edit edit(clip);
  edit.reach(30, "Head.End", Pnt3(0.5, 1.5, 0));
  const Report report = edit.solve();
  EXPECT_TRUE(report.met) << textOf(report);
  EXPECT_GT(report.turn, 20.0 * degree);
}

// An edit that the observer ends after its second step leaves the toes of a lifted foot below the ground.
TEST(BrokenBounds, AFootThatSinksIsNamed) {
  Clip clip = swaying();
  EditOptions options;
  options.observer = [](const EditStep& step) { return step.number < 2; };
  Edit edit(clip, options);
  for (int f = 20; f < 40; ++f) edit.reach(f, "RightFoot", Pnt3(-0.09, 0.1, 0.6));
  const Report report = edit.solve();
  ASSERT_GT(report.belowAfter, report.belowBefore + 5e-4) << textOf(report);
  EXPECT_FALSE(report.met);
  EXPECT_TRUE(names(report.reasons, "heights below the ground; no foot was deeper than 0 before"))
      << textOf(report);
}

// A body that sinks to its bent knees while one foot is held. The other one is no contact and is not among
// the feet that the edit is given, but it stands in the clip.
TEST(BrokenBounds, AFootThatIsNoContactStaysAboveTheGroundToo) {
  Clip clip = swaying();
  for (int f = 0; f < clip.frames; ++f) {
    for (const std::string side : {"Left", "Right"}) {
      angle(&clip, f, side + "UpLeg", 'X') = -20.0 * degree;
      angle(&clip, f, side + "Leg", 'X') = 40.0 * degree;
      angle(&clip, f, side + "Foot", 'X') = -20.0 * degree;
    }
  }
  const Skeleton skeleton(clip);
  Contacts contacts = findContacts(clip);
  const auto isRight = [&](int joint) {
    return clip.joints[static_cast<std::size_t>(joint)].name.find("Right") == 0;
  };
  contacts.list.erase(std::remove_if(contacts.list.begin(), contacts.list.end(),
                                     [&](const Contact& contact) { return isRight(contact.joint); }),
                      contacts.list.end());
  contacts.feet.erase(std::remove_if(contacts.feet.begin(), contacts.feet.end(), isRight),
                      contacts.feet.end());
  ASSERT_FALSE(contacts.list.empty());
  const Clip before = clip;
  Edit edit(clip);
  edit.plant(contacts);
  edit.reach(30, "Hips", skeleton.position(0, clip.frame(30)) - Pnt3(0, 0.05, 0));
  const Report report = edit.solve();
  EXPECT_TRUE(report.met) << textOf(report);
  const int toe = clip.find("RightToe");
  EXPECT_GT(skeleton.position(toe, clip.frame(30)).y, skeleton.position(toe, before.frame(30)).y - 5e-4);
}

// Less than a hundredth of a degree is not enough to still the feet.
TEST(BrokenBounds, AnEditThatHoldsNothingFirmlyIsNotMet) {
  Clip clip = readClip(sourceFile("examples/data/walk.bvh"));
  EditOptions options;
  options.mostTurn = 0.01 * degree;
  options.knots = 0.2;
  Edit edit(clip, options);
  edit.plant(findContacts(clip));
  const Report report = edit.solve();
  ASSERT_EQ(report.looseFrames, report.heldFrames);
  EXPECT_FALSE(report.met) << textOf(report);
  EXPECT_TRUE(names(report.reasons, "no contact could be held firmly")) << textOf(report);
  const auto ofKnots = [](const std::string& reason) { return reason.find("knots") != std::string::npos; };
  EXPECT_EQ(std::count_if(report.reasons.begin(), report.reasons.end(), ofKnots), 1) << textOf(report);
}
