#include "line_reader.h"

#include <zlib.h>

#include <cmath>
#include <cstring>

#include "input_error.h"
#include "limber/limber.h"
#include "numbers.h"

namespace {

constexpr std::size_t longestLine = 1 << 20;
constexpr double largest = 1e15;

bool blank(char c) { return static_cast<unsigned char>(c) <= ' '; }

}  // namespace

LineReader::LineReader(const char* name, const char* searchPath, char comment)
    : file_(name), stream_(nullptr), comment_(comment), word_(nullptr), buffer_(1 << 16) {
  std::vector<char> found(std::strlen(name) + (searchPath ? std::strlen(searchPath) : 0) + 4);
  stream_ = gzopenp(searchPath, name, found.data(), "rb");
  if (!stream_) fail(searchPath ? std::string("not found along ") + searchPath : "cannot be opened");
  file_ = found.data();
}

LineReader::~LineReader() {
  if (stream_) gzclose(static_cast<gzFile>(stream_));
}

int LineReader::nextByte() {
  if (used_ == filled_) {
    const auto stream = static_cast<gzFile>(stream_);
    const int count = gzread(stream, buffer_.data(), static_cast<unsigned>(buffer_.size()));
    used_ = 0;
    filled_ = count > 0 ? static_cast<std::size_t>(count) : 0;
    if (filled_ == 0) {
      int problem = Z_OK;
      gzerror(stream, &problem);
      if (problem != Z_OK) fail("the file cannot be read to its end: it is damaged or cut short");
      return -1;
    }
  }
  return static_cast<unsigned char>(buffer_[used_++]);
}

bool LineReader::readLine() {
  text_.clear();
  at_ = 0;
  word_ = nullptr;
  int c = nextByte();
  if (c == '\n' && afterReturn_) c = nextByte();
  if (c < 0) return false;
  line_++;
  for (; c >= 0 && c != '\n' && c != '\r'; c = nextByte()) {
    if (c == 0) fail("a zero byte: this is not a text file");
    if (text_.size() == longestLine) {
      fail("a line of more than " + std::to_string(longestLine) + " characters");
    }
    text_ += static_cast<char>(c);
  }
  afterReturn_ = c == '\r';
  return true;
}

bool LineReader::nextLine() {
  while (readLine()) {
    if (peek()) return true;
  }
  return false;
}

const char* LineReader::peek() {
  if (word_) return word_;
  while (at_ < text_.size() && blank(text_[at_])) at_++;
  if (at_ == text_.size()) return nullptr;
  const std::size_t start = at_;
  if (comment_ && text_[start] == comment_) {
    text_.resize(start);
    return nullptr;
  }
  while (at_ < text_.size() && !blank(text_[at_])) at_++;
  if (at_ < text_.size()) text_[at_++] = 0;
  return word_ = text_.data() + start;
}

const char* LineReader::next(const char* wanted) {
  const char* const word = peek();
  if (!word) fail(std::string("expected ") + wanted + ", found the end of the line");
  word_ = nullptr;
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
  const char* const word = next(wanted);
  double value;
  if (!parseReal(word, &value) || !(std::fabs(value) <= largest)) unexpected(wanted, word);
  return value;
}

int LineReader::integer(const char* wanted) {
  const char* const word = next(wanted);
  int value;
  if (!parseInt(word, &value)) unexpected(wanted, word);
  return value;
}

void LineReader::fail(const std::string& message) const { throw InputError(file_, line_, message); }

void LineReader::unexpected(const std::string& wanted, const char* word) const {
  fail("expected " + wanted + ", found " + quoted(word));
}

std::string LineReader::place() const { return file_ + ":" + std::to_string(line_); }
