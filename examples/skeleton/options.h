#pragma once

#include <optional>
#include <string>

/// The options on the command line.
struct Options {
  std::string clip;
  std::optional<std::string> searchPath;
  int frame = 1;  ///< the first frame is 1
  bool help = false;
  bool version = false;

  /// The search path, or null.
  const char* path() const { return searchPath ? searchPath->c_str() : nullptr; }
};

/// What --help prints after "usage:" and the name of the program.
extern const char usage[];

/// Throws InputError for an argument that is not understood.
Options readOptions(int count, char** arguments);
