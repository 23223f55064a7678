#pragma once

#include <string>

/// The options on the command line.
struct Options {
  std::string clip;
  std::string searchPath;
  bool searched = false;  ///< true if a search path was given, which may be empty
  int frame = 1;          ///< the first frame is 1
  bool help = false;
  bool version = false;
};

/// What --help prints after "usage:" and the name of the program.
extern const char usage[];

/// Throws InputError for an argument that is not understood.
Options readOptions(int count, char** arguments);
