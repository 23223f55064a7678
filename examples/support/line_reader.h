#pragma once

#include <string>

#include "limber/io/Reader.h"

/// Reads the words of a text file, plain or gzip-compressed, through Limber's Reader, and knows in which line
/// each one stood. Lines may be longer than the Reader's own: the start of the first is the Reader's current
/// line, and everything behind it is taken raw, with bgets. Lines are counted as the Reader delivers them,
/// which takes an empty line between two others, like CR LF, for part of one line end. What cannot be used
/// ends in an InputError that names the file, the line and the word.
class LineReader {
 public:
  /// Opens `name` along `searchPath` (null: as it stands). A word that begins with `comment` and what follows
  /// it in the line are skipped; 0: no comments.
  LineReader(const char* name, const char* searchPath, char comment = 0);
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
  bool isDamaged() const;

  Reader reader_;
  std::string file_;
  char comment_;
  bool started_ = false;
  int line_ = 0;
  std::string text_;    // the line; words that were found end in a zero byte
  std::size_t at_ = 0;  // where the search for the next word begins
  const char* word_;    // found and not taken; null: not looked for
};
