#include <gtest/gtest.h>

#include "limber/Api.h"

TEST(Version, OfTheLibraryIsThatOfItsHeaders) { EXPECT_STREQ(limberVersion(), LIMBER_VERSION); }
