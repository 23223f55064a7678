#include "limber_motion/detail/LineReader.h"

#include <zlib.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <vector>

#include "limber/io/SearchP.h"
#include "limber_motion/Error.h"
#include "limber_motion/detail/Numbers.h"

namespace limber::motion::detail {

namespace {

constexpr std::size_t longestLine = 1 << 20;
constexpr double largest = 1e15;

bool blank(char c) { return static_cast<unsigned char>(c) <= ' '; }
bool endsLine(char c) { return c == '\n' || c == '\r'; }
bool startsWith(const std::string& text, const char* bytes) {
  return text.compare(0, std::strlen(bytes), bytes) == 0;
}

// Closes the stream when the function that opened it ends, also by an exception.
struct OpenFile {
  gzFile file;
  ~OpenFile() {
    if (file) gzclose(file);
  }
};

}  // namespace

LineReader::LineReader(const std::string& name, const char* searchPath, char comment)
    : file_(name), comment_(comment) {
  load(name, searchPath);
  if (startsWith(text_, "\xFF\xFE") || startsWith(text_, "\xFE\xFF"))
    fail("this is UTF-16 text; save it as UTF-8");
  const std::size_t zero = text_.find('\0');
  if (zero != std::string::npos) fail("this is not text: it holds a zero byte");
  if (startsWith(text_, "\xEF\xBB\xBF")) text_.erase(0, 3);
}

LineReader LineReader::ofText(const std::string& name, const std::string& text) {
  LineReader reader;
  reader.file_ = name;
  reader.text_ = text;
  return reader;
}

// Stops at a zero byte and at a line that is too long, so that an endless file is not read forever.
void LineReader::load(const std::string& name, const char* searchPath) {
  std::vector<char> path((searchPath ? std::strlen(searchPath) : 0) + name.size() + 4);
  const OpenFile in = {static_cast<gzFile>(gzopenp(searchPath, name.c_str(), path.data(), "rb"))};
  if (!in.file) fail(searchPath ? std::string("not found along ") + searchPath : "cannot be opened");
  file_ = path.data();
  std::vector<char> part(1 << 16);
  for (std::size_t lineBegun = 0; text_.size() - lineBegun <= longestLine;) {
    const auto read = [&] { return gzread(in.file, part.data(), static_cast<unsigned>(part.size())); };
    int got = read();
    if (got == 0 && !gzdirect(in.file)) {
      gzclearerr(in.file);  // zlib notices a cut at the end of a full buffer only now
      got = read();
    }
    int problem = Z_OK;
    gzerror(in.file, &problem);
    if (got < 0 || problem != Z_OK) fail("the file is damaged or cut short");
    if (got == 0) return;
    const std::string_view bytes(part.data(), static_cast<std::size_t>(got));
    const std::size_t lineEnd = bytes.find_last_of("\r\n");
    if (lineEnd != std::string_view::npos) lineBegun = text_.size() + lineEnd + 1;
    text_ += bytes;
    if (bytes.find('\0') != std::string_view::npos) return;
  }
}

void LineReader::advance() {
  start_ = at_ = next_;
  end_ = start_;
  while (end_ < text_.size() && !endsLine(text_[end_])) ++end_;
  next_ = end_;
  if (next_ < text_.size()) next_ += text_[next_] == '\r' && text_[next_ + 1] == '\n' ? 2 : 1;
  ++line_;
  if (end_ - start_ > longestLine) fail("a line of more than " + std::to_string(longestLine) + " characters");
}

bool LineReader::nextLine() {
  while (next_ < text_.size()) {
    advance();
    if (!peek().empty()) return true;
  }
  at_ = end_;
  return false;
}

void LineReader::skipBlanks() {
  while (at_ < end_ && blank(text_[at_])) ++at_;
  if (comment_ && at_ < end_ && text_[at_] == comment_) at_ = end_;
}

std::string_view LineReader::peek() {
  skipBlanks();
  std::size_t to = at_;
  while (to < end_ && !blank(text_[to])) ++to;
  return std::string_view(text_).substr(at_, to - at_);
}

std::string_view LineReader::rest() const {
  std::size_t from = at_, to = end_;
  while (from < to && blank(text_[from])) ++from;
  if (comment_) {
    for (std::size_t i = from; i < to; ++i) {
      if (text_[i] == comment_ && (i == from || blank(text_[i - 1]))) to = i;
    }
  }
  while (to > from && blank(text_[to - 1])) --to;
  return std::string_view(text_).substr(from, to - from);
}

void LineReader::skip(std::size_t characters) {
  skipBlanks();
  at_ += characters;
}

std::string_view LineReader::next(const char* wanted) {
  const std::string_view word = peek();
  if (word.empty()) fail(std::string("expected ") + wanted + ", found the end of the line");
  at_ += word.size();
  return word;
}

std::string_view LineReader::nextAnywhere(const char* wanted) {
  if (peek().empty() && !nextLine()) fail(std::string("expected ") + wanted + ", found the end of the file");
  return next(wanted);
}

void LineReader::expect(const char* word) {
  const std::string_view found = nextAnywhere(word);
  if (!sameWord(found, word)) unexpected(word, found);
}

void LineReader::expectLineEnd() {
  const std::string_view word = peek();
  if (!word.empty()) unexpected("the end of the line", word);
}

double LineReader::real(const char* wanted) {
  const std::string_view word = next(wanted);
  double value;
  if (!parseUsable(word, &value)) unexpected(wanted, word);
  return value;
}

int LineReader::integer(const char* wanted) {
  const std::string_view word = next(wanted);
  int value;
  if (!parseInt(word, &value)) unexpected(wanted, word);
  return value;
}

void LineReader::failAt(int line, const std::string& message) const { throw Error(file_, line, message); }

void LineReader::unexpected(const std::string& wanted, std::string_view word) const {
  fail("expected " + wanted + ", found " + quoted(word));
}

std::string LineReader::place() const { return file_ + ":" + std::to_string(line_); }

bool parseUsable(std::string_view word, double* out) {
  return parseReal(word, out) && std::fabs(*out) <= largest;
}

std::string quoted(std::string_view word) {
  if (word.empty()) return "the end of the line";
  constexpr std::size_t shownLength = 40;
  std::string text = "'";
  for (const char c : word) {
    if (text.size() > shownLength) {
      text += "...";
      break;
    }
    text += static_cast<unsigned char>(c) >= ' ' && c != 127 ? c : '?';
  }
  return text + "'";
}

bool sameWord(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

}  // namespace limber::motion::detail
