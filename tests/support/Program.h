#pragma once

#include <string>
#include <vector>

/// The output of a program and its exit status.
struct ProgramRun {
  /// The exit status; 128 plus the signal's number if a signal ended it; 127 if it could not start.
  int status;
  std::string out, err;
};

/// Runs a program to its end, in `directory` if that is not empty.
ProgramRun runProgram(const std::string& path, const std::vector<std::string>& arguments,
                      const std::string& directory = "");
