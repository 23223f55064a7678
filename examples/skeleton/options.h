#pragma once

#include <string>

/// What the command line asks for.
struct Options {
  std::string clip;
  std::string searchPath;
  bool searched = false;  ///< a search path was given, perhaps an empty one
  int frame = 1;          ///< the first frame is 1
  bool help = false;
  bool version = false;
};

/// What --help prints behind "usage:" and the program's name.
extern const char usage[];

/// Throws InputError for what is not understood.
Options readOptions(int count, char** arguments);
