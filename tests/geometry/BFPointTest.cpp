#include "core/geometry/BFPoint.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>

TEST(BFPoint, CalculatesByCoordinate)
{
    BFPoint point(1.5f, -2.0f);
    EXPECT_EQ(point + BFPoint(1.0f, 1.0f), BFPoint(2.5f, -1.0f));
    EXPECT_EQ(point - BFPoint(1.0f, 1.0f), BFPoint(0.5f, -3.0f));
    EXPECT_EQ(point * 2.0f, BFPoint(3.0f, -4.0f));
    EXPECT_EQ(point / 2.0f, BFPoint(0.75f, -1.0f));
    point += BFPoint(0.5f, 0.0f);
    point -= BFPoint(0.0f, 2.0f);
    point *= 3.0f;
    point /= 2.0f;
    EXPECT_EQ(point, BFPoint(3.0f, -6.0f));
    EXPECT_NE(point, BFPoint(3.0f, 6.0f));
    point.X() = 0.0f;
    EXPECT_EQ(point, BFPoint(0.0f, -6.0f));
}

TEST(BFPoint, HasAFiniteLengthWhereverItFits)
{
    EXPECT_EQ(BFPoint(3.0f, -4.0f).Length(), 5.0f);
    EXPECT_EQ(BFPoint(3e30f, 4e30f).Length(), 5e30f);
    EXPECT_EQ(BFPoint(3e-30f, 4e-30f).Length(), 5e-30f);
}

TEST(BFPoint, BecomesWholeInThreeWays)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    const struct {
        float value;
        int rounded, floored, ceiled;
    } cases[] = {
        {0.0f, 0, 0, 0},
        {1.5f, 2, 1, 2},
        {-1.5f, -2, -2, -1},
        {2.5f, 3, 2, 3},
        {1.4f, 1, 1, 2},
        {-1.4f, -1, -2, -1},
        {0.49999997f, 0, 0, 1}, // the largest float below a half
        {-0.49999997f, 0, -1, 0},
        {8388609.0f, 8388609, 8388609, 8388609}, // the half is no float beside it
        {2147483520.0f, 2147483520, 2147483520, 2147483520},
        {-2147483648.0f, INT_MIN, INT_MIN, INT_MIN},
        {2147483648.0f, INT_MIN, INT_MIN, INT_MIN}, // no int holds the rest
        {-3e9f, INT_MIN, INT_MIN, INT_MIN},
        {kInfinity, INT_MIN, INT_MIN, INT_MIN},
        {-kInfinity, INT_MIN, INT_MIN, INT_MIN},
        {kNan, INT_MIN, INT_MIN, INT_MIN},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.value);
        EXPECT_EQ(BFPoint(row.value, 1.5f).Round(), BPoint(row.rounded, 2));
        EXPECT_EQ(BFPoint(1.5f, row.value).Floor(), BPoint(1, row.floored));
        EXPECT_EQ(BFPoint(row.value, 1.5f).Ceil(), BPoint(row.ceiled, 2));
    }
}
