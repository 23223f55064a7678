// Words of text files and their lines.

#include "line_reader.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "input_error.h"
#include "tests/support/TemporaryFile.h"

namespace {

class Lines : public ::testing::Test {
 protected:
  std::string file(const std::string& text) { return directory.write("lines.txt", text); }

  // The words of each line that is not empty.
  std::vector<std::vector<std::string>> words(const std::string& path, char comment = 0) {
    LineReader in(path.c_str(), nullptr, comment);
    std::vector<std::vector<std::string>> lines;
    while (in.nextLine()) {
      lines.emplace_back();
      while (in.peek()) lines.back().push_back(in.next("a word"));
    }
    return lines;
  }

  // The error message of reading `path` with `use`, without the directory.
  std::string problem(const std::string& path, const std::function<void(LineReader&)>& use) {
    try {
      LineReader in(path.c_str(), nullptr);
      use(in);
    } catch (const InputError& error) {
      return std::string(error.what()).substr(path.size());
    }
    return "none";
  }

  static void readAll(LineReader& in) {
    while (in.nextLine()) {
      while (in.peek()) in.next("a word");
    }
  }

  TemporaryDirectory directory;
};

using Words = std::vector<std::vector<std::string>>;

TEST_F(Lines, EndWithLfCrLfOrCr) {
  const Words expected{{"a", "b"}, {"c"}};
  for (const char* text : {"a b\nc\n", "a b\r\nc\r\n", "a b\rc\r", "\ta\v b \n\n\r\n c",
                           "\xEF\xBB\xBF"
                           "a b\nc"}) {
    EXPECT_EQ(words(file(text)), expected) << text;
  }
}

TEST_F(Lines, AreCountedAlsoWhenTheyAreEmpty) {
  LineReader in(file("\n\r\n a\r\rb\n\n\n").c_str(), nullptr);
  ASSERT_TRUE(in.nextLine());
  EXPECT_EQ(in.place().substr(in.file().size()), ":3");
  ASSERT_TRUE(in.nextLine());
  EXPECT_STREQ(in.next("a word"), "b");
  EXPECT_EQ(in.place().substr(in.file().size()), ":5");
  EXPECT_FALSE(in.nextLine());
}

TEST_F(Lines, MayHaveAnyLength) {
  for (const std::size_t length : {65535u, 65536u, 65537u, 3000000u}) {
    const Words read =
        words(file("a" + std::string(length, ' ') + "b # " + std::string(length, '#') + "\nc"), '#');
    EXPECT_EQ(read, (Words{{"a", "b"}, {"c"}})) << length;
  }
  EXPECT_EQ(words(file(std::string(70000, 'x') + " y"))[0][0].size(), 70000u);
}

TEST_F(Lines, AWordMayNotHaveMoreThanAMillionCharacters) {
  EXPECT_EQ(problem(file("a\n" + std::string((1 << 20) + 1, 'x')), readAll),
            ":2: a word of more than 1048576 characters");
  EXPECT_EQ(problem(file("a\n" + std::string(1 << 20, 'x')), readAll), "none");
}

TEST_F(Lines, CommentsBeginWhereTheReaderIsTold) {
  const std::string path = file("% a\nb % c\n %d\ne%f\n");
  EXPECT_EQ(words(path, '%'), (Words{{"b"}, {"e%f"}}));
  EXPECT_EQ(words(path).size(), 4u);
  LineReader in(path.c_str(), nullptr);
  ASSERT_TRUE(in.nextLine());
  EXPECT_STREQ(in.next("a word"), "%");
  in.setComment('%');
  ASSERT_TRUE(in.nextLine());
  EXPECT_STREQ(in.peek(), "b");
}

TEST_F(Lines, AZeroByteIsNoText) {
  const std::string message = ": a zero byte: this is not a text file";
  EXPECT_EQ(problem(file(std::string("\0\0", 2)), readAll), message);
  EXPECT_EQ(problem(file(std::string("\xEF\0", 2)), readAll), message);
  EXPECT_EQ(problem(file(std::string("a\nb\0", 4)), readAll), ":2" + message);
  EXPECT_EQ(problem("/dev/zero", readAll), message);
}

TEST_F(Lines, ADamagedFileIsCalledThat) {
  std::string text;
  for (int i = 0; i < 5000; ++i) text += std::to_string(i * 7919) + "\n";
  const std::string path = directory.writeGz("lines.gz", text);
  const std::string whole = readFile(path);
  EXPECT_EQ(problem(path, readAll), "none");
  for (const std::size_t size : {whole.size() - 1, whole.size() - 9, whole.size() / 2, std::size_t{12}}) {
    const std::string message = problem(directory.write("cut.gz", whole.substr(0, size)), readAll);
    EXPECT_NE(message.find("expected more; the file is damaged or cut short"), std::string::npos) << message;
  }
  // Also if the text fills zlib's buffer exactly and only the check sums are missing.
  const std::string full = readFile(directory.writeGz("full.gz", text.substr(0, 16384)));
  EXPECT_EQ(problem((directory / "full.gz").c_str(), readAll), "none");
  EXPECT_NE(problem(directory.write("cut.gz", full.substr(0, full.size() - 8)), readAll), "none");
  std::string damaged = whole;
  damaged[damaged.size() - 6] ^= 1;  // the checksum
  const std::string message = problem(directory.write("bad.gz", damaged), readAll);
  EXPECT_NE(message.find("expected more; the file is damaged or cut short"), std::string::npos) << message;
  const int line = std::atoi(message.c_str() + 1);
  EXPECT_TRUE(line > 3000 && line <= 5000) << message;
}

TEST_F(Lines, NumbersAreWholeWordsInTheirRange) {
  LineReader in(file("1e300 9007199254740993 -3 +7\n").c_str(), nullptr);
  ASSERT_TRUE(in.nextLine());
  EXPECT_EQ(in.finite("a number"), 1e300);
  EXPECT_EQ(in.whole(1, 9007199254740993, "a number"), 9007199254740993);
  EXPECT_EQ(in.whole(-3, 3, "a number"), -3);
  EXPECT_EQ(in.integer("a number"), 7);
  in.expectLineEnd();
  const std::string path = file("1e300 4 nan 1.0\n");
  const auto afterLine = [](const std::function<void(LineReader&)>& use) {
    return [use](LineReader& line) {
      line.nextLine();
      use(line);
    };
  };
  EXPECT_EQ(problem(path, afterLine([](LineReader& l) { l.real("a length"); })),
            ":1: expected a length, found '1e300'");
  EXPECT_EQ(problem(path, afterLine([](LineReader& l) { l.next("x"), l.whole(1, 3, "a row"); })),
            ":1: expected a row, found '4'");
  EXPECT_EQ(problem(path, afterLine([](LineReader& l) { l.next("x"), l.next("x"), l.finite("a number"); })),
            ":1: expected a number, found 'nan'");
  EXPECT_EQ(problem(path, afterLine([](LineReader& l) { l.expectLineEnd(); })),
            ":1: expected the end of the line, found '1e300'");
}

TEST_F(Lines, AFileThatCannotBeOpenedIsNamed) {
  EXPECT_EQ(problem("no/such/file", readAll), ": cannot be opened");
  EXPECT_THROW(LineReader("none", "a;b"), InputError);
  EXPECT_EQ(problem(directory.path(), readAll), ": cannot be opened");
}

}  // namespace
