#pragma once

#include <stdexcept>
#include <string>

/// There is not enough memory. The message says what for.
class OutOfMemory : public std::runtime_error {
 public:
  explicit OutOfMemory(const std::string& message) : std::runtime_error(message) {}
};

/// The bytes of memory that this process can still allocate: the minimum of the available memory of the
/// machine, of its control group and of its address space. Infinite if none of them is known.
double memoryAtHand();
/// Throws OutOfMemory if `bytes` are more than memoryAtHand(): "FILE: needs about 9.6 GB of memory, ...".
void requireMemory(const std::string& file, double bytes);
