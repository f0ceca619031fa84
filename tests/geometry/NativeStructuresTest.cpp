#include "core/geometry/BPoint.h"
#include "core/geometry/BRect.h"
#include "core/geometry/BSize.h"
#include "core/platform/Types.h"

#include <gtest/gtest.h>

// After the headers above, as an application may do it.
#if __has_include(<windows.h>)
# include <windows.h>
#endif

TEST(NativeStructures, ConvertBothWaysAndGoWhereOurTypesGo)
{
    const tagPOINT point{1, 2};
    const tagSIZE size{3, 4};
    const tagRECT rect{5, 6, 17, 18};
    const tagPOINT pointBack = BPoint(point);
    const tagSIZE sizeBack = BSize(size);
    const tagRECT rectBack = BRect(rect);

    EXPECT_TRUE(BPoint(1, 2) == point && pointBack == BPoint(1, 2) && BPoint(1, 3) != point);
    EXPECT_TRUE(BSize(3, 4) == size && sizeBack == BSize(3, 4) && BSize(3, 5) != size);
    EXPECT_TRUE(BRect(5, 6, 17, 18) == rect && rectBack == BRect(5, 6, 17, 18) && BRect() != rect);
    EXPECT_EQ(BPoint(1, 1) + size, BPoint(4, 5));
    EXPECT_EQ(BSize(1, 1) - point, BSize(0, -1));
    EXPECT_EQ(BRect(7, 0, 20, 20).Intersection(rect, rect), BRect(7, 6, 17, 18));
    EXPECT_EQ(BRect(0, 0, 2, 5).Successor(point), BPoint(0, 3));
}
