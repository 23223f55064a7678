#pragma once

#include <string>

#include "editor.h"

/// The command line of motion_edit.
struct Options {
  std::string clip;
  std::string constraints;        ///< empty: foot plants are found
  std::string searchPath;         ///< empty: names as they stand
  std::string output = "edited";  ///< stem of the files written: .bvh, .ai and -convergence.ai
  int figures = 9;
  int shortestPlant = 8;  ///< frames
  bool compare = true;    ///< draw the convergence of all three preconditioners
  EditOptions edit;
};

/// Throws InputError on words that cannot be used; prints the usage and ends with status 0 for --help.
Options readOptions(int count, char** arguments);
