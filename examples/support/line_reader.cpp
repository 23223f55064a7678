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
    : reader_(name, searchPath), file_(name), comment_(comment), word_(nullptr) {
  if (!reader_.file) fail(searchPath ? std::string("not found along ") + searchPath : "cannot be opened");
  if (reader_.name) file_ = reader_.name;
}

bool LineReader::readLine() {
  text_.clear();
  at_ = 0;
  word_ = nullptr;
  char part[sizeof reader_.buf];
  std::size_t room = sizeof part;
  const char* start = part;
  if (started_) {
    start = reader_.bgets(part, sizeof part);
  } else {
    started_ = true;
    start = reader_.getNextChars();
    room = sizeof reader_.line;
  }
  if (!start) {
    if (isDamaged()) fail("expected more");
    return false;
  }
  line_++;
  text_ = start;
  // A part that fills its room was cut there, and the rest of the line follows.
  for (bool cut = text_.size() + 1 == room; cut; cut = std::strlen(part) + 1 == sizeof part) {
    if (!reader_.bgets(part, sizeof part)) break;
    text_ += part;
    if (text_.size() > longestLine) {
      fail("a line of more than " + std::to_string(longestLine) + " characters");
    }
  }
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

// The Reader takes an error for the end of the file; its stream still knows of it.
bool LineReader::isDamaged() const {
  int problem = Z_OK;
  if (reader_.file) gzerror(static_cast<gzFile>(reader_.file), &problem);
  return problem != Z_OK;
}

void LineReader::fail(const std::string& message) const {
  throw InputError(file_, line_, message + (isDamaged() ? "; the file is damaged or cut short" : ""));
}

void LineReader::unexpected(const std::string& wanted, const char* word) const {
  fail("expected " + wanted + ", found " + quoted(word));
}

std::string LineReader::place() const { return file_ + ":" + std::to_string(line_); }
