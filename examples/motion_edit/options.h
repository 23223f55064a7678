#pragma once

#include <string>

#include "limber_motion/motion.h"

/// The command line of motion_edit.
struct Options {
  std::string clip;
  std::string script;  ///< empty: the feet are held where they stand
  std::string searchPath;
  bool searched = false;          ///< a search path was given
  std::string output = "edited";  ///< stem of the files written: .bvh, .ai, -speed.ai and -convergence.ai
  std::string plantScript;        ///< where the contacts are written as a script; empty: nowhere
  std::string report;             ///< where the report is written as JSON; empty: nowhere
  bool listPlants = false;        ///< the contacts are listed, and nothing is edited
  bool pictures = true;
  bool preconditioners = false;  ///< they are compared, and OUTPUT-preconditioners.ai is written
  int figures = 7;
  limber::motion::EditOptions edit;

  const char* path() const { return searched ? searchPath.c_str() : nullptr; }
};

/// Throws InputError on words that cannot be used; prints the usage and ends with status 0 for --help.
Options readOptions(int count, char** arguments);
