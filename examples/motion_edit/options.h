#pragma once

#include <optional>
#include <string>

#include "limber_motion/motion.h"

/// The command line of motion_edit.
struct Options {
  std::string clip;
  std::string script;  ///< if empty, the feet are held where they stand
  std::optional<std::string> searchPath;
  std::string output = "edited";  ///< stem of the files written: .bvh, .ai, -speed.ai and -convergence.ai
  bool outputGiven = false;
  std::string plantScript;  ///< the file for the contacts as a script; if empty, none is written
  std::string report;       ///< the file for the report as JSON; if empty, none is written
  bool listPlants = false;  ///< list the contacts and edit nothing
  bool pictures = true;
  bool preconditioners = false;  ///< compare preconditioners and write OUTPUT-preconditioners.ai
  int figures = 7;
  std::optional<limber::motion::Up> up;  ///< if empty, the clip's own
  limber::motion::EditOptions edit;

  /// The search path, or null.
  const char* path() const { return searchPath ? searchPath->c_str() : nullptr; }
};

/// Throws InputError for an argument that is not valid. With --help it prints the usage and ends the program
/// with status 0.
Options readOptions(int count, char** arguments);
