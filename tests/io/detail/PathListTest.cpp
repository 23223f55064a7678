#include "limber/io/detail/PathList.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace limber::detail;
using Elements = std::vector<std::string>;

namespace {

Elements elementsOf(const char* list, PathSyntax syntax = PathSyntax::Search) {
  Elements elements;
  PathList walk(list, syntax);
  char out[200];
  do {
    char* const end = walk.next(out);
    EXPECT_EQ(*end, 0);
    elements.push_back(out);
  } while (!walk.used());
  return elements;
}

TEST(PathList, SplitsAtSemicolonAndColon) {
  EXPECT_EQ(elementsOf("aa;bb"), (Elements{"aa", "bb"}));
  EXPECT_EQ(elementsOf("aa:bb;cc"), (Elements{"aa", "bb", "cc"}));
  EXPECT_EQ(elementsOf("C:/data;."), (Elements{"C:/data", "."}));
  EXPECT_EQ(elementsOf("C:/data:D:x"), (Elements{"C:/data", "D:x"}));
  EXPECT_EQ(elementsOf("a:b"), (Elements{"a:b"}));
  EXPECT_EQ(elementsOf("a::b"), (Elements{"a:", "b"}));
  EXPECT_EQ(elementsOf(".:lib"), (Elements{".", "lib"}));
  EXPECT_EQ(elementsOf("..:lib"), (Elements{"..", "lib"}));
  EXPECT_EQ(elementsOf(":a"), (Elements{"", "a"}));
}

TEST(PathList, GivesLeadingAndInnerEmptyElementsButNoTrailingOne) {
  EXPECT_EQ(elementsOf(nullptr), (Elements{""}));
  EXPECT_EQ(elementsOf(""), (Elements{""}));
  EXPECT_EQ(elementsOf(";"), (Elements{""}));
  EXPECT_EQ(elementsOf(";aa"), (Elements{"", "aa"}));
  EXPECT_EQ(elementsOf("aa;;bb"), (Elements{"aa", "", "bb"}));
  EXPECT_EQ(elementsOf("aa;"), (Elements{"aa"}));
}

TEST(PathList, BasesAndSubPathsHaveSeparatorsOfTheirOwn) {
  EXPECT_EQ(elementsOf("a,b;cc:dd", PathSyntax::Bases), (Elements{"a", "b", "cc:dd"}));
  EXPECT_EQ(elementsOf("a,b;cc:dd", PathSyntax::SubPaths), (Elements{"a,b", "cc:dd"}));
}

}  // namespace
