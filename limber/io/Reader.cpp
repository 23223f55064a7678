#include "limber/io/Reader.h"

#include <zlib.h>

#include <cstdint>
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

namespace {

constexpr int requestSize = 1024;
constexpr int wordSize = sizeof(Reader::word);
/// zlib's own buffer: larger than its default of 8 KB, for fewer system calls and fewer pieces.
constexpr unsigned streamBuffer = 1u << 18;
constexpr std::size_t leastNameSize = 512;

// A word of 512 characters has its terminator in the field behind it, which getWord has cleared.
static_assert(offsetof(Reader, lastWordValid) == offsetof(Reader, word) + wordSize, "no gap behind word");
static_assert(offsetof(Reader, linePos) == offsetof(Reader, line) + sizeof(Reader::line), "no gap");
static_assert(offsetof(Reader, word) == offsetof(Reader, linePos) + sizeof(Reader::linePos), "no gap");

/// Signed on every machine, so that bytes from 128 to 255 are white: deliberate.
bool isPrintable(char c) { return static_cast<signed char>(c) > ' '; }
bool endsLine(char c) { return static_cast<unsigned char>(c - 10) <= 10; }

}  // namespace

Reader::Reader(const char* fileName, const char* searchPath) {
  clear();
  if (!fileName) return;
  if (searchPath) {
    const std::size_t longest = std::strlen(searchPath) + std::strlen(fileName) + 2;
    name = new (std::nothrow) char[longest > leastNameSize ? longest : leastNameSize];
    if (!name) {
      limber::detail::ReportSite{"Reader", __LINE__}.fatal(limber::detail::newFails);
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
  gzbuffer(static_cast<gzFile>(file), streamBuffer);
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
  // The other holds the same stream or name where they are shared already, so nothing is released too early.
  release();
  shareWith(other);
  return *this;
}

Reader::~Reader() {
  release();
  more = 0;
}

/// Everything zero, the arrays too: they are looked at before they are filled (see gets and bgets).
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
  if (limber::detail::unshare(name)) delete[] name;
  name = nullptr;
  if (limber::detail::unshare(file) && file) gzclose(static_cast<gzFile>(file));
  file = nullptr;
}

void Reader::shareWith(const Reader& other) {
  if (!limber::detail::share(other.file)) return clear();
  if (!limber::detail::share(other.name)) {
    (void)limber::detail::unshare(other.file);
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

/// The request is smaller than the buffer, deliberately: bgets looks at the byte behind the last one.
int Reader::fillBuffer() {
  const auto stream = static_cast<gzFile>(file);
  bufPos = 0;
  bufCount = gzread(stream, buf, requestSize);
  // A read of nothing ends the file also where gzeof does not say so, or a loop over lines would never end.
  if (gzeof(stream) || bufCount == 0) more = 0;
  if (bufCount > static_cast<int>(sizeof buf)) {
    limber::detail::ReportSite{"Reader", 234}.error("Read too many bytes from gunzip - overflowed buffer!");
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

// zlib says "end of file" with the read that delivers the last bytes, while their lines are still to come:
// the end is reached when those are used up too.
bool Reader::atEnd() const { return line[linePos] == 0 && streamDone(); }

char* Reader::bgets(char* dst, int size) {
  if (!dst || size < 1) return nullptr;
  if (streamDone()) {
    *dst = 0;
    return nullptr;
  }
  if (size == 1) {  // no room for a character, but one is taken
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
    int n = 0;
    while (n + 8 <= run) {
      const std::uint64_t bytes = limber::detail::load8(from + n);
      if (limber::detail::lineEnders(bytes)) break;
      limber::detail::store8(to + n, bytes);
      n += 8;
    }
    while (n < run && from[n] && !endsLine(from[n])) {
      to[n] = from[n];
      n++;
    }
    to += n;
    bufPos += n;
    if (n < run || bufCount == 0) {  // a line end, a zero byte, or nothing more to read
      *to++ = 0;
      if (bufCount && endsLine(buf[bufPos++])) {
        // The second byte of a pair such as CR LF. At the end of what was read it is looked for without
        // reading more, deliberately: a pair that falls there gives an empty line.
        if (bufPos < static_cast<int>(sizeof buf) && endsLine(buf[bufPos])) bufPos++;
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
  lineNo++;
  return bgets(line, sizeof line) != nullptr;
}

int Reader::ok() const { return !atEnd(); }

/// Goes on to the next printable character, over line ends.
void Reader::skipWhite() {
  do {
    if (line[linePos])
      linePos++;
    else
      advance();
  } while (!isPrintable(line[linePos]) && !atEnd());
}

char Reader::getc() {
  if (atEnd()) return 0;
  const char c = line[linePos];
  if (isPrintable(c)) {
    linePos++;
    return c;
  }
  skipWhite();
  return c ? c : '\n';
}

char Reader::peek() { return atEnd() ? '\0' : line[linePos]; }

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
    // Not the line alone: deliberately everything from line through word, whatever an earlier line or word
    // left.
    const auto* const bytes = reinterpret_cast<const char*>(this);
    for (std::size_t i = offsetof(Reader, line); i < offsetof(Reader, lastWordValid); i++) {
      if (isPrintable(bytes[i])) return line;
    }
  }
  return nullptr;
}

const char* Reader::getWord() {
  if (!takeWord()) return nullptr;
  endWord();
  return word;
}

/// Copies the next word and goes behind it; its length, 0 at end.
int Reader::takeWord() {
  lastWordValid = 0;
  if (!isPrintable(line[linePos])) {
    if (!atEnd()) skipWhite();
    if (!isPrintable(line[linePos])) return 0;
  }
  // The loads may run into the fields behind `line`; the stores stay in `word`, and leave alone what an
  // earlier word left behind the terminator.
  const char* const from = reinterpret_cast<const char*>(this) + offsetof(Reader, line) + linePos;
  int n = 0;
  while (n < wordSize) {
    const std::uint64_t bytes = limber::detail::load8(from + n);
    const std::uint64_t white = limber::detail::whites(bytes);
    if (white) {
      const int rest = limber::detail::before(white);
      limber::detail::store8(word + n,
                             limber::detail::terminated(bytes, rest, limber::detail::load8(word + n)));
      n += rest;
      break;
    }
    limber::detail::store8(word + n, bytes);
    n += 8;
  }
  linePos += n;
  return n;
}

/// The white character behind the word, which getc would return, and the white run that it takes along.
void Reader::endWord() {
  if (!atEnd()) skipWhite();
}

int Reader::matchWord(const char* expected, int complain) {
  const char* const found = getWord();
  if (!found) {
    if (complain) stderrPrintf("Expecting `%s' but found EOF!\n", expected);
    return 0;
  }
#if defined(_MSC_VER)
  const bool same = strcasecmp(expected, found) == 0;
#else
  const bool same = limber::strcasecmp(expected, found) == 0;
#endif
  if (same) return 1;
  // Also without `complain`, deliberately.
  stderrPrintf("Expecting `%s' but found `%s'! (on line %d)\n", expected, found, lineNo);
  return 0;
}

/// Takes the next word and its value, as a real if `real` is not null; 0, with the message that `kind`
/// ("int", "Real") is expected, when it does not begin as a number does.
int Reader::numberWord(const char* kind, double* real, int complain) {
  const int length = takeWord();
  if (!length) {
    if (complain) stderrPrintf("Expecting %s, found EOF\n", kind);
    return 0;
  }
  const bool number = (word[0] >= '0' && word[0] <= '9') || word[0] == '-';
  // From the line: the processor waits for what was stored in `word` a moment ago.
  const char* const end = line + linePos;
  if (number && real) *real = limber::detail::realWord(end - length, end, word);
  endWord();
  if (!number && complain) stderrPrintf("Expecting %s, found `%s' (on line %d)\n", kind, word, lineNo);
  return number;
}

int Reader::getInt(int& out, int complain) {
  const int number = numberWord("int", nullptr, complain);
  out = number ? std::atoi(word) : 0;
  return number;
}

int Reader::getReal(double& out, int complain) {
  out = 0.0;
  return numberWord("Real", &out, complain);
}

int Reader::getLineNo() const { return atEnd() ? -1 : lineNo; }

const char* Reader::getNextChars() const { return atEnd() ? nullptr : line; }

const char* Reader::getLastWord() const { return !atEnd() && lastWordValid ? word : nullptr; }
