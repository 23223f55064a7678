#pragma once

#include <string>
#include <vector>

namespace limber::motion::detail {

/// JSON values. They do not depend on the locale.
/// A string. Bytes that are not UTF-8, such as those of old names, are taken as Latin-1.
std::string jsonString(const std::string& text);
/// A list of strings.
std::string jsonList(const std::vector<std::string>& texts);
/// A number with nine digits. JSON has no infinity, so numbers that are not finite become null.
std::string jsonNumber(double x);

}  // namespace limber::motion::detail
