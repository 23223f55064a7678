#pragma once

#include <string>
#include <string_view>

namespace limber::motion::detail {

/// Strict conversions, whatever the process's locale: the whole word must be the number. A leading '+',
/// numbers such as ".5", and numbers too small for a double (they are 0) are accepted; "nan", "inf",
/// hexadecimal, and what no finite double or int can hold are not.
bool parseReal(std::string_view word, double* out);
bool parseInt(std::string_view word, int* out);

/// `value` with that many digits behind the point.
std::string fixed(double value, int decimals);
/// `value` in so many significant digits.
std::string significant(double value, int digits);
/// `value` in the fewest digits that read back as the same number.
std::string shortest(double value);

}  // namespace limber::motion::detail
