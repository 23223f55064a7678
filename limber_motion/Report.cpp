#include "limber_motion/Report.h"

#include "limber_motion/detail/Degrees.h"
#include "limber_motion/detail/Json.h"
#include "limber_motion/detail/Numbers.h"

namespace limber::motion {

namespace {

// At most four significant digits.
std::string number(double x) { return detail::significant(x, 4); }

// A length in heights and in the clip's unit.
std::string length(double heights, const Report& report) {
  return number(heights) + " heights (" + number(heights * report.height) + " in the clip's unit)";
}

std::string place(const std::string& joint, int frame) {
  return joint.empty() ? "" : ", " + joint + " in frame " + std::to_string(frame);
}

// The number of steps, and in how many of them a frame took part. All frames take part in the first step.
std::string stepsOf(const Report& report) {
  double frames = 0.0;
  for (const EditStep& step : report.steps) frames += step.frames;
  const std::string count = std::to_string(report.steps.size());
  if (report.steps.empty() ||
      !(frames < report.steps.front().frames * static_cast<double>(report.steps.size())))
    return count;
  return count + ", of which a frame took part in " + number(frames / report.steps.front().frames) +
         " in the mean";
}

}  // namespace

std::string textOf(const Report& r) {
  std::string out = !r.met ? "Not met.\n"
                    : r.looseFrames > 0
                        ? "Met: every firmly held joint is where it should be in every frame.\n"
                        : "Met: every held joint is where it should be in every frame.\n";
  for (const std::string& reason : r.reasons) out += "  " + reason + "\n";
  const auto line = [&](const char* label, const std::string& value) {
    std::string head = label;
    head.resize(16, ' ');
    out += head + value + "\n";
  };
  line("contacts", std::to_string(r.contacts) + ", " + std::to_string(r.heldFrames) + " frames in all" +
                       (r.looseFrames > 0 ? ", " + std::to_string(r.looseFrames) + " held loosely" : ""));
  line("largest miss", length(r.missAfter, r) + ", before " + number(r.missBefore) +
                           (r.missAfter > 0.1 * r.goal ? place(r.missJoint, r.missFrame) : ""));
  line("skate", number(r.skateBefore) + " -> " + number(r.skateAfter) + " heights a second in the mean, " +
                    number(r.fastestBefore) + " -> " + number(r.fastestAfter) + " at most");
  line("largest turn",
       number(r.turn * detail::degreesOfRadian) + " degrees" + place(r.turnJoint, r.turnFrame));
  line("edge jerk", number(r.edgeJerk) + " times that of the original in the mean, " +
                        number(r.largestEdgeJerk) + " at most; whole body " + number(r.bodyJerk));
  line("below ground", number(r.belowBefore) + " -> " + length(r.belowAfter, r));
  line("frames changed", std::to_string(r.framesChanged));
  line("steps", stepsOf(r) + ", " + number(r.seconds) + " seconds");
  for (const std::string& note : r.notes) line("note", note);
  return out;
}

std::string jsonOf(const Report& r) {
  using detail::jsonList;
  using detail::jsonNumber;
  using detail::jsonString;
  std::string out = "{\n";
  const auto field = [&](const char* name, const std::string& value) {
    out += std::string("  \"") + name + "\": " + value + ",\n";
  };
  field("met", r.met ? "true" : "false");
  field("impossible", r.impossible ? "true" : "false");
  field("reasons", jsonList(r.reasons));
  field("notes", jsonList(r.notes));
  field("height", jsonNumber(r.height));
  field("contacts", std::to_string(r.contacts));
  field("heldFrames", std::to_string(r.heldFrames));
  field("looseFrames", std::to_string(r.looseFrames));
  field("skateBefore", jsonNumber(r.skateBefore));
  field("skateAfter", jsonNumber(r.skateAfter));
  field("fastestBefore", jsonNumber(r.fastestBefore));
  field("fastestAfter", jsonNumber(r.fastestAfter));
  field("missBefore", jsonNumber(r.missBefore));
  field("missAfter", jsonNumber(r.missAfter));
  field("missJoint", jsonString(r.missJoint));
  field("missFrame", std::to_string(r.missFrame));
  field("goal", jsonNumber(r.goal));
  field("turn", jsonNumber(r.turn));
  field("turnJoint", jsonString(r.turnJoint));
  field("turnFrame", std::to_string(r.turnFrame));
  field("edgeJerk", jsonNumber(r.edgeJerk));
  field("largestEdgeJerk", jsonNumber(r.largestEdgeJerk));
  field("bodyJerk", jsonNumber(r.bodyJerk));
  field("belowBefore", jsonNumber(r.belowBefore));
  field("belowAfter", jsonNumber(r.belowAfter));
  field("framesChanged", std::to_string(r.framesChanged));
  field("seconds", jsonNumber(r.seconds));
  out += "  \"steps\": [";
  for (const EditStep& s : r.steps) {
    out += s.number == 1 ? "\n" : ",\n";
    out += "    {\"number\": " + std::to_string(s.number) + ", \"exact\": " + (s.exact ? "true" : "false") +
           ", \"before\": " + jsonNumber(s.before) + ", \"after\": " + jsonNumber(s.after) +
           ", \"scale\": " + jsonNumber(s.scale) + ", \"turn\": " + jsonNumber(s.turn) +
           ", \"seconds\": " + jsonNumber(s.seconds) + ", \"frames\": " + std::to_string(s.frames) + "}";
  }
  return out + (r.steps.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

}  // namespace limber::motion
