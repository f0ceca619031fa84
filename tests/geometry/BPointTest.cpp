#include "core/geometry/BPoint.h"

#include "core/geometry/BFPoint.h"
#include "core/geometry/BSize.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <tuple>

TEST(BPoint, CalculatesByCoordinate)
{
    BPoint point(10, -7);
    EXPECT_EQ(point - BPoint(1, 2), BPoint(9, -9));
    EXPECT_EQ(point - BSize(3, 4), BPoint(7, -11));
    EXPECT_EQ(point / 2, BPoint(5, -3)); // toward zero
    point += BPoint(1, 2);
    point -= BSize(2, 4);
    point += BSize(3, 6);
    point -= BPoint(1, 2);
    EXPECT_EQ(point, BPoint(11, -5));
    point *= 4;
    point /= 3;
    EXPECT_EQ(point, BPoint(14, -6));

    const BSize size(10, -7);
    EXPECT_EQ(size + BSize(1, 2), BSize(11, -5));
    EXPECT_EQ(size - BPoint(3, 4) + BPoint(1, 1), BSize(8, -10));
    EXPECT_EQ(size * -4 / 3, BSize(-13, 9));
    EXPECT_EQ(size.Maximum(BSize(3, 3)), BSize(10, 3));
    EXPECT_EQ(size.Minimum(BSize(3, 3)), BSize(3, -7));
}

TEST(BPoint, WrapsAtTheLimitsOfItsRange)
{
    const BPoint corner(INT_MAX, INT_MIN);
    EXPECT_EQ(corner + BPoint(1, -1), BPoint(INT_MIN, INT_MAX));
    EXPECT_EQ(corner - BPoint(-1, 1), BPoint(INT_MIN, INT_MAX));
    EXPECT_EQ(corner * LONG_MAX, BPoint(sizeof(long) == 4 ? 1 : INT_MIN + 1, INT_MIN));
    EXPECT_EQ(corner / -1, BPoint(-INT_MAX, INT_MIN));
    EXPECT_EQ(BSize(INT_MIN, 1) - BPoint(1, INT_MIN), BSize(INT_MAX, INT_MIN + 1));
}

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
    const std::tuple<float, int, int, int> cases[] = {
        {2.5f, 3, 2, 3},
        {-1.5f, -2, -2, -1},
        {0.49999997f, 0, 0, 1},                  // the largest float below a half
        {8388609.0f, 8388609, 8388609, 8388609}, // no float stands half above it
        {-2147483648.0f, INT_MIN, INT_MIN, INT_MIN},
        {2147483648.0f, INT_MIN, INT_MIN, INT_MIN}, // no int holds the rest
        {std::numeric_limits<float>::quiet_NaN(), INT_MIN, INT_MIN, INT_MIN},
    };
    for (const auto& [value, rounded, floored, ceiled] : cases) {
        SCOPED_TRACE(value);
        const BFPoint point(value, value);
        EXPECT_EQ(point.Round(), BPoint(rounded, rounded));
        EXPECT_EQ(point.Floor(), BPoint(floored, floored));
        EXPECT_EQ(point.Ceil(), BPoint(ceiled, ceiled));
    }
}
