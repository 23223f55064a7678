// Compares the reader with a slow one that works byte by byte, on random text with random operations. Every
// result and every field must agree after every step.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "tests/io/Readers.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

constexpr int behindWord = 512;

bool printable(int c) { return c > 32; }
bool endsLine(int c) { return c >= 10 && c <= 20; }

// Reads as the reader should, one character at a time, from a text in memory.
struct Model {
  std::string text;
  std::size_t at = 0;
  int more = 1, lineNo = 0, linePos = 0, lastWordValid = 0, bufCount = 0, bufPos = 0;
  std::array<signed char, 512> line{}, word{};
  std::array<signed char, 4096> buf{};
  std::string printed;

  // The output channels keep 499 characters of a message.
  void print(const std::string& message) { printed += message.substr(0, 499); }

  explicit Model(const std::string& bytes) : text(bytes) { advance(); }

  bool streamDone() const { return more == 0 && bufPos >= bufCount; }
  bool atEnd() const { return streamDone() && line[linePos] == 0; }

  void fill() {
    bufPos = 0;
    bufCount = 0;
    for (; bufCount < 1024 && at < text.size(); ++at) buf[bufCount++] = static_cast<signed char>(text[at]);
    if (bufCount < 1024) more = 0;  // requested more than there is
  }

  bool bgets(signed char* dst, int size) {
    if (streamDone()) {
      dst[0] = 0;
      return false;
    }
    int c;
    do {
      if (bufPos >= bufCount) fill();
      c = 0;
      if (bufCount) {
        c = buf[bufPos++];
        if (endsLine(c)) {
          c = 0;
          if (endsLine(buf[bufPos])) ++bufPos;
        }
      }
      *dst++ = static_cast<signed char>(c);
    } while (c && --size > 1);
    *dst = 0;
    return true;
  }

  bool advance() {
    lastWordValid = 0;
    linePos = 0;
    if (streamDone()) {
      line[0] = 0;
      return false;
    }
    ++lineNo;
    return bgets(line.data(), 512);
  }

  int getc() {
    if (atEnd()) return 0;
    const int c = line[linePos];
    if (printable(c)) {
      ++linePos;
      return c;
    }
    do {
      if (line[linePos])
        ++linePos;
      else
        advance();
    } while (!atEnd() && !printable(line[linePos]));
    return c ? c : '\n';
  }

  int getNonWS() {
    while (!atEnd()) {
      const int c = getc();
      if (printable(c)) return c;
    }
    return 0;
  }

  bool gets() {
    while (!atEnd()) {
      if (!advance()) return false;
      for (const signed char c : line) {
        if (printable(c)) return true;
      }
      for (const signed char c : word) {
        if (printable(c)) return true;
      }
    }
    return false;
  }

  bool getWord() {
    lastWordValid = 0;
    int c = getNonWS();
    if (c == 0) return false;
    int stored = 0;
    do {
      word[stored++] = static_cast<signed char>(c);
      c = getc();
    } while (printable(c) && stored < behindWord);
    if (stored < behindWord) word[stored] = 0;
    return true;
  }

  std::string wordText() const { return reinterpret_cast<const char*>(word.data()); }

  bool number(const char* kind, int complain) {
    if (!getWord()) {
      if (complain) print(std::string("Expecting ") + kind + ", found EOF\n");
      return false;
    }
    if ((word[0] >= '0' && word[0] <= '9') || word[0] == '-') return true;
    if (complain)
      print(std::string("Expecting ") + kind + ", found `" + wordText() + "' (on line " +
            std::to_string(lineNo) + ")\n");
    return false;
  }

  bool matchWord(const std::string& expected, int complain) {
    if (!getWord()) {
      if (complain) print("Expecting `" + expected + "' but found EOF!\n");
      return false;
    }
    std::string lower = wordText();
    for (char& c : lower) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    }
    if (lower == expected) return true;
    print("Expecting `" + expected + "' but found `" + wordText() + "'! (on line " + std::to_string(lineNo) +
          ")\n");
    return false;
  }
};

void expectSameFields(const Reader& r, const Model& m) {
  ASSERT_EQ(r.more, m.more);
  ASSERT_EQ(r.lineNo, m.lineNo);
  ASSERT_EQ(r.linePos, m.linePos);
  ASSERT_EQ(r.lastWordValid, m.lastWordValid);
  ASSERT_EQ(r.bufCount, m.bufCount);
  ASSERT_EQ(r.bufPos, m.bufPos);
  // The bytes after the terminators too, because gets reads them.
  ASSERT_EQ(std::memcmp(r.line, m.line.data(), sizeof r.line), 0);
  ASSERT_EQ(std::memcmp(r.word, m.word.data(), sizeof r.word), 0);
  ASSERT_EQ(std::memcmp(r.buf, m.buf.data(), sizeof r.buf), 0);
  ASSERT_EQ(r.ok(), !m.atEnd());
  ASSERT_EQ(r.getLineNo(), m.atEnd() ? -1 : m.lineNo);
  ASSERT_EQ(r.getNextChars(), m.atEnd() ? nullptr : r.line);
  ASSERT_EQ(r.getLastWord(), nullptr);
}

// Applies one operation to both and compares the results.
void step(Reader& r, Model& m, unsigned which, int complain) {
  switch (which) {
    case 0:
      ASSERT_EQ(r.getc(), static_cast<char>(m.getc()));
      break;
    case 1:
      ASSERT_EQ(r.peek(), static_cast<char>(m.atEnd() ? 0 : m.line[m.linePos]));
      break;
    case 2:
      ASSERT_EQ(r.getNonWS(), static_cast<char>(m.getNonWS()));
      break;
    case 3:
      ASSERT_EQ(r.gets(), m.gets() ? r.line : nullptr);
      break;
    case 4: {
      int value = 7;
      const bool number = m.number("int", complain);
      ASSERT_EQ(r.getInt(value, complain), number);
      ASSERT_EQ(value, number ? std::atoi(m.wordText().c_str()) : 0);
      break;
    }
    case 5: {
      double value = 7.0;
      const bool number = m.number("Real", complain);
      ASSERT_EQ(r.getReal(value, complain), number);
      ASSERT_TRUE(tolerance::sameBits(value, number ? standardAtof(m.wordText().c_str()) : 0.0));
      break;
    }
    case 6:
      ASSERT_EQ(r.matchWord("end", complain), m.matchWord("end", complain));
      break;
    case 7: {
      std::array<signed char, 600> ours, theirs;
      ours.fill('#');
      theirs.fill('#');
      const int size = 2 + static_cast<int>(m.at * 7 % 590);
      ASSERT_EQ(r.bgets(reinterpret_cast<char*>(ours.data()), size) != nullptr, m.bgets(theirs.data(), size));
      ASSERT_EQ(ours, theirs);
      break;
    }
    default:
      ASSERT_EQ(r.getWord(), m.getWord() ? r.word : nullptr);
  }
}

// Text of words, numbers, white runs and lines of all lengths; zero and high bytes now and then.
std::string randomText(std::mt19937& random) {
  static const char* const pieces[] = {"end",    "END",   "foo",   "12",       "-",    "+3",   ".5",
                                       "-1.5e3", "0x1p3", "99abc", "1e999",    " ",    "  ",   "\t",
                                       "\n",     "\n",    "\n\n",  "\r\n",     "\r\n", "\n\r", "\f",
                                       "\v\n",   "\x80",  "\xff ", "\n  \n\n", " \n"};
  const std::size_t sizes[] = {1023, 1024, 1025, 2048, random() % 3000};
  const std::size_t size = sizes[random() % 5];
  std::string text;
  while (text.size() < size) {
    const unsigned kind = random() % 40;
    if (kind == 0)
      text += std::string(1 + random() % 1100, static_cast<char>('a' + random() % 26));
    else if (kind == 1)
      text += std::string(500 + random() % 30, static_cast<char>('A' + random() % 26)) + "\r\n";
    else if (kind == 2)
      text += '\0';
    else if (kind == 3)
      text += static_cast<char>(random() % 2 ? random() % 34 : random());
    else if (kind == 4)
      text += std::string(1 + random() % 1100, random() % 2 ? ' ' : '\n');
    else
      text += pieces[random() % (sizeof pieces / sizeof *pieces)];
  }
  text.resize(size);
  return text;
}

TEST(ReaderModel, EveryFieldAgreesAfterEveryOperation) {
  std::mt19937 random(71);
  for (int round = 0; round < 500; ++round) {
    const std::string text = randomText(random);
    CapturedOutput output;
    FileReader file(text, round % 2);
    Model model(text);
    expectSameFields(file.reader, model);
    // Some rounds mostly read words, so that they get far. Every round continues a little after the end.
    const unsigned kinds = round % 3 ? 9 : 40;
    for (int behind = 0; behind < 4; behind += model.atEnd()) {
      step(file.reader, model, random() % kinds, static_cast<int>(random() % 2));
      expectSameFields(file.reader, model);
      ASSERT_FALSE(HasFatalFailure()) << "round " << round;
    }
    ASSERT_EQ(output.err(), model.printed);
    ASSERT_EQ(output.out(), "");
  }
}

}  // namespace
