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
