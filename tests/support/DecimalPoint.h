#pragma once

#include <clocale>
#include <string>

/// Prints numbers with a decimal point while it exists, and restores the locale's way at the end. Printed
/// numbers follow the locale of the process, as with printf; the expected texts of the tests have points.
class DecimalPoint {
 public:
  DecimalPoint() : saved_(std::setlocale(LC_NUMERIC, nullptr)) { std::setlocale(LC_NUMERIC, "C"); }
  ~DecimalPoint() { std::setlocale(LC_NUMERIC, saved_.c_str()); }
  DecimalPoint(const DecimalPoint&) = delete;
  DecimalPoint& operator=(const DecimalPoint&) = delete;

 private:
  std::string saved_;
};
