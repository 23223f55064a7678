#pragma once

#include <string>
#include <vector>

/// Reads the words of a text file, plain or gzip-compressed, and knows the line of each one. Lines may have
/// any length, because only one word is kept at a time. A line ends with LF, CR LF or CR; a byte-order mark
/// at the start is skipped; all other characters up to the blank are white space, except the zero byte, which
/// no text has. What cannot be used ends in an InputError that names the file, the line and the word.
class LineReader {
 public:
  /// Opens `name` along `searchPath` (null: `name` as it stands). A word that begins with `comment` is
  /// skipped together with the rest of its line; 0: there are no comments.
  LineReader(const char* name, const char* searchPath, char comment = 0);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  /// Changes the character that begins a comment, for the words that were not looked at yet.
  void setComment(char comment) { comment_ = comment; }
  /// Goes to the next line that has a word; false at the end of the file.
  bool nextLine();
  /// The next word of the line without taking it; null at the end of the line. A word is valid until the
  /// reader is asked for another one.
  const char* peek();
  /// Takes the next word of the line. `wanted` says in the message what stands there in a good file.
  const char* next(const char* wanted);
  /// Takes the next word, from a later line when this one is used up.
  const char* nextAnywhere(const char* wanted);
  /// Takes the next word anywhere, which must be this one.
  void expect(const char* word);
  /// The line must be used up.
  void expectLineEnd();

  /// Take a number from the line: finite, and at most 1e15 in size, so that squares and sums of them stay
  /// finite.
  double real(const char* wanted);
  int integer(const char* wanted);
  /// Takes any finite number from the line.
  double finite(const char* wanted);
  /// Takes a whole number between `least` and `most` from the line.
  long long whole(long long least, long long most, const char* wanted);

  /// "FILE:LINE: message".
  [[noreturn]] void fail(const std::string& message) const;
  /// "FILE:LINE: expected WANTED, found 'WORD'".
  [[noreturn]] void unexpected(const std::string& wanted, const char* word) const;
  /// FILE:LINE.
  std::string place() const;
  /// The name of the file that was opened.
  const std::string& file() const { return file_; }

 private:
  static constexpr int endOfFile = -1;

  int look();
  int refill();
  void skipByteOrderMark();
  void skipRestOfLine();

  std::string file_;
  char comment_;
  void* stream_ = nullptr;    // a gzFile
  std::vector<char> buffer_;  // bytes of the file: those from at_ to end_ are not used yet
  std::size_t at_ = 0, end_ = 0;
  int line_ = 0;        // 0: no line was begun
  std::string word_;    // the word that peek found
  bool found_ = false;  // word_ is found and not taken
  std::string damage_;  // why reading ended before the end of the file; empty: it did not
};
