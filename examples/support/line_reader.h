#pragma once

#include <string>

#include "limber/io/Reader.h"

/// Reads the words of a text file, plain or gzip-compressed, and counts its lines. A line ends with LF, CR LF
/// or CR. A byte-order mark at the start is skipped. All other characters up to the blank are white space,
/// except the zero byte, which no text contains. Anything that cannot be used throws an InputError that names
/// the file, the line and the word.
///
/// It takes the bytes from a Reader, whose own lines are cut at 511 characters and counted differently. It
/// keeps only one word at a time, because a matrix file may be larger than the memory and its lines may have
/// any length.
class LineReader {
 public:
  /// Opens `name` along `searchPath` (null: only `name` itself). A word that begins with `comment` is skipped
  /// together with the rest of its line; 0: there are no comments.
  LineReader(const char* name, const char* searchPath, char comment = 0);
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  /// Changes the character that begins a comment, for the words that have not been read yet.
  void setComment(char comment) { comment_ = comment; }
  /// Moves to the next line that has a word; false at the end of the file.
  bool nextLine();
  /// The next word of the line, without consuming it; null at the end of the line. A word is valid until the
  /// next one is read.
  const char* peek();
  /// Consumes the next word of the line. For the message, `wanted` names what a correct file has there.
  const char* next(const char* wanted);
  /// Consumes the next word, from a later line if this one is used up.
  const char* nextAnywhere(const char* wanted);
  /// Consumes the next word on any line, which must be this one.
  void expect(const char* word);
  /// The line must be used up.
  void expectLineEnd();

  /// Consume a number of the line. It must be finite and at most 1e15 in magnitude, so that squares and sums
  /// stay finite.
  double real(const char* wanted);
  int integer(const char* wanted);
  /// Consumes any finite number of the line.
  double finite(const char* wanted);
  /// How many of these numbers are not 0 but too small for doubles, and were read as 0.
  long long vanished() const { return vanished_; }
  /// Consumes an integer between `from` and `to` of the line.
  long long whole(long long from, long long to, const char* wanted);

  /// "FILE:LINE: message", and whether the rest of a compressed file is damaged.
  [[noreturn]] void fail(const std::string& message);
  /// "FILE:LINE: expected WANTED, found 'WORD'".
  [[noreturn]] void unexpected(const std::string& wanted, const char* word);
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
  Reader in_{nullptr, nullptr};
  int line_ = 0;        // 0: no line has been begun
  std::string word_;    // the word that peek found
  bool found_ = false;  // word_ has been found and not consumed
  long long vanished_ = 0;
  std::string damage_;  // why reading ended before the end of the file; empty if it did not
};
