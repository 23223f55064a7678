#pragma once

#include <cstdint>
#include <string>

/// The golden numbers: fixed inputs, and results as hexadecimal doubles, one per line. Every build of the
/// library must print the same bits, whatever the compiler, the optimisation level and the machine.
///
/// Each group of results has a file here with one function that prints and one static Part:
///
///   void run() { ... golden::print("dot", dot(&a, &b)); ... }
///   const golden::Part part("vectors", run);
///
/// bits.txt holds the expected output. golden.py compares it, and with --update writes it again. The table of
/// the solvers in tests/solvers/table/ is printed and compared in the same way.
namespace golden {

/// A fixed sequence of numbers in [-1, 1), exact in doubles. (The distributions of the standard library
/// differ between platforms.)
class Numbers {
 public:
  explicit Numbers(std::uint64_t seed) : state_(seed) {}
  std::uint64_t bits() { return state_ = state_ * 6364136223846793005u + 1442695040888963407u; }
  double next() { return static_cast<double>(bits() >> 11) * 0x1p-52 - 1.0; }
  /// In 0 ... n - 1.
  int below(int n) { return static_cast<int>((bits() >> 33) % static_cast<std::uint64_t>(n)); }

 private:
  std::uint64_t state_;
};

/// Prints "part.name 0x1.8p+1".
void print(const std::string& name, double value);
/// Prints "part.name text".
void print(const std::string& name, const std::string& text);
/// Prints "part.name[i] ..." for each of n values.
void print(const std::string& name, const double* values, int n);

/// A function that prints results. The parts run in the order of their names.
class Part {
 public:
  Part(const char* name, void (*run)());
};

}  // namespace golden
