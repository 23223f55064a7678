#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "tests/io/Readers.h"
#include "tests/support/CapturedOutput.h"

using Words = std::vector<std::string>;

namespace {

constexpr const char* noPath = nullptr;

// The words of `text`, split by the documented rule.
Words split(const std::string& text) {
  Words words(1);
  for (const char c : text) {
    if (static_cast<signed char>(c) > 32)
      words.back() += c;
    else if (!words.back().empty())
      words.emplace_back();
  }
  if (words.back().empty()) words.pop_back();
  return words;
}

TEST(ReaderStream, TheLastLineCountsWithoutALineEnd) {
  FileReader file("hello");
  EXPECT_EQ(file.reader.ok(), 1);
  EXPECT_EQ(file.reader.getLineNo(), 1);
  EXPECT_STREQ(file.reader.getWord(), "hello");
  EXPECT_EQ(file.reader.ok(), 0);
  EXPECT_EQ(file.reader.getLineNo(), -1);
  EXPECT_EQ(wordsOf("a b\nc d"), (Words{"a", "b", "c", "d"}));
}

TEST(ReaderStream, AnEmptyFileIsAtEndAfterItsOneEmptyLine) {
  for (const bool gz : {false, true}) {
    FileReader file("", gz);
    EXPECT_EQ(file.reader.ok(), 0);
    EXPECT_EQ(file.reader.lineNo, 1);
    EXPECT_EQ(file.reader.getLineNo(), -1);
    EXPECT_EQ(file.reader.getWord(), nullptr);
    EXPECT_EQ(file.reader.gets(), nullptr);
    EXPECT_STREQ(file.reader.line, "");
  }
}

TEST(ReaderStream, AdvancingAUsedUpStreamEmptiesTheLineAndCountsNothing) {
  FileReader file("one two");
  EXPECT_EQ(file.reader.gets(), nullptr);
  EXPECT_STREQ(file.reader.line, "");
  EXPECT_EQ(file.reader.lineNo, 1);
  EXPECT_EQ(file.reader.ok(), 0);
}

TEST(ReaderStream, FilesAroundTheReadSizeGiveAllTheirWords) {
  for (const std::size_t size : {1022u, 1023u, 1024u, 1025u, 1026u, 2047u, 2048u, 2049u, 4096u, 8192u}) {
    for (const char* end : {"", "\n", "\r\n", " ", "\n\n\n"}) {
      std::string text;
      for (int i = 0; text.size() < size; ++i) text += "w" + std::to_string(i) + (i % 7 ? " " : "\r\n");
      text.resize(size - std::string(end).size());
      text += end;
      EXPECT_EQ(wordsOf(text), split(text)) << size;
      EXPECT_EQ(wordsOf(text, true), split(text)) << size;
    }
  }
}

TEST(ReaderStream, ALineEndPairAcrossTwoReadsGivesAnEmptyLine) {
  FileReader file(std::string(500, ' ') + "\n" + std::string(520, ' ') + "\r\nx");
  while (file.reader.peek() != 'x') file.reader.getc();
  const int inside = file.reader.getLineNo();
  FileReader across(std::string(500, ' ') + "\n" + std::string(522, ' ') + "\r\nx");
  while (across.reader.peek() != 'x') across.reader.getc();
  EXPECT_EQ(across.reader.getLineNo(), inside + 1);
}

TEST(ReaderStream, RandomTextGivesTheSameWordsPlainAndCompressed) {
  std::mt19937 random(3);
  for (int round = 0; round < 200; ++round) {
    std::string text;
    const std::size_t size = random() % 6000;
    int run = 0;
    while (text.size() < size) {
      // Lines shorter than 511, so that no word is cut.
      const bool white = random() % 6 == 0 || ++run > 200;
      if (white) run = 0;
      static const char whites[] = " \t\n\r\v\x80\xff";
      text += white ? (random() % 3 ? whites[random() % 7] : '\n') : static_cast<char>(33 + random() % 94);
      if (text.size() % 300 == 0) text += '\n';
    }
    ASSERT_EQ(wordsOf(text), split(text));
    ASSERT_EQ(wordsOf(text, true), split(text));
  }
}

TEST(ReaderStream, TruncatedCompressedFilesEnd) {
  TemporaryDirectory directory;
  std::string text;
  for (int i = 0; i < 3000; ++i) text += std::to_string(i * 7919) + "\n";
  const std::string whole = readFile(directory.writeGz("whole.gz", text));
  for (std::size_t size = 0; size < whole.size(); size += 1 + size / 20) {
    const std::string path = directory.write("cut.gz", whole.substr(0, size));
    Reader r(path.c_str(), noPath);
    const Words words = wordsOf(r);
    EXPECT_LE(words.size(), 3000u);
    EXPECT_EQ(r.ok(), 0);
  }
}

TEST(ReaderStream, CorruptedCompressedFilesEnd) {
  TemporaryDirectory directory;
  std::string text;
  for (int i = 0; i < 3000; ++i) text += std::to_string(i * 7919) + "\n";
  const std::string whole = readFile(directory.writeGz("whole.gz", text));
  std::mt19937 random(5);
  for (int round = 0; round < 300; ++round) {
    std::string bytes = whole;
    bytes[2 + random() % (bytes.size() - 2)] ^= static_cast<char>(1 + random() % 255);
    const std::string path = directory.write("bad.gz", bytes);
    Reader r(path.c_str(), noPath);
    wordsOf(r);
    EXPECT_EQ(r.ok(), 0);
    EXPECT_EQ(r.getWord(), nullptr);
  }
}

// The words that gzread returns with its default buffer, 1024 bytes at a time.
Words wordsOfGzread(const std::string& path) {
  const gzFile stream = gzopen(path.c_str(), "rb");
  std::string text;
  char piece[1024];
  for (int n; (n = gzread(stream, piece, sizeof piece)) > 0;) text.append(piece, static_cast<std::size_t>(n));
  gzclose(stream);
  return split(text);
}

// 60000 words in 400 KB; random, so that they do not compress to nothing.
std::string manyWords() {
  std::mt19937 random(11);
  std::string text;
  for (int i = 0; i < 60000; ++i) text += std::to_string(random() % 1000000) + (i % 8 == 7 ? "\n" : " ");
  return text;
}

TEST(ReaderStream, DamageCostsNoMoreTextThanGzreadLoses) {
  TemporaryDirectory directory;
  const std::string whole = readFile(directory.writeGz("whole.gz", manyWords()));
  std::mt19937 random(6);
  std::size_t most = 0;
  for (int round = 0; round < 16; ++round) {
    std::string bytes = whole;
    if (round % 2)
      bytes.resize(bytes.size() - 1 - random() % (bytes.size() - 20));
    else
      for (int k = 0; k < 8; ++k)
        bytes[bytes.size() - 20 - random() % 2000 * (round + 1u) % (bytes.size() / 2)] ^= 0x55;
    const std::string path = directory.write("bad.gz", bytes);
    const Words expected = wordsOfGzread(path);
    Reader byName(path.c_str(), noPath), searched("bad.gz", directory.path().c_str()),
        adopted(gzopen(path.c_str(), "rb"), "bad.gz");
    for (Reader* r : {&byName, &searched, &adopted}) {
      EXPECT_EQ(r->damaged(), r->ok() ? 0 : 1);  // a file that is cut off early may give no text at all
      EXPECT_EQ(wordsOf(*r), expected);
      EXPECT_EQ(r->damaged(), 1);
    }
    most = std::max(most, expected.size());
  }
  EXPECT_GT(most, 50000u);
}

TEST(ReaderStream, AMissingOrWrongTrailerIsDamageThoughEveryWordArrives) {
  TemporaryDirectory directory;
  const std::string whole = readFile(directory.writeGz("whole.gz", "one two three\n"));
  for (std::size_t missing = 1; missing <= 8; ++missing) {
    Reader r(directory.write("cut.gz", whole.substr(0, whole.size() - missing)).c_str(), noPath);
    EXPECT_EQ(r.damaged(), 0);  // there are more words
    EXPECT_EQ(wordsOf(r), (Words{"one", "two", "three"}));
    EXPECT_EQ(r.damaged(), 1) << missing;
  }
  std::string wrong = whole;
  wrong[wrong.size() - 6] ^= 1;
  Reader r(directory.write("wrong.gz", wrong).c_str(), noPath);
  wordsOf(r);
  EXPECT_EQ(r.damaged(), 1);
}

// The text that gzread returns of a file, 1024 bytes at a time, and whether the file then seems complete.
struct Delivered {
  std::size_t bytes = 0;
  bool looksComplete;
  explicit Delivered(const std::string& path) {
    const gzFile stream = gzopen(path.c_str(), "rb");
    char piece[1024];
    for (int n; (n = gzread(stream, piece, sizeof piece)) > 0;) bytes += static_cast<std::size_t>(n);
    int error;
    gzerror(stream, &error);
    looksComplete = error == Z_OK;
    gzclose(stream);
  }
};

// zlib does not notice a cut exactly where the text before it fills its buffer of 16 KB.
TEST(ReaderStream, CutsThatZlibTakesForTheEndAreDamage) {
  TemporaryDirectory directory;
  const std::size_t fill = 16384, fills = 3;
  const std::string whole = readFile(directory.writeGz("whole.gz", manyWords().substr(0, fills * fill)));
  const auto cut = [&](std::size_t size) { return directory.write("cut.gz", whole.substr(0, size)); };
  int unseen = 0;
  for (std::size_t k = 1; k <= fills; ++k) {
    std::size_t tooShort = 0, longEnough = whole.size();  // to deliver k fills
    while (longEnough - tooShort > 1) {
      const std::size_t middle = (tooShort + longEnough) / 2;
      (Delivered(cut(middle)).bytes < k * fill ? tooShort : longEnough) = middle;
    }
    for (std::size_t size = longEnough; size < std::min(longEnough + 10, whole.size()); ++size) {
      const std::string path = cut(size);
      unseen += Delivered(path).looksComplete;
      Reader r(path.c_str(), noPath);
      Reader copy(r);
      EXPECT_EQ(wordsOf(r), wordsOfGzread(path));
      for (int ask = 0; ask < 3; ++ask) EXPECT_EQ(r.damaged(), 1) << size;
      wordsOf(copy);
      EXPECT_EQ(copy.damaged(), 1) << size;
    }
  }
  Reader r((directory / "whole.gz").c_str(), noPath);
  wordsOf(r);
  for (int ask = 0; ask < 3; ++ask) EXPECT_EQ(r.damaged(), 0);
  if (unseen == 0) GTEST_SKIP() << "the zlib here notices every cut itself";
}

TEST(ReaderStream, CompleteFilesAreNotDamaged) {
  for (const bool gz : {false, true})
    for (const std::size_t size : {0u, 1u, 1023u, 1024u, 1025u, 16384u, 100000u}) {
      FileReader file(std::string(size, 'x') + (size % 2 ? "\n" : ""), gz);
      Reader copy(file.reader);
      wordsOf(file.reader);
      EXPECT_EQ(file.reader.ok(), 0);
      EXPECT_EQ(file.reader.damaged(), 0) << size;
      wordsOf(copy);
      EXPECT_EQ(copy.damaged(), 0) << size;
    }
  EXPECT_EQ(Reader(nullptr, "x").damaged(), 0);
  EXPECT_EQ(Reader("/no/such/file", noPath).damaged(), 0);
}

TEST(ReaderStream, ReadErrorsAreDamage) {
  TemporaryDirectory directory;
#if !defined(_WIN32)  // there a directory cannot be opened
  Reader r(directory.path().c_str(), noPath);
  EXPECT_EQ(r.damaged(), 1);
#endif
  Reader written(gzopen((directory / "out.gz").c_str(), "wb"), "out.gz");
  EXPECT_EQ(written.damaged(), 1);
}

TEST(ReaderStream, LinesAreCountedAsTheyAreCut) {
  std::string text;
  for (int i = 0; i < 20000; ++i) text += "word" + std::to_string(i) + "\r\n";
  // A pair that a read of 1024 bytes splits counts twice.
  int split = 0;
  for (std::size_t i = 1023; i + 1 < text.size(); i += 1024) split += text[i] == '\r' && text[i + 1] == '\n';
  EXPECT_GT(split, 5);
  FileReader file(text);
  EXPECT_EQ(wordsOf(file.reader).size(), 20000u);
  EXPECT_EQ(file.reader.lineNo, 20000 + split);
  // A file of exactly 1024 bytes has one more, empty line.
  FileReader full(std::string(1023, 'x') + "\n"), shorter(std::string(1022, 'x') + "\n");
  while (full.reader.getWord()) {
  }
  while (shorter.reader.getWord()) {
  }
  EXPECT_EQ(full.reader.lineNo, shorter.reader.lineNo + 1);
}

TEST(ReaderStream, MessagesNameTheLineOfTheNextWord) {
  CapturedOutput captured;
  FileReader file("1 x\n\n\n2 y 3\n");
  int number = 0;
  EXPECT_EQ(file.reader.getInt(number, 1), 1);
  EXPECT_EQ(file.reader.getInt(number, 1), 0);  // x is the last word of line 1
  EXPECT_EQ(file.reader.getInt(number, 1), 1);
  EXPECT_EQ(file.reader.getInt(number, 1), 0);  // y is not the last of its line
  EXPECT_EQ(captured.err(), "Expecting int, found `x' (on line 3)\nExpecting int, found `y' (on line 3)\n");
}

TEST(ReaderStream, ADirectoryIsAtEnd) {
  TemporaryDirectory directory;
  Reader r(directory.path().c_str(), noPath);
  EXPECT_EQ(r.ok(), 0);
  EXPECT_EQ(r.getWord(), nullptr);
  const std::string name = directory.path().substr(1);
  Reader searched(name.c_str(), "/");
  EXPECT_EQ(searched.ok(), 0);
  EXPECT_EQ(searched.name, nullptr);
}

TEST(ReaderStream, AStreamOpenForWritingIsAtEnd) {
  TemporaryDirectory directory;
  Reader r(gzopen((directory / "out.gz").c_str(), "wb"), "out.gz");
  EXPECT_EQ(r.ok(), 0);
  EXPECT_EQ(r.getWord(), nullptr);
}

TEST(ReaderStream, CopiesShareStreamAndName) {
  std::string text;
  for (int i = 0; i < 1000; ++i) text += "word" + std::to_string(i) + "\n";
  FileReader file(text);
  Reader copy(file.reader);
  EXPECT_EQ(copy.file, file.reader.file);
  EXPECT_EQ(copy.name, file.reader.name);
  EXPECT_STREQ(copy.getWord(), "word0");
  EXPECT_STREQ(file.reader.getWord(), "word0");
  // Each copy has its own first 1024 bytes. The bytes after that are read only once, by the first copy that
  // gets there.
  const Words rest = wordsOf(copy);
  EXPECT_EQ(rest.back(), "word999");
  const Words own = wordsOf(file.reader);
  EXPECT_LT(own.size(), 150u);
}

TEST(ReaderStream, CopiesHoldEveryField) {
  std::string text;
  for (int i = 0; i < 1000; ++i) text += "word" + std::to_string(i) + "\n";
  FileReader file(text);
  for (int i = 0; i < 200; ++i) file.reader.getWord();
  file.reader.lastWordValid = 1;
  Reader assigned(nullptr, "x");
  assigned = file.reader;
  const Reader constructed(file.reader);
  for (const Reader* copy : {&constructed, static_cast<const Reader*>(&assigned)}) {
    EXPECT_EQ(copy->more, 1);
    EXPECT_EQ(copy->file, file.reader.file);
    EXPECT_EQ(copy->name, file.reader.name);
    EXPECT_EQ(copy->lineNo, 201);
    EXPECT_EQ(copy->linePos, file.reader.linePos);
    EXPECT_EQ(copy->lastWordValid, 1);
    EXPECT_EQ(copy->bufCount, 1024);
    EXPECT_EQ(copy->bufPos, file.reader.bufPos);
    EXPECT_EQ(std::memcmp(copy->line, file.reader.line, sizeof copy->line), 0);
    EXPECT_EQ(std::memcmp(copy->word, file.reader.word, sizeof copy->word), 0);
    EXPECT_EQ(std::memcmp(copy->buf, file.reader.buf, sizeof copy->buf), 0);
    EXPECT_STREQ(copy->getLastWord(), "word199");
  }
}

TEST(ReaderStream, TheLastCopyCloses) {
  TemporaryDirectory directory;
  const std::string path = directory.write("text", "one two three four");
  Reader* const first = new Reader(path.c_str(), noPath);
  Reader second(*first);
  Reader third(nullptr, "x");
  third = second;
  delete first;
  EXPECT_STREQ(second.getWord(), "one");
  EXPECT_STREQ(second.name, path.c_str());
  const Reader& itself = second;
  second = itself;
  EXPECT_STREQ(second.getWord(), "two");
  third = second;
  EXPECT_STREQ(third.getWord(), "three");
  second = Reader(nullptr, "x");
  EXPECT_EQ(second.ok(), 0);
  EXPECT_STREQ(third.getWord(), "four");
  EXPECT_STREQ(third.name, path.c_str());
}

TEST(ReaderStream, AssignmentLetsGoOfTheOldFile) {
  TemporaryDirectory directory;
  Reader a(directory.write("a", "1").c_str(), noPath);
  const Reader b(directory.write("b", "2").c_str(), noPath);
  a = b;  // a leak here shows under the sanitizer
  EXPECT_STREQ(a.getWord(), "2");
}

// Compiles the forms that callers may write.
TEST(ReaderStream, NullIsAReaderAtEndHoweverItIsSpelled) {
  Reader null(NULL, "x"), pointer(nullptr, "x");
  EXPECT_EQ(null.ok(), 0);
  EXPECT_EQ(null.file, nullptr);
  EXPECT_EQ(null.name, nullptr);
  EXPECT_EQ(pointer.ok(), 0);
  const Reader& constant = null;
  EXPECT_EQ(constant.peek(), 0);
}

}  // namespace
