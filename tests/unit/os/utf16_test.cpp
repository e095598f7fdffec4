#include "os/utf16.h"

#include <gtest/gtest.h>

TEST(Utf16, ACodePointAboveFFFFIsAPairOfUnits) {
    const struct {
        uint32_t code, first, second;
    } rows[] = {
        {0x10000, 0xD800, 0xDC00}, {0x103FF, 0xD800, 0xDFFF},  {0x10400, 0xD801, 0xDC00},
        {0x1F600, 0xD83D, 0xDE00}, {0x10FFFF, 0xDBFF, 0xDFFF},
    };
    for (const auto &pair : rows) {
        EXPECT_EQ(utf16_first_unit(pair.code), pair.first) << pair.code;
        EXPECT_EQ(utf16_second_unit(pair.code), pair.second) << pair.code;
        EXPECT_EQ(utf16_join(pair.first, pair.second), pair.code);
    }
}

TEST(Utf16, TheUnitsOfPairsAreSurrogates) {
    for (uint32_t unit = 0; unit <= 0x10000; unit++) {
        ASSERT_EQ(utf16_is_first(unit), unit >= 0xD800 && unit <= 0xDBFF) << unit;
        ASSERT_EQ(utf16_is_second(unit), unit >= 0xDC00 && unit <= 0xDFFF) << unit;
    }
}
