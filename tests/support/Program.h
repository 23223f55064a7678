#pragma once

#include <string>
#include <vector>

/// The output of a program and its exit status.
struct ProgramRun {
  int status;  ///< the exit status; 128 and the signal's number when a signal ended it, 127 when it could not
               ///< start
  std::string out, err;
};

/// Runs a program to its end, in `directory` if that is not empty.
ProgramRun runProgram(const std::string& path, const std::vector<std::string>& arguments,
                      const std::string& directory = "");
