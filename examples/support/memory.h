#pragma once

#include <stdexcept>
#include <string>

/// Memory that is not there: the message says for what.
class OutOfMemory : public std::runtime_error {
 public:
  explicit OutOfMemory(const std::string& message) : std::runtime_error(message) {}
};

/// The bytes of memory that this process may still ask for: the least of what the machine has available, what
/// its control group may use and what the limit of its address space leaves. Infinite when nothing of it is
/// known.
double memoryAtHand();
/// Throws OutOfMemory when `bytes` are more than memoryAtHand(): "FILE: needs about 9.6 GB of memory, ...".
void requireMemory(const std::string& file, double bytes);
