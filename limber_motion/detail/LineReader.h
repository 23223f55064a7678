#pragma once

#include <string>
#include <string_view>

namespace limber::motion::detail {

/// Reads the words of a text file, plain or gzip-compressed, and knows in which line each one stood. Lines
/// end in LF, CR LF or CR; words are separated by blanks, tabs and other control characters; a byte-order
/// mark is skipped. What cannot be used ends in an Error that names the file, the line and the word.
class LineReader {
 public:
  /// Reads `name`, found along `searchPath` (null: as it stands). `comment` and what follows it in a line
  /// are skipped where it begins a word; 0: no comments.
  LineReader(const std::string& name, const char* searchPath, char comment = 0);
  /// Reads the lines of `text`; `name` is what messages call it.
  static LineReader ofText(const std::string& name, const std::string& text);

  /// Goes to the next line that has a word; false at the end of the file.
  bool nextLine();
  /// The next word of the line without taking it; empty at the line's end. Words stay valid.
  std::string_view peek();
  /// Takes the next word of the line. `wanted` says in the message what stands there in a good file.
  std::string_view next(const char* wanted);
  /// Takes the next word, from a later line where this one is used up.
  std::string_view nextAnywhere(const char* wanted);
  /// Takes the next word anywhere, which must be this one in any case of letters.
  void expect(const char* word);
  /// Makes `word`, the last one taken, the next one again.
  void putBack(std::string_view word) { at_ = static_cast<std::size_t>(word.data() - text_.data()); }
  /// The line must be used up.
  void expectLineEnd();
  /// What is left of the line, without blanks at either end; not taken.
  std::string_view rest() const;
  /// Skips that many characters of rest().
  void skip(std::size_t characters);

  /// Take a number from the line: finite, and at most 1e15 in size, so that squares and sums of them stay
  /// finite.
  double real(const char* wanted);
  int integer(const char* wanted);

  /// The whole text and where the current line begins in it.
  const std::string& text() const { return text_; }
  std::size_t lineStart() const { return start_; }
  std::string_view line() const { return std::string_view(text_).substr(start_, end_ - start_); }

  /// "FILE:LINE: message".
  [[noreturn]] void fail(const std::string& message) const;
  /// "FILE:LINE: expected WANTED, found 'WORD'".
  [[noreturn]] void unexpected(const std::string& wanted, std::string_view word) const;
  int lineNumber() const { return line_; }
  /// FILE:LINE.
  std::string place() const;
  const std::string& file() const { return file_; }

 private:
  LineReader() = default;
  void load(const std::string& name, const char* searchPath);
  void advance();
  void skipBlanks();

  std::string file_, text_;
  char comment_ = 0;
  int line_ = 0;
  std::size_t start_ = 0, end_ = 0, next_ = 0;  // of the current line, and where the one behind it begins
  std::size_t at_ = 0;                          // where the search for the next word begins
};

/// The word in quotes, shortened when very long, control characters replaced; "the end of the line" when it
/// is empty.
std::string quoted(std::string_view word);

/// Whether two words differ at most in the case of their letters (of the alphabet without accents).
bool sameWord(std::string_view a, std::string_view b);

}  // namespace limber::motion::detail
