#include "core/geometry/BPoint.h"
#include "core/geometry/BRect.h"
#include "core/geometry/BSize.h"
#include "core/platform/Types.h"

#include <gtest/gtest.h>

#if __has_include(<windows.h>)
# include <windows.h>
#endif

// The headers above were read before the platform's, as an application may do.
TEST(NativeStructures, ConvertBothWays)
{
    const tagPOINT point{1, -2};
    const tagSIZE size{3, -4};
    const tagRECT rect{5, -6, 7, -8};
    const tagPOINT pointBack = BPoint(point);
    const tagSIZE sizeBack = BSize(size);
    const tagRECT rectBack = BRect(rect);

    EXPECT_EQ(BPoint(point), BPoint(1, -2));
    EXPECT_EQ(BSize(size), BSize(3, -4));
    EXPECT_EQ(BRect(rect), BRect(5, -6, 7, -8));
    EXPECT_EQ(pointBack.x, 1);
    EXPECT_EQ(pointBack.y, -2);
    EXPECT_EQ(sizeBack.cx, 3);
    EXPECT_EQ(sizeBack.cy, -4);
    EXPECT_EQ(rectBack.left, 5);
    EXPECT_EQ(rectBack.top, -6);
    EXPECT_EQ(rectBack.right, 7);
    EXPECT_EQ(rectBack.bottom, -8);
}

TEST(NativeStructures, GoWhereOurTypesGo)
{
    const tagPOINT point{1, 2};
    const tagSIZE size{3, 4};
    const tagRECT rect{0, 0, 10, 10};

    EXPECT_TRUE(BPoint(1, 2) == point && point == BPoint(1, 2) && BPoint(1, 3) != point);
    EXPECT_TRUE(BSize(3, 4) == size && size == BSize(3, 4) && BSize(3, 5) != size);
    EXPECT_TRUE(BRect(0, 0, 10, 10) == rect && rect == BRect(0, 0, 10, 10) && BRect() != rect);
    EXPECT_EQ(BPoint(1, 1) + size, BPoint(4, 5));
    EXPECT_EQ(BSize(1, 1) - point, BSize(0, -1));
    EXPECT_EQ(BRect(2, 3, 20, 20).Intersection(rect, rect), BRect(2, 3, 10, 10));
    EXPECT_EQ(BRect(2, 3, 20, 20).Union(rect), BRect(0, 0, 20, 20));
    EXPECT_EQ(BRect(0, 0, 2, 5).Successor(point), BPoint(0, 3));
}

TEST(NativeStructures, AreSeenThroughPointers)
{
    const BRect rect(1, 2, 3, 4);
    EXPECT_EQ(static_cast<const void*>(rect.Native()), &rect);
    BPoint point;
    BSize size;
    EXPECT_EQ(static_cast<void*>(point.Native()), &point);
    EXPECT_EQ(static_cast<void*>(size.Native()), &size);
}
