#pragma once

#include <cstring>
#include <string>

#include "MatrixMarket.h"
#include "limber/io/Reader.h"
#include "numbers.h"

/// The words of a file, with the line of each, and the errors that name them. Not a LineReader, deliberately:
/// line numbers, white space and the end of a damaged file are the Reader's own, a comment may have any
/// length, and a % begins one only where the format has room for it.
class Words {
 public:
  Words(const std::string& file, const char* searchPath) : reader_(file.c_str(), searchPath), path_(file) {
    if (!reader_.file) {
      const std::string where = searchPath ? std::string(" along ") + searchPath : "";
      throw InputError(file + ":0: expected a file that can be read" + where);
    }
    if (reader_.name) path_ = reader_.name;
    skipWhite();
  }

  const std::string& path() const { return path_; }
  /// A word is left on the line of the word read last, or before the first word at all.
  bool moreOnLine() const { return reader_.ok() && reader_.lineNo == line_; }
  bool atEnd() const { return !reader_.ok(); }
  bool atComment() { return reader_.ok() && reader_.peek() == '%'; }

  /// The next word, on whatever line; `expected` says what it ought to be.
  std::string next(const std::string& expected) {
    if (!reader_.ok()) fail(reader_.lineNo, expected + ", found the end of the file");
    line_ = reader_.lineNo;
    word_ = reader_.getWord();
    return word_;
  }
  /// The next word, which must stand on the line of the one before.
  std::string nextOnLine(const std::string& expected) {
    if (!atEnd() && !moreOnLine()) fail(line_, expected + ", found the end of the line");
    return next(expected);
  }
  void endLine(const std::string& behind) {
    if (moreOnLine()) {
      next("");
      refuse("the end of the line behind " + behind);
    }
  }
  void endFile(const std::string& behind) {
    while (atComment()) skipLine();
    if (!atEnd()) {
      next("");
      refuse("the end of the file behind " + behind);
    }
  }

  /// The last word read is not what it ought to be.
  [[noreturn]] void refuse(const std::string& expected) const {
    fail(line_, expected + ", found `" + word_ + "'");
  }

  long toInteger(long least, long most, const std::string& expected) const {
    long value;
    if (!parseInt(word_.c_str(), &value) || value < least || value > most) refuse(expected);
    return value;
  }

  /// The whole word, a finite decimal number, as .5 and +1 are too. The reader's own getReal refuses those
  /// and takes 12abc for 12.
  double toReal(const std::string& expected) const {
    double value;
    if (!parseReal(word_.c_str(), &value)) refuse(expected);
    return value;
  }

  /// Goes on to the next line that is not blank. Pieces of a line too long for the reader belong to it.
  void skipLine() {
    bool cut = true;
    while (cut && reader_.ok()) {
      cut = std::strlen(reader_.line) == sizeof reader_.line - 1;
      if (!reader_.gets()) return;
    }
    skipWhite();
  }

 private:
  [[noreturn]] void fail(int line, const std::string& expected) const {
    throw InputError(path_, line, "expected " + expected);
  }
  void skipWhite() {
    while (reader_.ok() && static_cast<signed char>(reader_.peek()) <= ' ') reader_.getc();
  }

  Reader reader_;
  std::string path_, word_;
  int line_ = 1;
};
