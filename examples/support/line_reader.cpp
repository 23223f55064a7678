#include "line_reader.h"

#include <zlib.h>

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "input_error.h"
#include "limber/io/SearchP.h"
#include "numbers.h"

namespace {

constexpr std::size_t longestWord = 1 << 20;
constexpr double largest = 1e15;

bool isLineEnd(int c) { return c == '\n' || c == '\r'; }
bool isBlank(int c) { return c >= 0 && c <= ' '; }

}  // namespace

LineReader::LineReader(const char* name, const char* searchPath, char comment)
    : file_(name), comment_(comment) {
  std::vector<char> path(std::strlen(name) + (searchPath ? std::strlen(searchPath) : 0) + 4);
  in_.file = gzopenp(searchPath, name, path.data(), "rb");
  if (!in_.file) fail(searchPath ? std::string("not found along ") + searchPath : "cannot be opened");
  in_.more = 1;  // a reader that is given its stream in this way has not yet read a line
  file_ = path.data();
}

// Discards the rest of the buffer and fills it again. Returns its first byte, or endOfFile.
int LineReader::refill() {
  if (!damage_.empty()) return endOfFile;
  errno = 0;
  in_.bufPos = in_.bufCount;
  char piece[2];
  if (in_.bgets(piece, sizeof piece) && in_.bufCount > 0) {
    in_.bufPos = 0;  // bgets has consumed at least one byte
    return static_cast<unsigned char>(in_.buf[0]);
  }
  if (!in_.damaged()) return endOfFile;
  int problem = Z_OK;
  gzerror(static_cast<gzFile>(in_.file), &problem);
  if (problem == Z_MEM_ERROR) throw std::bad_alloc();
  damage_ = problem == Z_ERRNO ? std::string("reading failed: ") + std::strerror(errno)
                               : "the file is damaged or cut short";
  return endOfFile;
}

// Returns the next byte without consuming it; endOfFile if there is none.
int LineReader::look() {
  const int c = in_.bufPos < in_.bufCount ? static_cast<unsigned char>(in_.buf[in_.bufPos]) : refill();
  if (c == 0) fail("a zero byte: this is not a text file");
  return c;
}

void LineReader::skipByteOrderMark() {
  for (const char mark : {'\xEF', '\xBB', '\xBF'}) {
    if (look() != static_cast<unsigned char>(mark)) return;
    ++in_.bufPos;
  }
}

void LineReader::skipRestOfLine() {
  found_ = false;
  for (int c = look(); c != endOfFile && !isLineEnd(c); c = look()) ++in_.bufPos;
}

bool LineReader::nextLine() {
  if (line_ == 0) skipByteOrderMark();
  do {
    if (line_ > 0) {
      skipRestOfLine();
      if (look() == '\r') {
        ++in_.bufPos;
        if (look() == '\n') ++in_.bufPos;
      } else if (look() == '\n') {
        ++in_.bufPos;
      }
    }
    if (look() == endOfFile) {
      if (!damage_.empty()) fail("expected more");
      return false;
    }
    ++line_;
  } while (!peek());
  return true;
}

const char* LineReader::peek() {
  if (found_) return word_.c_str();
  if (line_ == 0) return nullptr;
  int c = look();
  while (isBlank(c) && !isLineEnd(c)) {
    ++in_.bufPos;
    c = look();
  }
  if (comment_ && c == comment_) {
    skipRestOfLine();
    return nullptr;
  }
  word_.clear();
  for (; c != endOfFile && !isBlank(c); c = look()) {
    if (word_.size() == longestWord) {
      fail("a word of more than " + std::to_string(longestWord) + " characters");
    }
    word_ += static_cast<char>(c);
    ++in_.bufPos;
  }
  found_ = !word_.empty();
  return found_ ? word_.c_str() : nullptr;
}

const char* LineReader::next(const char* wanted) {
  const char* const word = peek();
  if (!word) fail(std::string("expected ") + wanted + ", found the end of the line");
  found_ = false;
  return word;
}

const char* LineReader::nextAnywhere(const char* wanted) {
  if (!peek() && !nextLine()) fail(std::string("expected ") + wanted + ", found the end of the file");
  return next(wanted);
}

void LineReader::expect(const char* word) {
  const char* const found = nextAnywhere(word);
  if (std::strcmp(found, word) != 0) unexpected(word, found);
}

void LineReader::expectLineEnd() {
  if (const char* const word = peek()) unexpected("the end of the line", word);
}

double LineReader::real(const char* wanted) {
  const double value = finite(wanted);
  if (!(std::fabs(value) <= largest)) unexpected(wanted, word_.c_str());
  return value;
}

int LineReader::integer(const char* wanted) {
  const char* const word = next(wanted);
  int value;
  if (!parseInt(word, &value)) unexpected(wanted, word);
  return value;
}

double LineReader::finite(const char* wanted) {
  const char* const word = next(wanted);
  double value;
  if (!parseFortranReal(word, &value)) unexpected(wanted, word);
  if (value == 0.0 && std::isdigit(static_cast<unsigned char>(word[std::strspn(word, "+-.0")]))) ++vanished_;
  return value;
}

long long LineReader::whole(long long from, long long to, const char* wanted) {
  const char* const word = next(wanted);
  long long value;
  if (!parseInt(word, &value) || value < from || value > to) unexpected(wanted, word);
  return value;
}

void LineReader::fail(const std::string& message) {
  // what a damaged compressed file unpacks to is wrong long before its checksum is read
  constexpr int mostPieces = 1 << 16;
  const bool compressed = in_.file && !gzdirect(static_cast<gzFile>(in_.file));
  for (int k = 0; compressed && k < mostPieces && refill() != endOfFile; ++k) {
  }
  throw InputError(file_, line_, damage_.empty() ? message : message + "; " + damage_);
}

void LineReader::unexpected(const std::string& wanted, const char* word) {
  fail("expected " + wanted + ", found " + quoted(word));
}

std::string LineReader::place() const { return file_ + ":" + std::to_string(line_); }
