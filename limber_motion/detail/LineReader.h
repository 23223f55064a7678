#pragma once

#include <string>
#include <string_view>

namespace limber::motion::detail {

/// Reads the words of a text file, plain or gzip-compressed, and knows the line of each word. Lines end in
/// LF, CR LF or CR. Words are separated by spaces, tabs and other control characters. A byte-order mark is
/// skipped. Invalid input leads to an Error that names the file, the line and the word.
class LineReader {
 public:
  /// Reads the file `name`, which is looked for along `searchPath` (if that is null, the name is used as
  /// given). A word that begins with `comment` is skipped together with the rest of its line; 0 means that
  /// there are no comments.
  LineReader(const std::string& name, const char* searchPath, char comment = 0);
  /// Reads the lines of `text`. Messages call it `name`.
  static LineReader ofText(const std::string& name, const std::string& text);

  /// Goes to the next line that contains a word. Returns false at the end of the file.
  bool nextLine();
  /// The next word of the line, which is not consumed; empty at the end of the line. Words stay valid.
  std::string_view peek();
  /// Consumes the next word of the line. An error message says that `wanted` was expected.
  std::string_view next(const char* wanted);
  /// Consumes the next word, which may be in a later line.
  std::string_view nextAnywhere(const char* wanted);
  /// Consumes the next word, which may be in a later line and must be `word` in upper or lower case.
  void expect(const char* word);
  /// Puts back `word`, the last one consumed.
  void putBack(std::string_view word) { at_ = static_cast<std::size_t>(word.data() - text_.data()); }
  /// Reports an error if the line has another word.
  void expectLineEnd();
  /// The rest of the line without blanks at either end. It is not consumed.
  std::string_view rest() const;
  /// Skips that many characters of rest().
  void skip(std::size_t characters);

  /// Consume a number of the line. A real number must be finite and at most 1e15 in magnitude, so that
  /// squares and sums of such numbers stay finite.
  double real(const char* wanted);
  int integer(const char* wanted);

  /// The whole text, and the position in it where the current line begins.
  const std::string& text() const { return text_; }
  std::size_t lineStart() const { return start_; }
  /// True if the current line is the last one and has no line end, as if the file was cut there.
  bool lineIsCut() const { return next_ == end_; }
  std::string_view line() const { return std::string_view(text_).substr(start_, end_ - start_); }

  /// "FILE:LINE: message".
  [[noreturn]] void fail(const std::string& message) const { failAt(line_, message); }
  [[noreturn]] void failAt(int line, const std::string& message) const;
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
  std::size_t start_ = 0, end_ = 0, next_ = 0;  // of the current line, and the next one
  std::size_t at_ = 0;                          // where the search for the next word begins
};

/// True if the word is a number that real() accepts.
bool parseUsable(std::string_view word, double* out);

/// The word in quotes, shortened if it is very long, with control characters replaced. If it is empty: "the
/// end of the line".
std::string quoted(std::string_view word);

/// True if two words are equal except for upper and lower case (of the letters a to z).
bool sameWord(std::string_view a, std::string_view b);

}  // namespace limber::motion::detail
