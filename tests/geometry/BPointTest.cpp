#include "core/geometry/BPoint.h"

#include "core/geometry/BSize.h"

#include <gtest/gtest.h>

#include <climits>

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
