#include "core/geometry/BFPoint.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>

TEST(BFPoint, CalculatesByCoordinate)
{
    BFPoint point(1.5f, -2.0f);
    point += BFPoint(1.0f, 0.5f);
    point -= BFPoint(0.5f, 2.5f);
    point *= 3.0f;
    point /= 2.0f;
    EXPECT_EQ(point, BFPoint(3.0f, -6.0f));
    EXPECT_EQ(BFPoint(3e30f, -4e30f).Length(), 5e30f);
    EXPECT_EQ(BFPoint(3e-30f, 4e-30f).Length(), 5e-30f);
}

TEST(BFPoint, BecomesWholeInThreeWays)
{
    const struct {
        float value;
        int rounded, floored, ceiled;
    } cases[] = {
        {1.5f, 2, 1, 2},
        {-1.5f, -2, -2, -1},
        {2.5f, 3, 2, 3},
        {-1.4f, -1, -2, -1},
        {0.49999997f, 0, 0, 1},                  // the largest float below a half
        {8388609.0f, 8388609, 8388609, 8388609}, // no float stands half above it
        {-2147483648.0f, INT_MIN, INT_MIN, INT_MIN},
        {2147483648.0f, INT_MIN, INT_MIN, INT_MIN}, // no int holds the rest
        {-std::numeric_limits<float>::infinity(), INT_MIN, INT_MIN, INT_MIN},
        {std::numeric_limits<float>::quiet_NaN(), INT_MIN, INT_MIN, INT_MIN},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.value);
        const BFPoint point(row.value, row.value);
        EXPECT_EQ(point.Round(), BPoint(row.rounded, row.rounded));
        EXPECT_EQ(point.Floor(), BPoint(row.floored, row.floored));
        EXPECT_EQ(point.Ceil(), BPoint(row.ceiled, row.ceiled));
    }
}
