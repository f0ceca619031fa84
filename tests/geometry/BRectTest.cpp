#include "core/geometry/BRect.h"

#include "core/geometry/BFRect.h"

#include "tests/geometry/RectCases.h"

#include <gtest/gtest.h>

#include <climits>

TEST(BRect, CombinesAsThePlatformDoes)
{
    for (const RectCase& row : kRectCases) {
        SCOPED_TRACE(&row - kRectCases);
        EXPECT_EQ(row.a.Intersection(row.b), row.intersection);
        EXPECT_EQ(row.b.Intersection(row.a), row.intersection);
        EXPECT_EQ(row.a.Union(row.b), row.unionRect);
        EXPECT_EQ(row.b.Union(row.a), row.unionRect);
    }
}

TEST(BRect, CombinesUpToFourOthersOneAfterTheOther)
{
    const BRect all(0, 0, 100, 100);
    const BRect a(10, 0, 100, 100), b(0, 20, 100, 100), c(0, 0, 70, 100), d(0, 0, 100, 60);
    EXPECT_EQ(all.Intersection(a, b), BRect(10, 20, 100, 100));
    EXPECT_EQ(all.Intersection(a, b, c), BRect(10, 20, 70, 100));
    EXPECT_EQ(all.Intersection(a, b, c, d), BRect(10, 20, 70, 60));

    const BRect cell(0, 0, 1, 1);
    const BRect left(-9, 0, 0, 1), top(0, -8, 1, 0), right(1, 0, 7, 1), bottom(0, 1, 1, 6);
    EXPECT_EQ(cell.Union(left, top), BRect(-9, -8, 1, 1));
    EXPECT_EQ(cell.Union(left, top, right), BRect(-9, -8, 7, 1));
    EXPECT_EQ(cell.Union(left, top, right, bottom), BRect(-9, -8, 7, 6));
}

TEST(BRect, KnowsItsCornersAndItsMiddle)
{
    const BRect rect(1, 2, 4, 8);
    EXPECT_EQ(rect.Size(), BSize(3, 6));
    EXPECT_EQ(rect.LeftTop(), BPoint(1, 2));
    EXPECT_EQ(rect.RightTop(), BPoint(4, 2));
    EXPECT_EQ(rect.LeftBottom(), BPoint(1, 8));
    EXPECT_EQ(rect.RightBottom(), BPoint(4, 8));
    EXPECT_EQ(rect.Center(), BPoint(2, 5));
    EXPECT_EQ(BRect(-4, -8, -1, -1).Center(), BPoint(-2, -4)); // toward zero
    EXPECT_EQ(BRect(BPoint(1, 2), BSize(3, 6)), rect);
    EXPECT_EQ(BRect(BPoint(1, 2), BPoint(4, 8)), rect);
}

TEST(BRect, IsDefinedOverTheWholeRange)
{
    const BRect everything(INT_MIN, INT_MIN, INT_MAX, INT_MAX);
    EXPECT_EQ(everything.Size(), BSize(-1, -1));
    EXPECT_EQ(BRect(INT_MAX - 2, INT_MIN, INT_MAX, INT_MIN + 2).Center(),
              BPoint(INT_MAX - 1, INT_MIN + 1));
    EXPECT_EQ(everything.Successor(BPoint(INT_MAX, INT_MAX)), BPoint(INT_MIN, INT_MIN));
    BRect moved = everything;
    moved += BPoint(1, -1);
    EXPECT_EQ(moved, BRect(INT_MIN + 1, INT_MAX, INT_MIN, INT_MAX - 1));
    moved -= BPoint(1, -1);
    EXPECT_EQ(moved, everything);
}

TEST(BRect, FindsTheNextCellInRowOrder)
{
    const BRect rect(2, 0, 5, 3);
    EXPECT_EQ(rect.Successor(BPoint(2, 1)), BPoint(3, 1));
    EXPECT_EQ(rect.Successor(BPoint(4, 1)), BPoint(2, 2));
    EXPECT_EQ(rect.Successor(BPoint(4, 2)), BPoint(2, 3)); // below the bottom
    EXPECT_EQ(rect.Successor(BPoint(9, 1)), BPoint(2, 2));
}

TEST(BFRect, FollowsTheRulesOfBRect)
{
    for (const RectCase& row : kRectCases) {
        SCOPED_TRACE(&row - kRectCases);
        const auto floats = [](const BRect& rect) {
            return BFRect(static_cast<float>(rect.Left()), static_cast<float>(rect.Top()),
                          static_cast<float>(rect.Right()), static_cast<float>(rect.Bottom()));
        };
        EXPECT_EQ(floats(row.a).Intersection(floats(row.b)), floats(row.intersection));
        EXPECT_EQ(floats(row.b).Union(floats(row.a)), floats(row.unionRect));
    }
    const BFRect rect(0.0f, 0.0f, 4.0f, 4.0f);
    const BFRect a(1.0f, 0.0f, 9.0f, 9.0f), b(0.0f, 2.0f, 9.0f, 9.0f), c(0.0f, 0.0f, 3.0f, 9.0f);
    EXPECT_EQ(rect.Intersection(a, b, c, c), BFRect(1.0f, 2.0f, 3.0f, 4.0f));
    EXPECT_EQ(rect.Union(a, b, c, c), BFRect(0.0f, 0.0f, 9.0f, 9.0f));
}

TEST(BFRect, KnowsItsCornersAndItsMiddle)
{
    BFRect rect(1.0f, 2.0f, 4.0f, 8.5f);
    EXPECT_EQ(rect.Size(), BFPoint(3.0f, 6.5f));
    EXPECT_EQ(rect.Center(), BFPoint(2.5f, 5.25f));
    EXPECT_EQ(rect.Successor(BFPoint(3.0f, 2.0f)), BFPoint(1.0f, 3.0f));
    EXPECT_EQ(rect.Successor(BFPoint(1.5f, 2.0f)), BFPoint(2.5f, 2.0f));
    EXPECT_FALSE(rect.IsEmpty());
    EXPECT_TRUE(BFRect(1.0f, 2.0f, 1.0f, 8.5f).IsEmpty());
    EXPECT_TRUE(BFRect(1.0f, 2.0f, 4.0f, 1.5f).IsEmpty());
    rect += BFPoint(1.0f, 1.0f);
    rect -= BFPoint(0.5f, 2.0f);
    EXPECT_EQ(rect, BFRect(1.5f, 1.0f, 4.5f, 7.5f));
}

TEST(BFRect, NumbersItsCornersAroundWithTheSignOfTheIndex)
{
    const BFRect rect(1.0f, 2.0f, 3.0f, 4.0f);
    const struct {
        int index;
        BFPoint corner;
    } cases[] = {
        {0, {1.0f, 2.0f}},  {1, {1.0f, 4.0f}},  {2, {3.0f, 4.0f}},
        {3, {3.0f, 2.0f}},  {7, {3.0f, 2.0f}},  {-4, {1.0f, 2.0f}},
        {-1, {0.0f, 0.0f}}, {-3, {0.0f, 0.0f}}, {INT_MIN, {1.0f, 2.0f}},
    };
    for (const auto& row : cases)
        EXPECT_EQ(rect.Vertex(row.index), row.corner) << row.index;
}
