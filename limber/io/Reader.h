#pragma once

#include <cstddef>
#include <type_traits>

#include "limber/Api.h"

/// Reads a text file, plain or gzip-compressed, line by line and hands out words, integers and reals
/// separated by whitespace, with a line counter for messages.
///
/// White is every character that is at most 32 as a signed char: the control characters and, deliberately,
/// every byte from 128 to 255. There are no comments and no quotes. Lines longer than 511 characters come in
/// pieces, each counted as a line (so a word may be cut there). A line ends at a zero byte or at a byte from
/// 10 to 20; a pair of the latter is one line end, so CR LF files read like LF files and, deliberately, a
/// single empty line is lost.
///
/// Lines are counted as they are cut, which differs from what an editor shows in three ways. The
/// stream is read in pieces of 1024 bytes, and the look at the second byte of a pair does not read the next
/// piece: a CR LF pair that is split there counts as two line ends. A single empty line is lost, as said
/// above. A file whose size is a multiple of 1024 has one more, empty line at its end. Messages name the line
/// where the reader stands once the word is read, which is the line of the next word: for the last word of a
/// line that is a later line. Programs that name lines to people count line ends themselves.
///
/// The reader is at end when the stream is used up and nothing is left in `line` at `linePos`; every
/// operation then returns its end value. Damage of a compressed file and read errors end the text, as far as
/// gzread delivers it with its own buffer (up to 16 KB of text before the damage may be lost);
/// damaged() tells. Copies share the stream and the name: what one of them reads from the stream is gone for
/// the others; the last one closes.
class LIMBER_API Reader {
 public:
  int more;           ///< 1 while the stream may still deliver bytes
  void* file;         ///< the gzFile; null when opening failed
  char* name;         ///< the file's name, or the path that was found along a search path
  int lineNo;         ///< lines read so far
  char line[512];     ///< the current line, terminated, without its line end
  int linePos;        ///< the next character of `line`
  char word[512];     ///< the last word that getWord returned
  int lastWordValid;  ///< see getLastWord; never set
  char buf[4096];     ///< raw bytes of the stream
  int bufCount;       ///< valid bytes in `buf`
  int bufPos;         ///< the next unread byte of `buf`

  /// Opens `fileName`, along `searchPath` when that is not null (see gzopenp), and reads the first line.
  /// Prints nothing when there is no such file: ask ok().
  Reader(const char* fileName, const char* searchPath);
  /// Adopts an open gzFile, which the reader closes; `fileName` is kept for reference and may be null.
  Reader(void* gzStream, const char* fileName);
  /// A reader at end.
  Reader(std::nullptr_t, const char* fileName);
  /// The same for the macro NULL, which is an integer to compilers.
  template <class Null,
            std::enable_if_t<std::is_integral_v<Null> && std::is_same_v<Null, decltype(NULL)>, int> = 0>
  Reader(Null, const char* fileName) : Reader(nullptr, fileName) {}
  /// Copies share the stream and the name.
  Reader(const Reader& other);
  Reader& operator=(const Reader& other);
  ~Reader();

  /// 1 unless at end.
  int ok() const;
  /// 1 when the reader is at end because of damage or a read error, not because the text is complete: a
  /// compressed file that is cut off or whose check sums are missing or wrong, a directory, a stream that
  /// cannot be read. The last word may then be cut. 0 as long as the reader is not at end, and where no file
  /// was opened. One kind of damage goes unseen, because gzread takes it for the end: a compressed file that
  /// is cut off exactly where the text so far fills zlib's buffer, a multiple of 16 KB (so that of a text of
  /// that size only the check sums are missing).
  int damaged() const;
  /// The next character; a run of whitespace and line ends counts as its first character (a line end as LF).
  /// 0 at end.
  char getc();
  /// The character that comes next in the line, not consumed; 0 at the end of the line.
  char peek() const;
  /// The next character that is not white; 0 at end.
  char getNonWS();
  /// Drops the rest of the line and returns the next one that is not blank; null at end. A blank line is
  /// returned all the same, deliberately, while a printable byte is left of earlier text anywhere from `line`
  /// through `word`.
  const char* gets();
  /// The next word; null at end. The white run behind it is consumed too.
  const char* getWord();
  /// Reads a word; 1 when it is `expected`, whatever the case. Otherwise prints what was found and returns 0;
  /// `complain` only decides whether the end of the file is a message, deliberately.
  int matchWord(const char* expected, int complain);
  /// Reads a word as atoi does; it must begin with a digit or '-' (so +3 is refused, and 12abc is 12).
  /// Returns 0, with `out` 0, and prints why if `complain`, when it does not or there is none.
  int getInt(int& out, int complain);
  /// Reads a word as atof does in the "C" locale; the first character decides as in getInt (so .5 is
  /// refused).
  int getReal(double& out, int complain);
  /// Number of lines read so far; -1 at end.
  int getLineNo() const;
  /// The start of the current line, consumed or not; null at end.
  const char* getNextChars() const;
  /// Null: nothing sets `lastWordValid`, deliberately.
  const char* getLastWord() const;
  /// Reads a raw line of at most size - 1 characters into `dst`; null when the stream is used up.
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
