#include "limber/io/SearchP.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>
#include <string>

#include "tests/support/CapturedOutput.h"
#include "tests/support/TemporaryFile.h"

namespace {

// The last candidate, when no file can be opened.
std::string lastTried(const char* searchPath, const char* name) {
  char path[500] = "untouched";
  EXPECT_EQ(fopenp(searchPath, name, path, "rb"), nullptr);
  return path;
}

// Checks that the stream contains "text", and closes it.
void expectText(void* opened) {
  ASSERT_NE(opened, nullptr);
  const auto stream = static_cast<gzFile>(opened);
  char text[5] = "";
  EXPECT_EQ(gzread(stream, text, 4), 4);
  EXPECT_STREQ(text, "text");
  EXPECT_EQ(gzclose(stream), Z_OK);
}

TEST(SearchP, TriesEachElementInOrder) {
  TemporaryDirectory directory;
  const std::string a = directory / "a", b = directory / "b";
  std::filesystem::create_directory(a);
  std::filesystem::create_directory(b);
  const std::string list = a + ";" + b;
  char path[500];
  EXPECT_EQ(fopenp(list.c_str(), "x.txt", path, "r"), nullptr);
  EXPECT_EQ(path, b + "/x.txt");
  directory.write("b/x.txt", "of b");
  FILE* file = fopenp(list.c_str(), "x.txt", path, "r");
  ASSERT_NE(file, nullptr);
  fclose(file);
  EXPECT_EQ(path, b + "/x.txt");
  directory.write("a/x.txt", "of a");
  file = fopenp(list.c_str(), "x.txt", path, "r");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(fgetc(file), 'o');
  fclose(file);
  EXPECT_EQ(path, a + "/x.txt");
}

TEST(SearchP, AppendsASlashUnlessThereIsOne) {
  EXPECT_EQ(lastTried("nowhere", "x"), "nowhere/x");
  EXPECT_EQ(lastTried("nowhere/", "x"), "nowhere/x");
  EXPECT_EQ(lastTried("nowhere\\", "x"), "nowhere\\/x");
  EXPECT_EQ(lastTried("", "no-such-file"), "no-such-file");
  EXPECT_EQ(lastTried(nullptr, "no-such-file"), "no-such-file");
}

TEST(SearchP, OnlyALeadingSlashMakesANameAbsolute) {
  EXPECT_EQ(lastTried("a;b", "/no/such/x.txt"), "/no/such/x.txt");
  EXPECT_EQ(lastTried("a;b", "C:/x.txt"), "b/C:/x.txt");
  EXPECT_EQ(lastTried("a;b", "\\x.txt"), "b/\\x.txt");
}

TEST(SearchP, MissingArgumentsGiveNull) {
  char path[100] = "untouched";
  EXPECT_EQ(fopenp("a", nullptr, path, "r"), nullptr);
  EXPECT_EQ(fopenp("a", "x", nullptr, "r"), nullptr);
  EXPECT_EQ(fopenp("a", "x", path, nullptr), nullptr);
  EXPECT_EQ(gzopenp("a", nullptr, path, "rb"), nullptr);
  EXPECT_EQ(gzopenp("a", "x", path, nullptr), nullptr);
  CapturedOutput output;
  EXPECT_EQ(findPath(".", "s", nullptr, path, "r"), nullptr);
  EXPECT_EQ(gzFindPath(".", "s", "x", nullptr, "rb"), nullptr);
  EXPECT_EQ(findPath(".", "s", "x", path, nullptr), nullptr);
  EXPECT_STREQ(path, "untouched");
  EXPECT_EQ(output.err(), "");
}

TEST(SearchP, ADirectoryIsNotAFileThatWasFound) {
  TemporaryDirectory directory;
  const std::string a = directory / "a", b = directory / "b";
  std::filesystem::create_directory(a);
  std::filesystem::create_directory(b);
  std::filesystem::create_directory(a + "/x");
  directory.write("b/x", "file");
  const std::string list = a + ";" + b;
  char path[500];
  FILE* const file = fopenp(list.c_str(), "x", path, "r");
  ASSERT_NE(file, nullptr);
  fclose(file);
  EXPECT_EQ(path, b + "/x");
  EXPECT_EQ(gzopenp(nullptr, a.c_str(), path, "rb"), nullptr);
}

TEST(SearchP, GzopenpReadsPlainAndCompressed) {
  TemporaryDirectory directory;
  directory.write("plain", "text");
  directory.writeGz("packed", "text");
  for (const char* name : {"plain", "packed"}) {
    char path[500];
    CapturedOutput output;
    void* const stream = gzopenp(directory.path().c_str(), name, path, "rb");
    expectText(stream);
    EXPECT_EQ(output.err() + output.out(), "");
  }
}

TEST(SearchP, GzopenpReportsATextModeAndOpens) {
  TemporaryDirectory directory;
  directory.write("x", "text");
  char path[500];
  CapturedOutput output;
  void* const stream = gzopenp(directory.path().c_str(), "x", path, "r");
  ASSERT_NE(stream, nullptr);
  gzclose(static_cast<gzFile>(stream));
  EXPECT_EQ(output.err(), "ERR: Non-Binary mode to gz openp! @ (SearchP:227)\n");
}

TEST(SearchP, TheBOfAModeMayStandAnywhere) {
  char path[100];
  CapturedOutput output;
  for (const char* mode : {"rb", "r6b", "br"}) {
    EXPECT_EQ(gzopenp(nullptr, "no-such-file", path, mode), nullptr);
    EXPECT_EQ(gzFindPath("none", nullptr, "no-such-file", path, mode), nullptr);
  }
  EXPECT_EQ(output.err(), "");
}

TEST(SearchP, ATextModeIsReportedBeforeMissingArgumentsCount) {
  char path[100];
  CapturedOutput output;
  EXPECT_EQ(gzopenp("a", nullptr, path, "r"), nullptr);
  EXPECT_EQ(gzFindPath("a", nullptr, nullptr, path, "r"), nullptr);
  EXPECT_EQ(output.err(),
            "ERR: Non-Binary mode to gz openp! @ (SearchP:227)\n"
            "ERR: Non-Binary mode to gz find path! @ (SearchP:159)\n");
}

TEST(SearchP, TheModeIsTheCallers) {
  TemporaryDirectory directory;
  const std::string list = "/no/such/place;" + directory.path();
  char path[500];
  CapturedOutput output;
  FILE* const opened = fopenp(list.c_str(), "one", path, "w");
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(path, directory / "one");
  EXPECT_GE(fputs("1", opened), 0);
  fclose(opened);
  FILE* const found = findPath(list.c_str(), nullptr, "two", path, "w");
  ASSERT_NE(found, nullptr);
  EXPECT_GE(fputs("2", found), 0);
  fclose(found);
  const auto put = [](void* stream, const char* text) {
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(gzputs(static_cast<gzFile>(stream), text), 1);
    EXPECT_EQ(gzclose(static_cast<gzFile>(stream)), Z_OK);
  };
  put(gzopenp(list.c_str(), "three", path, "wb"), "3");
  put(gzFindPath(list.c_str(), nullptr, "four", path, "wb"), "4");
  EXPECT_EQ(readFile(directory / "one") + readFile(directory / "two"), "12");
  EXPECT_EQ(readFile(directory / "three").substr(0, 2), "\x1f\x8b");
  EXPECT_EQ(readFile(directory / "four").substr(0, 2), "\x1f\x8b");
}

TEST(SearchP, GzFindPathReadsPlainAndCompressed) {
  TemporaryDirectory directory;
  directory.write("plain", "text");
  directory.writeGz("packed", "text");
  for (const char* name : {"plain", "packed"}) {
    char path[500];
    CapturedOutput output;
    void* const stream = gzFindPath(directory.path().c_str(), "", name, path, "rb");
    expectText(stream);
    EXPECT_EQ(output.out(), directory.path() + " IS a directory!\n   Trying ``" + (directory / name) +
                                "''\nFound! " + (directory / name) + "\n");
    EXPECT_EQ(output.err(), "");
  }
}

TEST(SearchP, FindPathTriesEverySubPathOfEveryBase) {
  TemporaryDirectory directory;
  const std::string d1 = directory / "d1", d2 = directory / "d2", none = directory / "none";
  std::filesystem::create_directory(d1);
  std::filesystem::create_directory(d2);
  const std::string bases = d1 + "," + none + ";" + d2;
  char path[500];
  CapturedOutput output;
  EXPECT_EQ(findPath(bases.c_str(), "s;t/", "x", path, "r"), nullptr);
  EXPECT_EQ(output.out(), d1 + " IS a directory!\n   Trying ``" + d1 + "/s/x''\n   Trying ``" + d1 +
                              "/t/x''\n" + none + " is NOT a directory!\n" + d2 +
                              " IS a directory!\n   Trying ``" + d2 + "/s/x''\n   Trying ``" + d2 +
                              "/t/x''\n");
  EXPECT_EQ(path, d2 + "/t/x");
  EXPECT_EQ(output.err(), "");
}

TEST(SearchP, FindPathStopsAtWhatItFound) {
  TemporaryDirectory directory;
  directory.write("x", "text");
  const std::string base = directory.path();
  for (const char* subs : {static_cast<const char*>(nullptr), ""}) {
    char path[500];
    CapturedOutput output;
    FILE* const file = findPath((base + ",other").c_str(), subs, "x", path, "r");
    ASSERT_NE(file, nullptr);
    fclose(file);
    EXPECT_EQ(output.out(), base + " IS a directory!\n   Trying ``" + base + "/x''\nFound! " + base + "/x\n");
  }
  char path[500];
  CapturedOutput output;
  void* const stream = gzFindPath((base + "/").c_str(), nullptr, "x", path, "rb");
  ASSERT_NE(stream, nullptr);
  gzclose(static_cast<gzFile>(stream));
  EXPECT_EQ(path, base + "//x");  // a '/' always follows the base
}

TEST(SearchP, AnEmptyBaseIsNotADirectory) {
  char path[100];
  CapturedOutput output;
  EXPECT_EQ(findPath("", "s", "x", path, "r"), nullptr);
  EXPECT_EQ(output.out(), " is NOT a directory!\n");
  EXPECT_STREQ(path, "");
}

TEST(SearchP, WithoutBasesTheSubPathsAreASearchPath) {
  TemporaryDirectory directory;
  directory.write("x", "text");
  const std::string list = "nowhere:" + directory.path();
  char path[500];
  CapturedOutput output;
  FILE* const file = findPath(nullptr, list.c_str(), "x", path, "r");
  ASSERT_NE(file, nullptr);
  fclose(file);
  EXPECT_EQ(path, directory / "x");
  EXPECT_EQ(output.out(), "");
}

TEST(SearchP, GzFindPathReportsATextModeOnBothRoutes) {
  char path[100];
  CapturedOutput output;
  EXPECT_EQ(gzFindPath("none", nullptr, "x", path, "r"), nullptr);
  EXPECT_EQ(output.err(), "ERR: Non-Binary mode to gz find path! @ (SearchP:159)\n");
  output.clear();
  EXPECT_EQ(gzFindPath(nullptr, nullptr, "no-such-file", path, "r"), nullptr);
  EXPECT_EQ(output.err(),
            "ERR: Non-Binary mode to gz find path! @ (SearchP:159)\n"
            "ERR: Non-Binary mode to gz openp! @ (SearchP:227)\n");
}

}  // namespace
