#include "core/geometry/BRectItr.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

static BRectItr Walk(const BRect& rect, int step)
{
    BRectItr itr(rect, BFPoint(0.0f, 0.0f), 1.0f, 1.0f);
    itr.SetStep(step);
    return itr;
}

TEST(BRectItr, VisitsTheCellsOnTheGridRowByRow)
{
    BRectItr itr = Walk(BRect(0, 0, 5, 3), 2);
    const BPoint cells[] = {{0, 0}, {2, 0}, {4, 0}, {0, 2}, {2, 2}, {4, 2}};
    for (const BPoint& cell : cells) {
        EXPECT_TRUE(itr.IsValid());
        EXPECT_EQ(itr.RelativePosition(), cell);
        ++itr;
    }
    EXPECT_FALSE(itr.IsValid());
    EXPECT_EQ(itr.StepCountX(), 3);
    EXPECT_EQ(itr.StepCountY(), 2);

    for (int i = 5; i >= 0; --i) {
        --itr;
        EXPECT_EQ(itr.RelativePosition(), cells[i]);
    }
    --itr;
    EXPECT_FALSE(itr.IsValid());
}

TEST(BRectItr, JumpsWithinTheRectangle)
{
    BRectItr itr = Walk(BRect(1, 2, 6, 9), 1);
    itr.MultiplyStep(2);
    itr.MultiplyStep(-2);
    EXPECT_EQ(itr.GetStep(), -4);
    itr.SetStep(3);
    itr.NextRow();
    EXPECT_EQ(itr.RelativePosition(), BPoint(1, 5));
    itr.Next();
    itr.PreviousRow();
    EXPECT_EQ(itr.RelativePosition(), BPoint(4, 2));
    itr.Restart();
    EXPECT_EQ(itr.RelativePosition(), BPoint(1, 2));
    itr.Next();
    itr.GotoLeftTop();
    EXPECT_EQ(itr.RelativePosition(), BPoint(1, 2));
}

TEST(BRectItr, GoesToTheLastCellEvenOffTheGrid)
{
    BRectItr itr = Walk(BRect(0, 0, 6, 4), 2);
    itr.GotoRightBottom();
    EXPECT_EQ(itr.RelativePosition(), BPoint(5, 3));
}

TEST(BRectItr, TestsOnlyTheRow)
{
    BRectItr itr = Walk(BRect(0, 0, 0, 2), 1); // no columns
    EXPECT_TRUE(itr.IsValid());
}

TEST(BRectItr, CountsCellsFromZeroAndNotFromTheCorner)
{
    BRectItr itr = Walk(BRect(4, 6, 10, 10), 2);
    EXPECT_EQ(itr.RelativePosition(), BPoint(4, 6));
    EXPECT_EQ(itr.StepPosition(), BPoint(2, 3));
}

TEST(BRectItr, MapsCellsByScaleThenOrigin)
{
    BRectItr itr(BRect(1, 2, 5, 5), BFPoint(10.0f, -20.5f), 0.5f, 2.0f);
    EXPECT_EQ(itr.PositionF(), BFPoint(10.5f, -16.5f));
    EXPECT_EQ(itr.Position(), BPoint(10, -16)); // toward zero
    EXPECT_EQ(itr++, BFPoint(10.5f, -16.5f));
    EXPECT_EQ(itr--, BFPoint(11.0f, -16.5f));
    EXPECT_EQ(itr.RelativePosition(), BPoint(1, 2));
    EXPECT_EQ(BRectItr(BRect(1, 1, 2, 2), BFPoint(0.0f, 0.0f), 1e10f, -1e10f).Position(),
              BPoint(INT_MIN, INT_MIN));
}

TEST(BRectItr, TakesNoRotationFromAMatrix)
{
    const BMatrix2x3 matrix(2.0f, 99.0f, 98.0f, 3.0f, 10.0f, 20.0f);
    EXPECT_EQ(BRectItr(BRect(1, 1, 5, 5), matrix).PositionF(), BFPoint(12.0f, 23.0f));
}

TEST(BRectItr, EndsEveryWalk)
{
    const BRect everything(INT_MIN, INT_MIN, INT_MAX, INT_MAX);
    const struct {
        BRect rect;
        int step, visited;
    } cases[] = {
        {everything, 1 << 30, 16},
        {everything, INT_MAX, 9},
        {{0, 0, 5, 3}, INT_MAX, 1},
        {{10, 10, 15, 13}, INT_MAX, 1},
        {{INT_MAX - 3, INT_MAX - 3, INT_MAX, INT_MAX}, 2, 4},
        {{0, 0, 5, 0}, 1, 0},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        BRectItr itr = Walk(row.rect, row.step);
        int visited = 0;
        for (; itr.IsValid() && visited < 100; ++itr)
            ++visited;
        EXPECT_EQ(visited, row.visited);
        EXPECT_EQ(itr.StepCountX() * itr.StepCountY(), visited);
    }
}

TEST(BRectItr, StaysInPlaceWithoutAStep)
{
    BRectItr itr = Walk(BRect(0, 0, 5, 3), 0);
    itr.Next();
    itr.Previous();
    EXPECT_EQ(itr.RelativePosition(), BPoint(0, 0));
}
