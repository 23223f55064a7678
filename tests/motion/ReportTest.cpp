// The report as text for people and as JSON for programs.

#include <gtest/gtest.h>

#include <limits>

#include "limber_motion/motion.h"
#include "tests/support/CommaLocale.h"

namespace {

using namespace limber::motion;

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(Report, JsonIsUtf8WhateverTheNamesHold) {
  Report report;
  report.missJoint = "J\xF6rg \"the\\arm\"\t";                           // Latin-1
  report.turnJoint = "F\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x99\x82";  // UTF-8
  report.reasons = {"\xED\xA0\x80", "\xC0\xAF", "\xE2\x82"};             // a surrogate, overlong, cut
  const std::string json = jsonOf(report);
  EXPECT_TRUE(contains(json, "\"missJoint\": \"J\\u00f6rg \\\"the\\\\arm\\\"\\u0009\"")) << json;
  EXPECT_TRUE(contains(json, "\"turnJoint\": \"" + report.turnJoint + "\"")) << json;
  EXPECT_TRUE(contains(json, "[\"\\u00ed\\u00a0\\u0080\", \"\\u00c0\\u00af\", \"\\u00e2\\u0082\"]")) << json;
}

TEST(Report, JsonNumbersAreTheSameInEveryLocale) {
  Report report;
  report.turn = 0.123456789012;
  report.edgeJerk = std::numeric_limits<double>::infinity();
  report.steps.push_back({1, true, 0.5, 1e-7, 1.0, 0.25, 0.125, 120});
  const CommaLocale comma;
  const std::string json = jsonOf(report);
  EXPECT_TRUE(contains(json, "\"turn\": 0.123456789,")) << json;
  EXPECT_TRUE(contains(json, "\"edgeJerk\": null,")) << json;
  EXPECT_TRUE(contains(json,
                       "{\"number\": 1, \"exact\": true, \"before\": 0.5, \"after\": 1e-07, \"scale\": 1, "
                       "\"turn\": 0.25, \"seconds\": 0.125, \"frames\": 120}"))
      << json;
}

TEST(Report, TextNamesTheJointsAndFramesOfTheWorstPlaces) {
  Report report;
  report.height = 10.0;
  report.missAfter = 0.02;
  report.missJoint = "LeftToe";
  report.missFrame = 7;
  report.reasons = {"the reason"};
  const std::string text = textOf(report);
  EXPECT_EQ(text.find("Not met.\n  the reason\n"), 0u) << text;
  EXPECT_TRUE(
      contains(text, "largest miss    0.02 heights (0.2 in the clip's unit), before 0, LeftToe in frame 7\n"))
      << text;
}

}  // namespace
