#include "limber_motion/Report.h"

#include <cmath>
#include <cstdio>

namespace limber::motion {

namespace {

constexpr double degrees = 180.0 / 3.14159265358979323846;

// At most four significant digits.
std::string number(double x) {
  char text[32];
  std::snprintf(text, sizeof text, "%.4g", x);
  return text;
}

// A length in heights and in the clip's unit.
std::string length(double heights, const Report& report) {
  return number(heights) + " heights (" + number(heights * report.height) + " in the clip's unit)";
}

std::string place(const std::string& joint, int frame) {
  return joint.empty() ? "" : ", " + joint + " in frame " + std::to_string(frame);
}

// A JSON string.
std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char code[8];
      std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
      out += code;
    } else {
      out += c;
    }
  }
  return out + "\"";
}

// A JSON number. JSON has no infinity, so numbers that are not finite become null.
std::string real(double x) {
  if (!std::isfinite(x)) return "null";
  char text[40];
  std::snprintf(text, sizeof text, "%.9g", x);
  return text;
}

std::string list(const std::vector<std::string>& sentences) {
  std::string out = "[";
  for (const std::string& s : sentences) out += (out.size() > 1 ? ", " : "") + quoted(s);
  return out + "]";
}

}  // namespace

std::string textOf(const Report& r) {
  std::string out = r.met ? "Met: every held joint is where it shall be in every frame.\n" : "Not met.\n";
  for (const std::string& reason : r.reasons) out += "  " + reason + "\n";
  const auto line = [&](const char* label, const std::string& value) {
    char head[32];
    std::snprintf(head, sizeof head, "%-15s ", label);
    out += head + value + "\n";
  };
  line("contacts", std::to_string(r.contacts) + ", " + std::to_string(r.heldFrames) + " frames in all");
  line("largest miss", length(r.missAfter, r) + ", before " + number(r.missBefore) +
                           (r.missAfter > 0.1 * r.goal ? place(r.missJoint, r.missFrame) : ""));
  line("skate", number(r.skateBefore) + " -> " + number(r.skateAfter) + " heights a second in the mean, " +
                    number(r.fastestBefore) + " -> " + number(r.fastestAfter) + " at most");
  line("largest turn", number(r.turn * degrees) + " degrees" + place(r.turnJoint, r.turnFrame));
  line("edge jerk", number(r.edgeJerk) + " times that of the original in the mean, " +
                        number(r.largestEdgeJerk) + " at most; whole body " + number(r.bodyJerk));
  line("below ground", number(r.belowBefore) + " -> " + length(r.belowAfter, r));
  line("frames changed", std::to_string(r.framesChanged));
  line("steps", std::to_string(r.steps.size()) + ", " + number(r.seconds) + " seconds");
  for (const std::string& note : r.notes) line("note", note);
  return out;
}

std::string jsonOf(const Report& r) {
  std::string out = "{\n";
  const auto field = [&](const char* name, const std::string& value) {
    out += std::string("  \"") + name + "\": " + value + ",\n";
  };
  field("met", r.met ? "true" : "false");
  field("impossible", r.impossible ? "true" : "false");
  field("reasons", list(r.reasons));
  field("notes", list(r.notes));
  field("height", real(r.height));
  field("contacts", std::to_string(r.contacts));
  field("heldFrames", std::to_string(r.heldFrames));
  field("skateBefore", real(r.skateBefore));
  field("skateAfter", real(r.skateAfter));
  field("fastestBefore", real(r.fastestBefore));
  field("fastestAfter", real(r.fastestAfter));
  field("missBefore", real(r.missBefore));
  field("missAfter", real(r.missAfter));
  field("missJoint", quoted(r.missJoint));
  field("missFrame", std::to_string(r.missFrame));
  field("goal", real(r.goal));
  field("turn", real(r.turn));
  field("turnJoint", quoted(r.turnJoint));
  field("turnFrame", std::to_string(r.turnFrame));
  field("edgeJerk", real(r.edgeJerk));
  field("largestEdgeJerk", real(r.largestEdgeJerk));
  field("bodyJerk", real(r.bodyJerk));
  field("belowBefore", real(r.belowBefore));
  field("belowAfter", real(r.belowAfter));
  field("framesChanged", std::to_string(r.framesChanged));
  field("seconds", real(r.seconds));
  out += "  \"steps\": [";
  for (const EditStep& s : r.steps) {
    out += s.number == 1 ? "\n" : ",\n";
    out += "    {\"number\": " + std::to_string(s.number) + ", \"exact\": " + (s.exact ? "true" : "false") +
           ", \"before\": " + real(s.before) + ", \"after\": " + real(s.after) +
           ", \"scale\": " + real(s.scale) + ", \"turn\": " + real(s.turn) +
           ", \"seconds\": " + real(s.seconds) + "}";
  }
  return out + (r.steps.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

}  // namespace limber::motion
