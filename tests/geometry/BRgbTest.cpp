#include "core/geometry/BRgb.h"

#include "core/geometry/BRgba.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

TEST(BRgb, LiesInMemoryAsBitmapsHaveIt)
{
    BRgb pixel(1, 2, 9);
    pixel.Blue() = 3;
    EXPECT_EQ(std::memcmp(&pixel, "\3\2\1", 3), 0);
    EXPECT_EQ(pixel.ColorRef(), 0x030201u);
    pixel.ColorRef(0xFF0A0908u);
    EXPECT_EQ(pixel, BRgb(8, 9, 10));

    BRgba withAlpha(1, 2, 3, 4);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(withAlpha), 0x01020304u);
    EXPECT_EQ(withAlpha.ColorRef(), 0x030201u);
    withAlpha.ColorRef(0xFF0A0908u);
    EXPECT_EQ(withAlpha, BRgba(8, 9, 10, 4));
}

TEST(BRgb, WrapsInASumThatLeavesAlphaToTheCaller)
{
    EXPECT_EQ(BRgb(250, 10, 10) + 10, BRgb(4, 20, 20));
    BRgba sum = BRgba(250, 10, 255, 250) + 10;
    EXPECT_EQ(sum.Rgb(), BRgb(4, 20, 9));
    sum.Alpha() = 77;
    EXPECT_EQ(sum, BRgba(4, 20, 9, 77));
}

TEST(BRgb, HoldsARelationOnlyInAllChannels)
{
    const struct {
        BRgb pixel;
        unsigned char value;
        bool less, equal, greater;
    } cases[] = {
        {{1, 2, 3}, 4, true, false, false},  {{5, 6, 7}, 4, false, false, true},
        {{4, 4, 4}, 4, false, true, false},  {{1, 2, 4}, 4, false, false, false},
        {{4, 5, 4}, 4, false, false, false}, {{4, 1, 1}, 4, false, false, false},
    };
    for (const auto& [pixel, value, less, equal, greater] : cases) {
        SCOPED_TRACE(pixel.ColorRef());
        EXPECT_EQ(pixel < value && pixel < BRgb(value), less);
        EXPECT_EQ(pixel == value && pixel == BRgb(value), equal);
        EXPECT_EQ(pixel > value && pixel > BRgb(value), greater);
        // Alpha counts in the equality of two pixels only.
        const BRgba withAlpha(pixel.Red(), pixel.Green(), pixel.Blue(), 4);
        EXPECT_EQ(withAlpha < value && withAlpha < BRgba(value), less);
        EXPECT_EQ(withAlpha == value, equal);
        EXPECT_FALSE(withAlpha == BRgba(value));
        EXPECT_EQ(withAlpha > value && withAlpha > BRgba(value), greater);
    }
}

TEST(BRgba, IsOpaqueUnlessSaidOtherwise)
{
    for (const BRgb& pixel : {BRgb(200, 2, 3), BRgb(1, 200, 3), BRgb(1, 2, 200)}) {
        EXPECT_EQ(pixel.Intensity(), 200);
        EXPECT_EQ(BRgba(pixel).Intensity(), 200);
        EXPECT_EQ(BRgba(pixel), BRgba(pixel.Red(), pixel.Green(), pixel.Blue(), 255));
    }
    BRgba pixel(1, 2, 3, 4);
    pixel = 9;
    EXPECT_EQ(pixel, BRgba(9, 9, 9, 255));
}

TEST(BRgba, TakesFloatsTruncatedAndUnclamped)
{
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(BRgba::FromFloat(0.0f, 0.5f, 1.0f, 0.999f), BRgba(0, 127, 255, 254));
    EXPECT_EQ(BRgba::FromFloat(2.0f, -0.5f, -0.001f, 1.01f), BRgba(254, 129, 0, 1));
    EXPECT_EQ(BRgba::FromFloat(1e9f, infinity, -infinity, infinity - infinity), BRgba(0, 0, 0, 0));
}
