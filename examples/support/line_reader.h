#pragma once

#include <string>
#include <vector>

/// Reads the words of a text file, plain or gzip-compressed, and knows where each one stood. Lines end in LF,
/// CR LF or CR and may be long; empty lines count in messages, words are separated by blanks and control
/// characters. What cannot be used ends in an InputError that names the file, the line and the word.
class LineReader {
 public:
  /// Opens `name` along `searchPath` (null: as it stands). A word that begins with `comment` and what follows
  /// it in the line are skipped; 0: no comments.
  LineReader(const char* name, const char* searchPath, char comment = 0);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  /// Goes to the next line that has a word; false at the end of the file.
  bool nextLine();
  /// The next word of the line without taking it; null at the line's end. Words are valid until nextLine.
  const char* peek();
  /// Takes the next word of the line. `wanted` says in the message what stands there in a good file.
  const char* next(const char* wanted);
  /// Takes the next word, from a later line where this one is used up.
  const char* nextAnywhere(const char* wanted);
  /// Takes the next word anywhere, which must be this one.
  void expect(const char* word);
  /// The line must be used up.
  void expectLineEnd();

  /// Take a number from the line: finite, and at most 1e15 in size, so that squares and sums of them stay
  /// finite.
  double real(const char* wanted);
  int integer(const char* wanted);

  /// "FILE:LINE: message".
  [[noreturn]] void fail(const std::string& message) const;
  /// "FILE:LINE: expected WANTED, found 'WORD'".
  [[noreturn]] void unexpected(const std::string& wanted, const char* word) const;
  /// FILE:LINE.
  std::string place() const;

 private:
  bool readLine();
  int nextByte();

  std::string file_;
  void* stream_;
  char comment_;
  int line_ = 0;
  std::string text_;    // the line; words that were found end in a zero byte
  std::size_t at_ = 0;  // where the search for the next word begins
  const char* word_;    // found and not taken; null: not looked for
  bool afterReturn_ = false;
  std::vector<char> buffer_;
  std::size_t used_ = 0, filled_ = 0;
};
