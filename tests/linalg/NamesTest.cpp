#include "limber/names.h"

#include <gtest/gtest.h>

// A program that has a class with the same name as one of the library's must say which one it means.
namespace program {

struct Vector {
  int number = 7;
};

limber::Vector ours() { return limber::Vector(3); }

}  // namespace program

TEST(Names, AreThoseOfTheLibrary) {
  static_assert(std::is_same_v<limber::Vector, ::Vector>);
  static_assert(std::is_same_v<limber::List<int*>, ::List<int*>>);
  static_assert(!std::is_same_v<program::Vector, limber::Vector>);
  EXPECT_EQ(program::ours().size(), 3);
  EXPECT_EQ(program::Vector().number, 7);
}
