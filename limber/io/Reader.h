#pragma once

#include <cstddef>
#include <type_traits>

#include "limber/Api.h"

/// Reads a text file, plain or gzip-compressed, line by line and returns words, integers and reals separated
/// by whitespace. It counts lines for messages.
///
/// White is every character that is at most 32 as a signed char: the control characters and (contract) every
/// byte from 128 to 255. There are no comments and no quotes. A line longer than 511 characters is returned
/// in pieces, each counted as a line, so a word may be cut there. A line ends at a zero byte or at a byte
/// from 10 to 20. A pair of the latter is one line end, so CR LF files read like LF files and (contract) a
/// single empty line is lost.
///
/// The line count differs from an editor's in three ways. The stream is read in pieces of 1024 bytes, and the
/// second byte of a pair is not looked for in the next piece: a CR LF pair that is split there counts as two
/// line ends. A single empty line is lost, as said above. A text that ends in a line end and whose size is a
/// multiple of 1024 has one more, empty line. Messages name the line of the reader's position after the word,
/// which is the line of the next word: for the last word of a line that is a later line. Programs that show
/// line numbers to people should count line ends themselves.
///
/// The reader is at its end when the stream is used up and nothing is left in `line` at `linePos`; every
/// operation then returns its end value. Damage of a compressed file and read errors end the text; damaged()
/// reports them. gzread has a buffer, so up to 16 KB of text before the damage may be lost. Copies share the
/// stream and the name: what one of them reads from the stream the others do not see. The last copy closes
/// the stream.
class LIMBER_API Reader {
 public:
  int more;           ///< 1 while the stream may have more bytes
  void* file;         ///< the gzFile; null when opening failed
  char* name;         ///< the file's name, or the path found along a search path
  int lineNo;         ///< lines read so far
  char line[512];     ///< the current line, terminated, without its line end
  int linePos;        ///< the next character of `line`
  char word[512];     ///< the last word that was read, as a word or a number
  int lastWordValid;  ///< see getLastWord; never set
  char buf[4096];     ///< raw bytes of the stream
  int bufCount;       ///< valid bytes in `buf`
  int bufPos;         ///< the next unread byte of `buf`

  /// Opens `fileName`, along `searchPath` if that is not null (see gzopenp), and reads the first line. Prints
  /// nothing if there is no such file; call ok() to find out.
  Reader(const char* fileName, const char* searchPath);
  /// Takes over an open gzFile, which the reader closes; `fileName` is kept for reference and may be null.
  Reader(void* gzStream, const char* fileName);
  /// A reader at its end.
  Reader(std::nullptr_t, const char* fileName);
  /// The same for the macro NULL, which is an integer in some compilers.
  template <class Null,
            std::enable_if_t<std::is_integral_v<Null> && std::is_same_v<Null, decltype(NULL)>, int> = 0>
  Reader(Null, const char* fileName) : Reader(nullptr, fileName) {}
  /// Copies share the stream and the name.
  Reader(const Reader& other);
  Reader& operator=(const Reader& other);
  ~Reader();

  /// 1 unless the reader is at its end.
  int ok() const;
  /// 1 if the reader is at its end because of damage or a read error, and not because the text is complete.
  /// Examples are a compressed file that is cut off or whose check sums are missing or wrong, a directory,
  /// and a stream that cannot be read. The last word may then be cut off. 0 before the end, and if no file
  /// was opened.
  int damaged() const;
  /// The next character; a run of whitespace and line ends counts as its first character (a line end as LF).
  /// 0 at the end.
  char getc();
  /// The next character of the line, without consuming it; 0 at the end of the line.
  char peek() const;
  /// The next character that is not white; 0 at the end.
  char getNonWS();
  /// Skips the rest of the line and returns the next one that is not blank; null at the end. Contract: a
  /// blank line is returned nevertheless while earlier text has left a printable byte anywhere from `line`
  /// through `word`.
  const char* gets();
  /// The next word; null at the end. The white characters after it are consumed too.
  const char* getWord();
  /// Reads a word; 1 if it is `expected`, ignoring case. Otherwise prints what was found and returns 0.
  /// Contract: `complain` only decides whether the end of the file prints a message.
  int matchWord(const char* expected, int complain);
  /// Reads a word as atoi does; it must begin with a digit or '-' (so +3 is refused, and 12abc is 12). If it
  /// does not, or if there is no word, sets `out` to 0, prints the reason if `complain`, and returns 0.
  int getInt(int& out, int complain);
  /// Reads a word as atof does in the "C" locale; the first character decides as in getInt (so .5 is
  /// refused).
  int getReal(double& out, int complain);
  /// The number of lines read so far; -1 at the end.
  int getLineNo() const;
  /// The start of the current line, whether consumed or not; null at the end.
  const char* getNextChars() const;
  /// Contract: always null, because nothing sets `lastWordValid`.
  const char* getLastWord() const;
  /// Reads a raw line of at most size - 1 characters into `dst`; null if the stream is used up.
  char* bgets(char* dst, int size);

 private:
  int advance();
  int fillBuffer();

  LIMBER_HIDDEN void clear();
  LIMBER_HIDDEN void start(void* stream);
  LIMBER_HIDDEN void release();
  LIMBER_HIDDEN void shareWith(const Reader& other);
  LIMBER_HIDDEN bool streamDone() const;
  LIMBER_HIDDEN bool atEnd() const;
  LIMBER_HIDDEN void skipWhite();
  LIMBER_HIDDEN int takeWord();
  LIMBER_HIDDEN void endWord();
  LIMBER_HIDDEN bool isNumber() const;
  LIMBER_HIDDEN int refuseNumber(const char* kind, int length, int complain);
};
