// The input is three texts separated by line feeds: a list, sub-paths and a name. The paths that the openers
// write to their buffer and print are compared with those of another splitter. Nothing is found unless the
// text happens to name a file.
#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "limber/foundation/Output.h"
#include "limber/io/SearchP.h"
#include "tests/fuzz/Require.h"

namespace {

std::string printed;
int collect(const char* text) {
  printed += text;
  return 0;
}

// Finds the separators first and the elements afterwards.
std::vector<std::string> split(const std::string& list, const std::string& separators) {
  std::vector<std::string> elements;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= list.size(); ++i) {
    bool ends = i == list.size() || separators.find(list[i]) != std::string::npos;
    if (i < list.size() && list[i] == ':' && i == start + 1) ends = ends && list[start] == '.';
    if (!ends) continue;
    if (i < list.size() || i > start || elements.empty()) elements.push_back(list.substr(start, i - start));
    start = i + 1;
  }
  return elements;
}

std::string joined(const std::string& element, const std::string& name) {
  const bool slash = !element.empty() && element.back() != '/';
  return element + (slash ? "/" : "") + name;
}

void closeFound(std::FILE* file) { std::fclose(file); }
void closeFound(void* stream) { gzclose(static_cast<gzFile>(stream)); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string texts[3];
  int field = 0;
  for (std::size_t i = 0; i < size && data[i]; ++i) {
    if (data[i] == '\n' && field < 2)
      ++field;
    else
      texts[field] += static_cast<char>(data[i]);
  }
  const auto& [list, subs, name] = texts;
  if (name.find("dev") != std::string::npos) return 0;  // no terminals, no endless devices
  stdoutF = stderrF = collect;

  // Exactly the documented room, so that the sanitizer finds a single byte too many.
  std::vector<char> path(list.size() + subs.size() + name.size() + 3);
  const auto lastCandidate = [&](auto opened) {
    if (opened) closeFound(opened);
    return std::pair(std::string(path.data()), opened != nullptr);
  };
  const std::vector<std::string> elements = name[0] == '/' ? std::vector<std::string>{""} : split(list, ";:");
  for (const bool gz : {false, true}) {
    const auto [tried, found] = gz ? lastCandidate(gzopenp(list.c_str(), name.c_str(), path.data(), "rb"))
                                   : lastCandidate(fopenp(list.c_str(), name.c_str(), path.data(), "rb"));
    bool among = false;
    for (const std::string& element : elements) among = among || tried == joined(element, name);
    REQUIRE(found ? among : tried == joined(elements.back(), name));
  }
  REQUIRE(printed.empty());

  const auto [tried, found] =
      lastCandidate(findPath(list.c_str(), subs.c_str(), name.c_str(), path.data(), "rb"));
  std::string expected;
  if (!found && list.size() + subs.size() + name.size() < 400) {
    std::size_t from = 0;
    for (const std::string& base : split(list, ";,")) {
      // The system decides whether it is a directory; the lines that follow must agree.
      const std::string is = base + " IS a directory!\n", isNot = base + " is NOT a directory!\n";
      const bool directory = printed.compare(from, is.size(), is) == 0;
      expected = directory ? is : isNot;
      if (directory)
        for (const std::string& sub : split(subs, ";"))
          expected += "   Trying ``" + base + "/" + joined(sub, name) + "''\n";
      REQUIRE(printed.compare(from, expected.size(), expected) == 0);
      from += expected.size();
    }
    REQUIRE(from == printed.size());
  }
  printed.clear();
  return 0;
}
