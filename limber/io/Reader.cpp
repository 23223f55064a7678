#include "limber/io/Reader.h"

#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include "limber/foundation/CaseCompare.h"
#include "limber/foundation/Output.h"
#include "limber/foundation/Text.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/foundation/detail/Sharing.h"
#include "limber/io/SearchP.h"
#include "limber/io/detail/Bytes.h"
#include "limber/io/detail/RealWord.h"

using namespace limber::detail;

namespace {

constexpr int requestSize = 1024;
constexpr int wordSize = sizeof(Reader::word);
constexpr std::size_t leastNameSize = 512;

// The terminator of a word of 512 characters is in the next field, which getWord has cleared.
static_assert(offsetof(Reader, lastWordValid) == offsetof(Reader, word) + wordSize, "no gap after word");
static_assert(offsetof(Reader, linePos) == offsetof(Reader, line) + sizeof(Reader::line), "no gap");
static_assert(offsetof(Reader, word) == offsetof(Reader, linePos) + sizeof(Reader::linePos), "no gap");

// Contract: signed on every machine, so that bytes from 128 to 255 are white.
bool isPrintable(char c) { return static_cast<signed char>(c) > ' '; }
// True for the bytes that can be part of a pair of line ends such as CR LF, which excludes zero bytes.
bool mayPair(char c) { return static_cast<unsigned char>(c - 10) <= 10; }

}  // namespace

Reader::Reader(const char* fileName, const char* searchPath) {
  clear();
  if (!fileName) return;
  if (searchPath) {
    const std::size_t longest = std::strlen(searchPath) + std::strlen(fileName) + 2;
    name = new (std::nothrow) char[longest > leastNameSize ? longest : leastNameSize];
    if (!name) {
      ReportSite{"Reader", __LINE__}.fatal(newFails);
      return;
    }
    file = gzopenp(searchPath, fileName, name, "rb");
    if (!file) {
      delete[] name;
      name = nullptr;
      return;
    }
  } else {
    file = gzopen(fileName, "rb");
    if (!file) return;
    name = nameString(fileName);
  }
  start(file);
}

Reader::Reader(void* gzStream, const char* fileName) {
  clear();
  if (!gzStream) return;
  name = nameString(fileName);
  start(gzStream);
}

Reader::Reader(std::nullptr_t, const char*) { clear(); }

Reader::Reader(const Reader& other) { shareWith(other); }

Reader& Reader::operator=(const Reader& other) {
  if (this == &other) return *this;
  // If the two already share a stream or name, `other` still holds it, so nothing is released too early.
  release();
  shareWith(other);
  return *this;
}

Reader::~Reader() {
  release();
  more = 0;
}

// Zeroes everything, including the arrays, because gets and bgets read them before they are filled.
void Reader::clear() {
  more = lineNo = linePos = lastWordValid = bufCount = bufPos = 0;
  file = nullptr;
  name = nullptr;
  std::memset(line, 0, sizeof line);
  std::memset(word, 0, sizeof word);
  std::memset(buf, 0, sizeof buf);
}

void Reader::start(void* stream) {
  file = stream;
  more = 1;
  advance();
}

void Reader::release() {
  if (unshare(name)) delete[] name;
  name = nullptr;
  if (unshare(file) && file) gzclose(static_cast<gzFile>(file));
  file = nullptr;
}

void Reader::shareWith(const Reader& other) {
  if (!share(other.file)) return clear();
  if (!share(other.name)) {
    (void)unshare(other.file);
    return clear();
  }
  more = other.more;
  file = other.file;
  name = other.name;
  lineNo = other.lineNo;
  linePos = other.linePos;
  lastWordValid = other.lastWordValid;
  bufCount = other.bufCount;
  bufPos = other.bufPos;
  std::memcpy(line, other.line, sizeof line);
  std::memcpy(word, other.word, sizeof word);
  std::memcpy(buf, other.buf, sizeof buf);
}

// The request is smaller than the buffer, because bgets reads the byte after the last one.
int Reader::fillBuffer() {
  const auto stream = static_cast<gzFile>(file);
  bufPos = 0;
  bufCount = gzread(stream, buf, requestSize);
  // A read of 0 bytes ends the file even if gzeof is false; otherwise a loop over lines would never end.
  if (gzeof(stream) || bufCount == 0) more = 0;
  if (bufCount > static_cast<int>(sizeof buf)) {
    ReportSite{"Reader", 234}.error("Read too many bytes from gunzip - overflowed buffer!");
    bufCount = sizeof buf;
  }
  if (bufCount < 0) {
    bufCount = 0;
    more = 0;
    return 0;
  }
  return 1;
}

bool Reader::streamDone() const { return !more && bufPos >= bufCount; }

// zlib reports the end of the file with the read that delivers the last bytes, whose lines have not been
// returned yet. The end is reached when those are used up too.
bool Reader::atEnd() const { return line[linePos] == 0 && streamDone(); }

char* Reader::bgets(char* dst, int size) {
  if (!dst || size < 1) return nullptr;
  if (streamDone()) {
    *dst = 0;
    return nullptr;
  }
  if (size == 1) {  // there is no room for a character, but one is consumed
    char taken[2];
    bgets(taken, 2);
    *dst = 0;
    return dst;
  }
  char* to = dst;
  char* const last = dst + size - 1;
  while (to != last) {
    if (bufPos >= bufCount) fillBuffer();
    const char* const from = buf + bufPos;
    int run = bufCount - bufPos;
    if (run > last - to) run = static_cast<int>(last - to);
    const int n = copyLine(from, to, run);
    to += n;
    bufPos += n;
    if (n < run || bufCount == 0) {  // a line end, a zero byte, or nothing more to read
      *to++ = 0;
      if (bufCount && mayPair(buf[bufPos++])) {
        // The second byte of a pair such as CR LF. Contract: at the end of the buffer no more is read to find
        // it, so a pair that is split there gives an empty line.
        if (bufPos < static_cast<int>(sizeof buf) && mayPair(buf[bufPos])) ++bufPos;
      }
      break;
    }
  }
  *to = 0;
  return dst;
}

int Reader::advance() {
  lastWordValid = 0;
  linePos = 0;
  if (streamDone()) {
    line[0] = 0;
    return 0;
  }
  ++lineNo;
  return bgets(line, sizeof line) != nullptr;
}

int Reader::ok() const { return !atEnd(); }

// For gzread and gzeof, a file that is cut off ends like a complete one; only gzerror tells them apart. If
// the text before the cut happens to fill zlib's buffer, gzerror does so only after another read. That read
// is made for compressed files only: plain files cannot be cut off unnoticed, and a terminal would wait.
int Reader::damaged() const {
  if (!file || !atEnd()) return 0;
  const auto stream = static_cast<gzFile>(file);
  int error = Z_OK;
  gzerror(stream, &error);
  if (error != Z_OK || !gzeof(stream)) return 1;
  if (gzdirect(stream)) return 0;
  gzclearerr(stream);
  char next;
  if (gzread(stream, &next, 1) == 1) gzungetc(next, stream);
  gzerror(stream, &error);
  return error != Z_OK;
}

// Advances to the next printable character, across line ends.
void Reader::skipWhite() {
  do {
    if (line[linePos])
      ++linePos;
    else
      advance();
  } while (!isPrintable(line[linePos]) && !atEnd());
}

char Reader::getc() {
  if (atEnd()) return 0;
  const char c = line[linePos];
  if (isPrintable(c)) {
    ++linePos;
    return c;
  }
  skipWhite();
  return c ? c : '\n';
}

char Reader::peek() const { return atEnd() ? '\0' : line[linePos]; }

char Reader::getNonWS() {
  while (!atEnd()) {
    const char c = getc();
    if (isPrintable(c)) return c;
  }
  return 0;
}

const char* Reader::gets() {
  while (!atEnd()) {
    if (!advance()) return nullptr;
    // Contract: looks at everything from `line` through `word`, including what earlier lines or words left
    // there.
    const auto* const bytes = reinterpret_cast<const char*>(this);
    for (std::size_t i = offsetof(Reader, line); i < offsetof(Reader, lastWordValid); ++i) {
      if (isPrintable(bytes[i])) return line;
    }
  }
  return nullptr;
}

// Copies the next word and advances past it. Returns its length, 0 at the end.
inline int Reader::takeWord() {
  lastWordValid = 0;
  if (!isPrintable(line[linePos])) {
    if (!atEnd()) skipWhite();
    if (!isPrintable(line[linePos])) return 0;
  }
  // The loads may read the fields after `line`; the stores stay in `word`.
  const char* const from = reinterpret_cast<const char*>(this) + offsetof(Reader, line) + linePos;
  const int length = copyWord(from, word, wordSize);
  linePos += length;
  return length;
}

// Consumes the white character after the word, as getc would, with the run of white characters that follows.
inline void Reader::endWord() {
  const char* const at = line + linePos;
  if (at[0] && isPrintable(at[1]))
    ++linePos;
  else if (!atEnd())
    skipWhite();
}

const char* Reader::getWord() {
  if (!takeWord()) return nullptr;
  endWord();
  return word;
}

int Reader::matchWord(const char* expected, int complain) {
  const char* const found = getWord();
  if (!found) {
    if (complain) stderrPrintf("Expecting `%s' but found EOF!\n", expected);
    return 0;
  }
  if (limber::strcasecmp(expected, found) == 0) return 1;
  // Contract: printed even if `complain` is 0.
  stderrPrintf("Expecting `%s' but found `%s'! (on line %d)\n", expected, found, lineNo);
  return 0;
}

// True if the word begins with a digit or '-'. The set of characters is a bit mask, because signs are random
// and a branch on them would be mispredicted half the time.
inline bool Reader::isNumber() const {
  const unsigned fromMinus = static_cast<unsigned>(word[0] - '-');
  return fromMinus <= '9' - '-' && (0x1ff9u >> fromMinus & 1);
}

// The end of a failed getInt or getReal: prints the message and returns 0. `kind` is "int" or "Real".
int Reader::refuseNumber(const char* kind, int length, int complain) {
  if (!length) {
    if (complain) stderrPrintf("Expecting %s, found EOF\n", kind);
    return 0;
  }
  endWord();
  if (complain) stderrPrintf("Expecting %s, found `%s' (on line %d)\n", kind, word, lineNo);
  return 0;
}

int Reader::getInt(int& out, int complain) {
  out = 0;
  const int length = takeWord();
  if (!length || !isNumber()) return refuseNumber("int", length, complain);
  out = std::atoi(word);
  endWord();
  return 1;
}

int Reader::getReal(double& out, int complain) {
  out = 0.0;
  const int length = takeWord();
  if (!length || !isNumber()) return refuseNumber("Real", length, complain);
  const char* const end = line + linePos;
  out = realWord(end - length, end, word);
  endWord();
  return 1;
}

int Reader::getLineNo() const { return atEnd() ? -1 : lineNo; }

const char* Reader::getNextChars() const { return atEnd() ? nullptr : line; }

const char* Reader::getLastWord() const { return !atEnd() && lastWordValid ? word : nullptr; }
