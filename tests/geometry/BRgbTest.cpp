#include "core/geometry/BRgb.h"

#include "core/geometry/BRgba.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

TEST(BRgb, LiesInMemoryAsABitmapPixel)
{
    const BRgb pixel(1, 2, 3);
    EXPECT_EQ(std::memcmp(&pixel, "\3\2\1", 3), 0);
    EXPECT_EQ(pixel.ColorRef(), 0x030201u);
    BRgb copy;
    copy.ColorRef(0xFF030201u);
    EXPECT_EQ(copy, pixel);
    copy.Red() = 9;
    EXPECT_EQ(copy, BRgb(9, 2, 3));
}

TEST(BRgba, LiesInMemoryAsANumberThatEndsInAlpha)
{
    BRgba pixel(1, 2, 3, 4);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(pixel), 0x01020304u);
    EXPECT_EQ(pixel.ColorRef(), 0x030201u);
    pixel.ColorRef(0xFF0A0908u);
    EXPECT_EQ(pixel, BRgba(8, 9, 10, 4));
}

TEST(BRgba, IsOpaqueUnlessSaidOtherwise)
{
    EXPECT_EQ(BRgba(7), BRgba(7, 7, 7, 255));
    EXPECT_EQ(BRgba(BRgb(1, 2, 3)), BRgba(1, 2, 3, 255));
    BRgba pixel(1, 2, 3, 4);
    pixel = 9;
    EXPECT_EQ(pixel, BRgba(9, 9, 9, 255));
    BRgb grey;
    grey = 9;
    EXPECT_EQ(grey, BRgb(9, 9, 9));
}

TEST(BRgb, WrapsInASum)
{
    EXPECT_EQ(BRgb(250, 10, 10) + 10, BRgb(4, 20, 20));
}

TEST(BRgba, LeavesAlphaToTheCallerInASum)
{
    BRgba sum = BRgba(250, 10, 255, 250) + 10;
    EXPECT_EQ(sum.Rgb(), BRgb(4, 20, 9));
    sum.Alpha() = 77;
    EXPECT_EQ(sum, BRgba(4, 20, 9, 77));
}

TEST(BRgb, HoldsARelationOnlyInAllChannels)
{
    const struct {
        BRgb a, b;
        bool less, equal, greater;
    } cases[] = {
        {{1, 2, 3}, {2, 3, 4}, true, false, false},
        {{2, 3, 4}, {1, 2, 3}, false, false, true},
        {{1, 2, 3}, {1, 2, 3}, false, true, false},
        {{1, 2, 3}, {2, 3, 3}, false, false, false}, // blue is equal
        {{1, 2, 3}, {2, 1, 4}, false, false, false}, // green is less
        {{5, 5, 5}, 5, false, true, false},
        {{4, 4, 5}, 5, false, false, false},
        {{6, 7, 8}, 5, false, false, true},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        EXPECT_EQ(row.a < row.b, row.less);
        EXPECT_EQ(row.a == row.b, row.equal);
        EXPECT_EQ(row.a > row.b, row.greater);
        // Alpha takes part in equality alone.
        const BRgba a(row.a.Red(), row.a.Green(), row.a.Blue(), 100);
        EXPECT_EQ(a < BRgba(row.b), row.less);
        EXPECT_EQ(a > BRgba(row.b), row.greater);
        EXPECT_FALSE(a == BRgba(row.b));
        if (row.b == row.b.Red()) {
            const unsigned char value = row.b.Red();
            EXPECT_EQ(row.a < value, row.less);
            EXPECT_EQ(row.a == value, row.equal);
            EXPECT_EQ(row.a > value, row.greater);
            EXPECT_EQ(a < value, row.less);
            EXPECT_EQ(a == value, row.equal);
            EXPECT_EQ(a > value, row.greater);
        }
    }
}

TEST(BRgb, IsAsIntenseAsItsLargestChannel)
{
    EXPECT_EQ(BRgb(1, 200, 3).Intensity(), 200);
    EXPECT_EQ(BRgba(1, 2, 201, 255).Intensity(), 201);
}

TEST(BRgba, TakesFloatsTruncatedAndUnclamped)
{
    EXPECT_EQ(BRgba::FromFloat(0.0f, 0.5f, 1.0f, 0.999f), BRgba(0, 127, 255, 254));
    EXPECT_EQ(BRgba::FromFloat(2.0f, -0.5f, -0.001f, 1.01f), BRgba(254, 129, 0, 1));
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(BRgba::FromFloat(1e9f, infinity, -infinity, infinity - infinity), BRgba(0, 0, 0, 0));
}
