#include "core/geometry/BRect.h"

#include "core/geometry/BFRect.h"

#include <gtest/gtest.h>

#include <climits>
#include <utility>

static const BRect kEverything(INT_MIN, INT_MIN, INT_MAX, INT_MAX);

static BFRect Floats(const BRect& rect)
{
    return {static_cast<float>(rect.Left()), static_cast<float>(rect.Top()),
            static_cast<float>(rect.Right()), static_cast<float>(rect.Bottom())};
}

TEST(BRect, CombinesAsThePlatformDoesAlsoInFloats)
{
    const struct {
        BRect a, b, intersection, unionRect;
    } cases[] = {
        {{0, 0, 10, 10}, {5, 6, 20, 20}, {5, 6, 10, 10}, {0, 0, 20, 20}},
        {{0, 0, 10, 10}, {2, 3, 4, 5}, {2, 3, 4, 5}, {0, 0, 10, 10}}, // one inside the other
        {{0, 0, 10, 10}, {10, 0, 20, 10}, {}, {0, 0, 20, 10}},        // side by side
        {{0, 0, 10, 10}, {0, 10, 10, 20}, {}, {0, 0, 10, 20}},        // one below the other
        {{0, 0, 2, 2}, {5, 5, 7, 7}, {}, {0, 0, 7, 7}},               // apart
        {{0, 0, 10, 10}, {30, 8, 40, 2}, {}, {0, 0, 10, 10}},         // bottom above top
        {{8, 1, 2, 5}, {3, 3, 4, 4}, {}, {3, 3, 4, 4}},               // right before left
        {{5, 5, 5, 5}, {9, 9, 1, 1}, {}, {}},                         // nothing in either
        {{INT_MIN, 0, -1, 1}, {1, 0, INT_MAX, 1}, {}, {INT_MIN, 0, INT_MAX, 1}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        EXPECT_EQ(row.a.Intersection(row.b), row.intersection);
        EXPECT_EQ(row.b.Intersection(row.a), row.intersection);
        EXPECT_EQ(row.a.Union(row.b), row.unionRect);
        EXPECT_EQ(row.b.Union(row.a), row.unionRect);
        EXPECT_EQ(Floats(row.a).Intersection(Floats(row.b)), Floats(row.intersection));
        EXPECT_EQ(Floats(row.b).Union(Floats(row.a)), Floats(row.unionRect));
    }
}

TEST(BRect, CombinesUpToFourOthers)
{
    const BRect inner(0, 0, 5, 5);
    const BRect a(1, -9, 9, 9), b(-9, 2, 9, 9), c(-9, -9, 3, 9), d(-9, -9, 9, 4);
    EXPECT_EQ(inner.Intersection(a, b, c, d), BRect(1, 2, 3, 4));
    EXPECT_EQ(Floats(inner).Intersection(Floats(a), Floats(b), Floats(c), Floats(d)),
              BFRect(1.0f, 2.0f, 3.0f, 4.0f));

    const BRect left(-9, 0, 0, 1), top(0, -8, 1, 0), right(1, 0, 7, 1), bottom(0, 1, 1, 6);
    EXPECT_EQ(inner.Union(left, top, right, bottom), BRect(-9, -8, 7, 6));
    EXPECT_EQ(Floats(inner).Union(Floats(left), Floats(top), Floats(right), Floats(bottom)),
              BFRect(-9.0f, -8.0f, 7.0f, 6.0f));
}

TEST(BRect, KnowsItsCornersAndCells)
{
    const BRect rect(1, 2, 4, 8);
    EXPECT_EQ(rect.RightTop(), BPoint(4, 2));
    EXPECT_EQ(rect.LeftBottom(), BPoint(1, 8));
    EXPECT_EQ(BRect(rect.LeftTop(), rect.Size()), rect);
    EXPECT_EQ(rect.Center(), BPoint(2, 5));
    EXPECT_EQ(BRect(-4, -8, -1, -1).Center(), BPoint(-2, -4)); // toward zero
    EXPECT_EQ(rect.Successor(BPoint(2, 2)), BPoint(3, 2));
    EXPECT_EQ(rect.Successor(BPoint(3, 7)), BPoint(1, 8)); // below the bottom
}

TEST(BRect, IsDefinedOverTheWholeRange)
{
    EXPECT_EQ(kEverything.Size(), BSize(-1, -1));
    EXPECT_EQ(BRect(INT_MAX - 2, INT_MIN, INT_MAX, INT_MIN + 2).Center(),
              BPoint(INT_MAX - 1, INT_MIN + 1));
    EXPECT_EQ(kEverything.Successor(BPoint(INT_MAX, INT_MAX)), BPoint(INT_MIN, INT_MIN));
    BRect moved = kEverything;
    moved += BPoint(1, -1);
    EXPECT_EQ(moved, BRect(INT_MIN + 1, INT_MAX, INT_MIN, INT_MAX - 1));
    moved -= BPoint(1, -1);
    EXPECT_EQ(moved, kEverything);
}

TEST(BFRect, NumbersItsCornersAroundWithTheSignOfTheIndex)
{
    const BFRect rect(1.0f, 2.0f, 3.0f, 5.0f);
    const std::pair<int, BFPoint> cases[] = {
        {0, {1.0f, 2.0f}},  {1, {1.0f, 5.0f}},  {2, {3.0f, 5.0f}},  {7, {3.0f, 2.0f}},
        {-4, {1.0f, 2.0f}}, {-1, {0.0f, 0.0f}}, {-3, {0.0f, 0.0f}}, {INT_MIN, {1.0f, 2.0f}}};
    for (const auto& [index, corner] : cases)
        EXPECT_EQ(rect.Vertex(index), corner) << index;
    EXPECT_EQ(rect.Center(), BFPoint(2.0f, 3.5f));
    EXPECT_EQ(rect.Size(), BFPoint(2.0f, 3.0f));
    EXPECT_EQ(rect.Successor(BFPoint(1.0f, 2.5f)), BFPoint(2.0f, 2.5f));
    EXPECT_EQ(rect.Successor(BFPoint(2.0f, 2.5f)), BFPoint(1.0f, 3.5f));
    BFRect moved = rect;
    moved += BFPoint(1.0f, -2.0f);
    EXPECT_EQ(moved, BFRect(2.0f, 0.0f, 4.0f, 3.0f));
    moved -= BFPoint(1.0f, -2.0f);
    EXPECT_EQ(moved, rect);
}
