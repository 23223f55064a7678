#include "limber/io/Reader.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstddef>
#include <cstring>

#include "tests/io/Readers.h"
#include "tests/support/CapturedOutput.h"

using Words = std::vector<std::string>;

namespace {

static_assert(offsetof(Reader, more) == 0);
static_assert(offsetof(Reader, file) == 8);
static_assert(offsetof(Reader, name) == 16);
static_assert(offsetof(Reader, lineNo) == 24);
static_assert(offsetof(Reader, line) == 28);
static_assert(offsetof(Reader, linePos) == 540);
static_assert(offsetof(Reader, word) == 544);
static_assert(offsetof(Reader, lastWordValid) == 1056);
static_assert(offsetof(Reader, buf) == 1060);
static_assert(offsetof(Reader, bufCount) == 5156);
static_assert(offsetof(Reader, bufPos) == 5160);
static_assert(sizeof(Reader) == 5168);

// All characters that getc returns.
std::string charactersOf(const std::string& bytes) {
  FileReader file(bytes);
  std::string all;
  while (file.reader.ok()) all += file.reader.getc();
  return all;
}

TEST(Reader, OpensByNameAndReadsTheFirstLine) {
  FileReader file("one two\nthree\n");
  Reader& r = file.reader;
  EXPECT_EQ(r.ok(), 1);
  EXPECT_EQ(r.getLineNo(), 1);
  EXPECT_STREQ(r.name, file.path.c_str());
  EXPECT_NE(r.name, file.path.c_str());
  EXPECT_STREQ(r.line, "one two");
  EXPECT_EQ(r.more, 0);  // the whole file fits one read
  EXPECT_EQ(r.bufCount, 14);
}

TEST(Reader, OfAMissingFileIsAtEndWithoutAMessage) {
  CapturedOutput output;
  Reader r("/no/such/file", static_cast<const char*>(nullptr));
  EXPECT_EQ(r.ok(), 0);
  EXPECT_EQ(r.file, nullptr);
  EXPECT_EQ(r.name, nullptr);
  EXPECT_EQ(r.lineNo, 0);
  EXPECT_EQ(r.getLineNo(), -1);
  EXPECT_EQ(r.getWord(), nullptr);
  EXPECT_EQ(r.gets(), nullptr);
  EXPECT_EQ(r.getc(), 0);
  EXPECT_EQ(r.peek(), 0);
  EXPECT_EQ(r.getNonWS(), 0);
  EXPECT_EQ(r.getNextChars(), nullptr);
  EXPECT_EQ(r.getLastWord(), nullptr);
  EXPECT_EQ(output.err() + output.out(), "");
}

TEST(Reader, OfNoFileNameOrStreamIsAtEnd) {
  Reader noName(static_cast<const char*>(nullptr), ".");
  Reader noStream(static_cast<void*>(nullptr), "x");
  Reader null(nullptr, "x");
  for (Reader* r : {&noName, &noStream, &null}) {
    EXPECT_EQ(r->ok(), 0);
    EXPECT_EQ(r->name, nullptr);
    EXPECT_EQ(r->more, 0);
    EXPECT_EQ(r->lineNo, 0);
  }
}

TEST(Reader, OpensAlongASearchPathAndKeepsThePathItFound) {
  TemporaryDirectory directory;
  directory.write("found.txt", "here");
  const std::string list = "/no/such/place;" + directory.path();
  Reader r("found.txt", list.c_str());
  EXPECT_EQ(std::string(r.name), directory / "found.txt");
  EXPECT_STREQ(r.getWord(), "here");
  std::memset(r.name, 'n', 511);  // callers may use up to 512 bytes
  r.name[511] = 0;

  Reader missing("missing.txt", list.c_str());
  EXPECT_EQ(missing.ok(), 0);
  EXPECT_EQ(missing.name, nullptr);
}

TEST(Reader, SearchPathsLongerThan512CharactersAreTriedWhole) {
  TemporaryDirectory directory;
  directory.write("found.txt", "here");
  const std::string list = std::string(3000, 'x') + ";" + directory.path();
  Reader r("found.txt", list.c_str());
  EXPECT_STREQ(r.getWord(), "here");
  std::string roundabout = directory.path();
  for (int i = 0; i < 400; ++i) roundabout += "/.";
  Reader longest("found.txt", roundabout.c_str());
  EXPECT_EQ(std::string(longest.name), roundabout + "/found.txt");
  EXPECT_STREQ(longest.getWord(), "here");
}

TEST(Reader, AdoptsAnOpenStreamAndItsPosition) {
  TemporaryDirectory directory;
  const std::string path = directory.writeGz("text.gz", "skipped words\n");
  gzFile stream = gzopen(path.c_str(), "rb");
  char skipped[8];
  ASSERT_EQ(gzread(stream, skipped, 8), 8);
  Reader r(stream, "a name");
  EXPECT_STREQ(r.name, "a name");
  EXPECT_EQ(r.file, stream);
  EXPECT_EQ(wordsOf(r), (Words{"words"}));
}

TEST(Reader, AdoptsAStreamWithoutAName) {
  TemporaryDirectory directory;
  Reader r(gzopen(directory.write("text", "word").c_str(), "rb"), nullptr);
  EXPECT_STREQ(r.getWord(), "word");
}

TEST(Reader, EveryControlCharacterAndHighByteIsWhite) {
  for (int c = 0; c < 256; ++c) {
    const std::string between = std::string("a") + static_cast<char>(c) + "b";
    if (c > 32 && c < 128)
      EXPECT_EQ(wordsOf(between), (Words{between})) << c;
    else
      EXPECT_EQ(wordsOf(between), (Words{"a", "b"})) << c;
  }
}

TEST(Reader, HasNoCommentsAndNoQuotes) {
  EXPECT_EQ(wordsOf("a # \"b c\" // d"), (Words{"a", "#", "\"b", "c\"", "//", "d"}));
}

TEST(Reader, BytesFromLfToDc4EndALineAndOthersDoNot) {
  for (int c = 1; c < 256; ++c) {
    FileReader file(std::string("a ") + static_cast<char>(c) + "b");
    while (file.reader.ok() && file.reader.peek() != 'b') file.reader.getc();
    EXPECT_EQ(file.reader.getLineNo(), c >= 10 && c <= 20 ? 2 : 1) << c;
  }
}

TEST(Reader, EveryByteMeansTheSameInEachPlaceOfALongLine) {
  const std::string letters = "abcdefghijklmnopqrstuvwxy";
  for (int c = 0; c < 256; ++c) {
    const bool printable = c > 32 && c < 128, ends = c == 0 || (c >= 10 && c <= 20);
    std::string text;
    for (std::size_t place = 1; place < 20; place += 3) {
      text += letters + "\n";
      text[text.size() - 26 + place] = static_cast<char>(c);
    }
    FileReader file(text);
    for (std::size_t place = 1; place < 20; place += 3) {
      const std::string line = text.substr(0, 25);
      text.erase(0, 26);
      ASSERT_EQ(std::string(file.reader.line), ends ? line.substr(0, place) : line) << c;
      ASSERT_EQ(std::string(file.reader.getWord()), printable ? line : line.substr(0, place)) << c;
      if (!printable) {
        ASSERT_EQ(std::string(file.reader.getWord()), line.substr(place + 1)) << c;
      }
    }
  }
}

TEST(Reader, AZeroByteEndsALineAndPairsWithNothing) {
  FileReader file(std::string("a\0\nb\n", 5));
  EXPECT_STREQ(file.reader.getWord(), "a");
  EXPECT_EQ(file.reader.getLineNo(), 3);
  FileReader pair(std::string("a\n\0b\n", 5));
  EXPECT_STREQ(pair.reader.getWord(), "a");
  EXPECT_EQ(pair.reader.getLineNo(), 3);
}

TEST(Reader, CrLfAndLfFilesReadAlike) {
  const std::string lf = "a b\nc\nd e\n";
  const std::string crLf = "a b\r\nc\r\nd e\r\n";
  FileReader one(lf), two(crLf);
  while (const char* word = one.reader.getWord()) {
    EXPECT_STREQ(two.reader.getWord(), word);
    EXPECT_EQ(two.reader.lineNo, one.reader.lineNo);
  }
  EXPECT_EQ(two.reader.getWord(), nullptr);
}

TEST(Reader, ASingleEmptyLineIsMergedAwayAndTwoAreNot) {
  FileReader one("a\n\nb\n");
  one.reader.getWord();
  EXPECT_EQ(one.reader.getLineNo(), 2);
  FileReader three("a\n\n\nb\n");
  three.reader.getWord();
  EXPECT_EQ(three.reader.getLineNo(), 3);
}

TEST(Reader, GetcGivesOneCharacterForEachWhiteRun) {
  EXPECT_EQ(charactersOf("ab  \t c\n\n\n  d"), "ab c\nd");
  EXPECT_EQ(charactersOf("a\t\nb"), "a\tb");
  EXPECT_EQ(charactersOf("\n\na"), "\na");
  EXPECT_EQ(charactersOf("a\x80 b"),
            "a\x80"
            "b");
}

TEST(Reader, GetcRestsOnTheNextWord) {
  FileReader file("a \n  \n bc");
  file.reader.getc();
  EXPECT_EQ(file.reader.getc(), ' ');
  EXPECT_EQ(file.reader.peek(), 'b');
  EXPECT_EQ(file.reader.linePos, 1);
  EXPECT_EQ(file.reader.lineNo, 3);
}

TEST(Reader, PeekConsumesNothing) {
  FileReader file("xy");
  EXPECT_EQ(file.reader.peek(), 'x');
  EXPECT_EQ(file.reader.peek(), 'x');
  EXPECT_EQ(file.reader.getc(), 'x');
  EXPECT_EQ(file.reader.peek(), 'y');
}

TEST(Reader, GetNonWSSkipsWhiteAndGivesZeroAtEnd) {
  FileReader file("  \n a  b   ");
  EXPECT_EQ(file.reader.getNonWS(), 'a');
  EXPECT_EQ(file.reader.getNonWS(), 'b');
  EXPECT_EQ(file.reader.ok(), 1);
  EXPECT_EQ(file.reader.getNonWS(), 0);  // it does not return the blank before the end
  EXPECT_EQ(file.reader.ok(), 0);
}

TEST(Reader, GetWordConsumesTheWhiteRunBehindTheWord) {
  FileReader file("one   two");
  EXPECT_STREQ(file.reader.getWord(), "one");
  EXPECT_EQ(file.reader.peek(), 't');
  EXPECT_EQ(file.reader.linePos, 6);
}

TEST(Reader, ALineOf600CharactersComesAs511And89) {
  const std::string text = std::string(600, 'q') + "\nnext\n";
  FileReader file(text);
  EXPECT_EQ(std::string(file.reader.getWord()), std::string(511, 'q'));
  EXPECT_EQ(file.reader.getLineNo(), 2);
  EXPECT_EQ(std::string(file.reader.getWord()), std::string(89, 'q'));
  EXPECT_EQ(file.reader.getLineNo(), 3);
  EXPECT_STREQ(file.reader.getWord(), "next");
}

TEST(Reader, ALineOf511CharactersLeavesItsLineEndForAnEmptyLine) {
  FileReader file(std::string(511, 'q') + "\nnext\n");
  file.reader.getWord();
  EXPECT_EQ(file.reader.getLineNo(), 3);
  FileReader shorter(std::string(510, 'q') + "\nnext\n");
  shorter.reader.getWord();
  EXPECT_EQ(shorter.reader.getLineNo(), 2);
}

TEST(Reader, GetsDropsTheRestOfTheLine) {
  FileReader file("one\ntwo three\nfour\n");
  EXPECT_STREQ(file.reader.gets(), "two three");
  EXPECT_STREQ(file.reader.getWord(), "two");
  EXPECT_STREQ(file.reader.gets(), "four");
  EXPECT_EQ(file.reader.gets(), nullptr);
}

TEST(Reader, GetsSkipsBlankLinesWhileNothingPrintableIsLeftOfEarlierText) {
  FileReader file(" \n\t\t\n \n   \nx\n");
  EXPECT_STREQ(file.reader.gets(), "x");
}

TEST(Reader, GetsReturnsABlankLineOverWhatAnEarlierLineLeft) {
  FileReader file("a long line\n \nnext\n");
  EXPECT_STREQ(file.reader.gets(), " ");  // "long line" is still after its terminator
  EXPECT_STREQ(file.reader.gets(), "next");
}

TEST(Reader, GetsReturnsABlankLineOverWhatAnEarlierWordLeft) {
  FileReader file("a\n \nb\n");
  file.reader.getWord();
  EXPECT_STREQ(file.reader.line, "b");
  FileReader two(" \nw\n  \n  \nlast\n");
  two.reader.getWord();  // leaves "w" in word, and the last line as the current one
  EXPECT_STREQ(two.reader.line, "last");
  FileReader three("x \n\n\n  \n  \nlast\n");
  three.reader.word[511] = '!';  // the last byte that is read
  EXPECT_STREQ(three.reader.gets(), "");
  three.reader.word[511] = 0;
  three.reader.buf[0] = '!';  // after the last byte that is read
  EXPECT_STREQ(three.reader.gets(), "last");
}

TEST(Reader, GetNextCharsIsTheWholeCurrentLine) {
  FileReader file("one two\n");
  file.reader.getWord();
  EXPECT_STREQ(file.reader.getNextChars(), "one two");
  file.reader.getWord();
  EXPECT_EQ(file.reader.getNextChars(), nullptr);
}

TEST(Reader, GetLastWordIsNullWhileNobodySetsTheFlag) {
  FileReader file("one two three\n");
  file.reader.getWord();
  EXPECT_EQ(file.reader.getLastWord(), nullptr);
  file.reader.lastWordValid = 1;
  EXPECT_STREQ(file.reader.getLastWord(), "one");
  file.reader.getWord();
  EXPECT_EQ(file.reader.getLastWord(), nullptr);
  file.reader.lastWordValid = 1;
  file.reader.gets();
  EXPECT_EQ(file.reader.lastWordValid, 0);
  ASSERT_EQ(file.reader.ok(), 0);
  file.reader.lastWordValid = 1;
  EXPECT_EQ(file.reader.getLastWord(), nullptr);
}

TEST(Reader, BgetsCutsAtItsSizeAndGoesOnWithTheRemainder) {
  FileReader file("first\nabcdef\ngh\n");
  char line[10] = "#########";
  EXPECT_EQ(file.reader.bgets(line, 4), line);
  EXPECT_STREQ(line, "abc");
  EXPECT_EQ(line[4], '#');
  EXPECT_STREQ(file.reader.bgets(line, 10), "def");
  EXPECT_STREQ(file.reader.bgets(line, 3), "gh");
  EXPECT_STREQ(file.reader.bgets(line, 10), "");  // the line end after a line that was cut exactly at its end
  EXPECT_EQ(file.reader.bgets(line, 10), nullptr);
  EXPECT_STREQ(line, "");
  EXPECT_EQ(file.reader.lineNo, 1);
}

TEST(Reader, BgetsWritesNothingPastItsSize) {
  FileReader file("first\nabcdef\n");
  char line[3] = "##";
  EXPECT_EQ(file.reader.bgets(line, 0), nullptr);
  EXPECT_EQ(line[0], '#');
  EXPECT_STREQ(file.reader.bgets(line, 1), "");
  EXPECT_EQ(line[1], '#');
  EXPECT_STREQ(file.reader.bgets(line, 2), "b");
  EXPECT_EQ(file.reader.bgets(nullptr, 5), nullptr);
}

}  // namespace
