#include "core/geometry/BRect.h"

#include "tests/geometry/RectCases.h"

#include <gtest/gtest.h>

#include <windows.h>

// The expectations that BRect meets on every platform, put to Windows itself.
TEST(BRect, CombinesAsUser32DoesOnWindows)
{
    for (const RectCase& row : kRectCases) {
        SCOPED_TRACE(&row - kRectCases);
        BRect result(1, 1, 1, 1);
        EXPECT_EQ(::IntersectRect(result.Native(), row.a.Native(), row.b.Native()) == 0,
                  row.intersection.IsEmpty());
        EXPECT_EQ(result, row.intersection);
        EXPECT_EQ(::UnionRect(result.Native(), row.a.Native(), row.b.Native()) == 0,
                  row.unionRect.IsEmpty());
        EXPECT_EQ(result, row.unionRect);
        EXPECT_EQ(::IsRectEmpty(row.a.Native()) != 0, row.a.IsEmpty());
        EXPECT_EQ(::IsRectEmpty(row.b.Native()) != 0, row.b.IsEmpty());
    }
}
