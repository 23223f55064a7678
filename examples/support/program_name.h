#pragma once

#include <string>

/// The name by which this program was called, without folders: what its help and its messages begin with.
const std::string& programName();

/// Called first in main with its first argument. `usual` is the name if the system does not pass one.
void setProgramName(const char* argument, const char* usual);
