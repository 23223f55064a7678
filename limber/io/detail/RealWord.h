#pragma once

namespace limber::detail {

/// The value that atof gives for a word in the "C" locale, whatever the process's locale is. The word reaches
/// from `text` to `end`, begins with a digit or '-', and has a white character or a zero at `end`; the eight
/// bytes before the word and after its end may be read. `terminated` is the same word followed by a zero.
double realWord(const char* text, const char* end, const char* terminated);

}  // namespace limber::detail
