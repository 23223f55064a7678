// The reader over a stream with scripted reads: the gz functions of this program replace those of zlib.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <vector>

#include "limber/io/Reader.h"
#include "tests/support/CapturedOutput.h"

namespace {

struct Read {
  int result;
  bool eof;
};

std::vector<Read> script;
std::size_t reads;
int closed;
std::vector<unsigned> requests;

void* scripted(std::vector<Read> steps) {
  script = std::move(steps);
  reads = 0;
  closed = 0;
  requests.clear();
  return &script;
}

}  // namespace

extern "C" {
int gzread(gzFile, void* out, unsigned size) {
  requests.push_back(size);
  const Read& now = script[reads < script.size() ? reads : script.size() - 1];
  ++reads;
  if (now.result > 0) std::memset(out, 'a', size);
  return now.result;
}
int gzeof(gzFile) { return script[reads <= script.size() ? reads - 1 : script.size() - 1].eof; }
int gzclose(gzFile) {
  ++closed;
  return 0;
}
}

namespace {

TEST(ReaderScripted, EveryRequestIsFor1024Bytes) {
  Reader r(scripted({{1024, false}, {1024, false}, {3, true}, {0, true}}), "x");
  while (r.getWord()) {
  }
  EXPECT_EQ(requests, (std::vector<unsigned>{1024, 1024, 1024, 1024}));
}

TEST(ReaderScripted, AReadErrorEndsTheFile) {
  CapturedOutput output;
  Reader r(scripted({{4, false}, {-1, false}}), "x");
  EXPECT_STREQ(r.getWord(), "aaaa");
  EXPECT_EQ(r.ok(), 0);
  EXPECT_EQ(r.bufCount, 0);
  EXPECT_EQ(r.more, 0);
  EXPECT_EQ(output.err(), "");
}

TEST(ReaderScripted, AReadOfNothingEndsTheFileAlsoWhereEofIsNotSaid) {
  Reader r(scripted({{0, false}}), "x");
  EXPECT_EQ(r.getWord(), nullptr);
  EXPECT_EQ(r.ok(), 0);
  EXPECT_EQ(reads, 1u);
}

TEST(ReaderScripted, MoreBytesThanTheBufferHoldsAreReported) {
  CapturedOutput output;
  Reader r(scripted({{5000, true}, {0, true}}), "x");
  EXPECT_EQ(output.err(), "ERR: Read too many bytes from gunzip - overflowed buffer! @ (Reader:234)\n");
  EXPECT_EQ(r.bufCount, 4096);  // nothing after the buffer counts as text
  while (r.getWord()) {
  }
  EXPECT_EQ(r.ok(), 0);
}

TEST(ReaderScripted, OneCloseForAllCopies) {
  {
    Reader r(scripted({{3, true}}), "x");
    Reader copy(r);
    Reader other(copy);
    other = r;
    copy = Reader(nullptr, "x");
    EXPECT_EQ(closed, 0);
  }
  EXPECT_EQ(closed, 1);
}

}  // namespace
