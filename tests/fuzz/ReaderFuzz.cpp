// The first byte says whether the rest is passed to the reader unchanged (it may be compressed already) or
// compressed first. The second byte seeds the choice of operations. Without other operations, the words are
// compared with a plain split of the text.
#include <unistd.h>
#include <zlib.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "limber/foundation/Output.h"
#include "limber/io/Reader.h"
#include "tests/fuzz/Require.h"
#include "tests/support/DecimalPoint.h"

namespace {

int silent(const char*) { return 0; }

// A stream over a temporary file with these bytes.
gzFile streamOf(const std::uint8_t* data, std::size_t size, bool compress) {
  std::FILE* const file = std::tmpfile();
  REQUIRE(file);
  if (compress) {
    const gzFile out = gzdopen(dup(fileno(file)), "wb1");
    REQUIRE(gzwrite(out, data, static_cast<unsigned>(size)) == static_cast<int>(size));
    gzclose(out);
  } else {
    std::fwrite(data, 1, size, file);
    std::fflush(file);
  }
  std::rewind(file);
  const gzFile in = gzdopen(dup(fileno(file)), "rb");
  std::fclose(file);
  return in;
}

bool isPrintable(std::uint8_t c) { return static_cast<std::int8_t>(c) > 32; }

// The reader's words must be those of the text. A line of 511 characters may cut a word into pieces that
// follow each other, so this compares all printable characters in order.
void compareWords(Reader& reader, const std::uint8_t* data, std::size_t size) {
  std::size_t at = 0;
  while (const char* word = reader.getWord()) {
    REQUIRE(*word);
    for (; *word; ++word) {
      while (at < size && !isPrintable(data[at])) ++at;
      REQUIRE(at < size && static_cast<std::uint8_t>(*word) == data[at]);
      ++at;
    }
  }
  while (at < size && !isPrintable(data[at])) ++at;
  REQUIRE(at == size);
}

void operate(Reader& reader, unsigned seed) {
  Reader copy(reader);
  char line[20];
  // Each step consumes at least one line or character, or finds the end, so more steps than bytes mean a
  // hang.
  for (long step = 0; reader.ok() && step < 1000000; ++step) {
    seed = seed * 1103515245u + 12345u;
    int i = 7;
    double d = 7.0;
    switch (seed >> 16 & 15) {
      case 0:
        reader.getc();
        break;
      case 1:
        reader.getNonWS();
        break;
      case 2:
        reader.gets();
        break;
      case 3:
        reader.matchWord("END", 1);
        break;
      case 4:
        reader.getInt(i, 1);
        break;
      case 5:
        reader.bgets(line, static_cast<int>(seed >> 24 & 15));
        break;
      case 6:
        reader.peek();
        break;
      case 7:
        copy.getWord();
        break;
      case 8:
        copy = reader;
        break;
      case 9:
        REQUIRE(std::strlen(reader.getNextChars()) < 512);
        break;
      case 10:
        REQUIRE(!reader.getLastWord());
        break;
      case 11:
        REQUIRE(reader.getLineNo() >= 1);
        break;
      default:
        if (reader.getReal(d, 1)) {
          const DecimalPoint point;
          const double expected = std::atof(reader.word);
          REQUIRE(std::memcmp(&expected, &d, sizeof d) == 0);
        }
    }
    REQUIRE(reader.linePos >= 0 && reader.linePos < 512);
  }
  REQUIRE(!reader.ok());
  REQUIRE(!reader.getWord());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  stdoutF = stderrF = silent;
  const bool compress = data[0] & 1, mixed = data[0] & 2;
  const unsigned seed = data[1];
  data += 2;
  size -= 2;
  const bool compressedAlready = size >= 2 && data[0] == 0x1f && data[1] == 0x8b;
  Reader reader(streamOf(data, size, compress), "fuzz");
  if (mixed)
    operate(reader, seed);
  else if (compress || !compressedAlready)
    compareWords(reader, data, size);
  else
    while (reader.getWord()) {
    }
  REQUIRE(!reader.ok());
  return 0;
}
