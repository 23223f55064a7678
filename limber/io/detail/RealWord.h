#pragma once

namespace limber::detail {

/// The value that atof gives for `word` in the "C" locale, whatever the process's locale is. `word` begins
/// with a digit or '-'.
double realWord(const char* word);

}  // namespace limber::detail
