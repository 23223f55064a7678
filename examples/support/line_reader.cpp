#include "line_reader.h"

#include <zlib.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <new>

#include "input_error.h"
#include "limber/io/SearchP.h"
#include "numbers.h"

namespace {

constexpr std::size_t longestWord = 1 << 20;
// The number of bytes read at once. Of a damaged file the last piece is lost, so small pieces locate the
// damage better.
constexpr std::size_t bufferSize = 1 << 12;
constexpr double largest = 1e15;

bool isLineEnd(int c) { return c == '\n' || c == '\r'; }
bool isBlank(int c) { return c >= 0 && c <= ' '; }

}  // namespace

LineReader::LineReader(const char* name, const char* searchPath, char comment)
    : file_(name), comment_(comment), buffer_(bufferSize) {
  std::vector<char> path(std::strlen(name) + (searchPath ? std::strlen(searchPath) : 0) + 4);
  stream_ = gzopenp(searchPath, name, path.data(), "rb");
  if (!stream_) fail(searchPath ? std::string("not found along ") + searchPath : "cannot be opened");
  file_ = path.data();
}

LineReader::~LineReader() {
  if (stream_) gzclose(static_cast<gzFile>(stream_));
}

// Reads more of the file. Returns its next byte, or endOfFile.
int LineReader::refill() {
  if (!damage_.empty()) return endOfFile;
  const auto stream = static_cast<gzFile>(stream_);
  errno = 0;
  const auto read = [&] { return gzread(stream, buffer_.data(), static_cast<unsigned>(buffer_.size())); };
  int count = read();
  if (count == 0 && !gzdirect(stream)) {
    gzclearerr(stream);  // a cut exactly where zlib's buffer is full is detected only by another read
    count = read();
  }
  at_ = 0;
  end_ = count > 0 ? static_cast<std::size_t>(count) : 0;
  if (end_ > 0) return static_cast<unsigned char>(buffer_[0]);
  int problem = Z_OK;
  gzerror(stream, &problem);
  if (problem == Z_MEM_ERROR) throw std::bad_alloc();
  if (problem == Z_ERRNO) {
    damage_ = std::string("reading failed: ") + std::strerror(errno);
  } else if (problem != Z_OK && problem != Z_STREAM_END) {
    damage_ = "the file is damaged or cut short";
  }
  return endOfFile;
}

// The next byte, without consuming it; endOfFile if there is none.
int LineReader::look() {
  const int c = at_ < end_ ? static_cast<unsigned char>(buffer_[at_]) : refill();
  if (c == 0) fail("a zero byte: this is not a text file");
  return c;
}

void LineReader::skipByteOrderMark() {
  for (const char mark : {'\xEF', '\xBB', '\xBF'}) {
    if (look() != static_cast<unsigned char>(mark)) return;
    ++at_;
  }
}

void LineReader::skipRestOfLine() {
  found_ = false;
  for (int c = look(); c != endOfFile && !isLineEnd(c); c = look()) ++at_;
}

bool LineReader::nextLine() {
  if (line_ == 0) skipByteOrderMark();
  do {
    if (line_ > 0) {
      skipRestOfLine();
      if (look() == '\r') {
        ++at_;
        if (look() == '\n') ++at_;
      } else if (look() == '\n') {
        ++at_;
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
    ++at_;
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
    ++at_;
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
  if (!parseReal(word, &value)) unexpected(wanted, word);
  return value;
}

long long LineReader::whole(long long least, long long most, const char* wanted) {
  const char* const word = next(wanted);
  long long value;
  if (!parseInt(word, &value) || value < least || value > most) unexpected(wanted, word);
  return value;
}

void LineReader::fail(const std::string& message) {
  // what a damaged compressed file unpacks to is wrong long before its checksum is read
  constexpr int mostPieces = 1 << 14;
  const bool compressed = stream_ && !gzdirect(static_cast<gzFile>(stream_));
  for (int k = 0; compressed && k < mostPieces && refill() != endOfFile; ++k) {
  }
  throw InputError(file_, line_, damage_.empty() ? message : message + "; " + damage_);
}

void LineReader::unexpected(const std::string& wanted, const char* word) {
  fail("expected " + wanted + ", found " + quoted(word));
}

std::string LineReader::place() const { return file_ + ":" + std::to_string(line_); }
