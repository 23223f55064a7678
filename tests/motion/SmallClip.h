#pragma once

#include <string>

/// A clip of two bones and two frames, for tests that change one place at a time. The channels of the root
/// have an unusual order, and the middle joint has a position channel.
inline const std::string smallHierarchy =
    "HIERARCHY\n"
    "ROOT Base\n"
    "{\n"
    "  OFFSET 0 1 0\n"
    "  CHANNELS 6 Zposition Xposition Yposition Yrotation Zrotation Xrotation\n"
    "  JOINT Arm\n"
    "  {\n"
    "    OFFSET 0 10 0\n"
    "    CHANNELS 2 Xrotation Yposition\n"
    "    End Site\n"
    "    {\n"
    "      OFFSET 0 5 0\n"
    "    }\n"
    "  }\n"
    "}\n";
inline const std::string smallMotion =
    "MOTION\n"
    "Frames: 2\n"
    "Frame Time: 0.04\n"
    "1 2 3 10 20 30 40 50\n"
    "-1 -2 -3 0 0 90 0 .5\n";
inline const std::string smallClip = smallHierarchy + smallMotion;

/// `text` with its first `from` replaced by `to`. It must contain `from`, otherwise the test would test
/// nothing.
inline std::string with(const std::string& text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  if (at == std::string::npos) return "no '" + from + "' to replace";
  return text.substr(0, at) + to + text.substr(at + from.size());
}
