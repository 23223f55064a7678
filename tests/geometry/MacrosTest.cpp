// The headers of Windows define these words as macros. All public headers must compile with them.
#include <gtest/gtest.h>

#include <cmath>
#include <iterator>

#define small char
#define near
#define far
#define interface struct
#define IN
#define OUT
#define ERROR 0
#define min(a, b) ((a) < (b) ? (a) : (b))
#define max(a, b) ((a) > (b) ? (a) : (b))
#include "limber/limber.h"
#undef min
#undef max

TEST(Macros, OfWindowsDoNotDisturbTheHeaders) { EXPECT_EQ(Quat().w, 1.0); }
