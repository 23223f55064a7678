#pragma once

#include <string>
#include <string_view>

namespace limber::motion::detail {

/// Strict conversions that do not depend on the locale: the whole word must be the number. A leading '+' and
/// numbers such as ".5" are accepted, and numbers that are too small for a double become 0. "nan", "inf",
/// hexadecimal numbers and numbers that no finite double or int can hold are rejected.
bool parseReal(std::string_view word, double* out);
bool parseInt(std::string_view word, int* out);

/// `value` with `decimals` digits after the decimal point.
std::string fixed(double value, int decimals);
/// `value` with `digits` significant digits.
std::string significant(double value, int digits);
/// `value` with the fewest digits that are read back as the same number.
std::string shortest(double value);

}  // namespace limber::motion::detail
