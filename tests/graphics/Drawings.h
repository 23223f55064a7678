#pragma once

#include <gtest/gtest.h>

#include <string>

#include "limber/graphics/AIPSWriter.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/TemporaryFile.h"

inline const std::string header =
    "%!PS-Adobe-3.0 \n"
    "%%Creator: Adobe Illustrator(r) 6.0\n"
    "%%BoundingBox: 0 0 504 720\n"
    "%%BeginProlog\n"
    "%%EndProlog\n";
inline const std::string pen = "0 G\n0 g\n1 w\n[]0 d\n";
inline const std::string trailer =
    "%%PageTrailer\n"
    "gsave annotatepage grestore showpage\n"
    "%%Trailer\n"
    "Adobe_IllustratorA_AI5 /terminate get exec\n"
    "Adobe_level2_AI5 /terminate get exec\n"
    "%%EOF\n";

/// The text that `draw` writes between the first pen settings and the trailer. The file must contain all
/// three.
template <class Draw>
std::string drawn(Draw draw) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "drawing.ai";
  {
    AIPSWriter writer(path.c_str());
    draw(writer);
  }
  const std::string bytes = readText(path), before = header + pen;
  EXPECT_EQ(bytes.substr(0, before.size()), before);
  if (bytes.size() < before.size() + trailer.size()) return "(short file)";
  EXPECT_EQ(bytes.substr(bytes.size() - trailer.size()), trailer);
  return bytes.substr(before.size(), bytes.size() - before.size() - trailer.size());
}
