#include "core/geometry/BRectItr.h"

#include <gtest/gtest.h>

#include <climits>
#include <tuple>

static BRectItr Walk(const BRect& rect, int step)
{
    BRectItr itr(rect, BFPoint(0.0f, 0.0f), 1.0f, 1.0f);
    itr.SetStep(step);
    return itr;
}

TEST(BRectItr, VisitsTheCellsOnTheGridRowByRow)
{
    BRectItr itr = Walk(BRect(0, 0, 6, 3), 2);
    const BPoint cells[] = {{0, 0}, {2, 0}, {4, 0}, {0, 2}, {2, 2}, {4, 2}};
    for (const BPoint& cell : cells) {
        EXPECT_TRUE(itr.IsValid());
        EXPECT_EQ(itr.RelativePosition(), cell);
        ++itr;
    }
    EXPECT_FALSE(itr.IsValid());
    EXPECT_EQ(itr.StepCountX(), 3);
    EXPECT_EQ(itr.StepCountY(), 2);
    for (int i = 5; i >= 0; --i)
        EXPECT_EQ((--itr).RelativePosition(), cells[i]);
    EXPECT_FALSE((--itr).IsValid());
}

TEST(BRectItr, JumpsWhereverItIsTold)
{
    BRectItr itr = Walk(BRect(1, 2, 7, 10), -1);
    itr.MultiplyStep(-3);
    EXPECT_EQ(itr.GetStep(), 3);
    itr.NextRow();
    itr.Next();
    EXPECT_EQ(itr.RelativePosition(), BPoint(4, 5));
    itr.PreviousRow();
    EXPECT_EQ(itr.RelativePosition(), BPoint(4, 2));
    itr.Restart();
    EXPECT_EQ(itr.RelativePosition(), BPoint(1, 2));
    itr.GotoRightBottom();
    EXPECT_EQ(itr.RelativePosition(), BPoint(6, 9)); // off the grid
}

TEST(BRectItr, MapsCellsByScaleThenOriginAndNeverTurnsThem)
{
    BRectItr itr(BRect(1, 2, 5, 5), BFPoint(10.0f, -20.5f), 0.5f, 2.0f);
    EXPECT_EQ(itr.Position(), BPoint(10, -16)); // toward zero
    EXPECT_EQ(itr++, BFPoint(10.5f, -16.5f));
    EXPECT_EQ(itr--, BFPoint(11.0f, -16.5f));
    EXPECT_EQ((--itr).RelativePosition(), BPoint(4, 1));

    const BRectItr empty = Walk(BRect(4, 6, 4, 10), 2); // only the row is tested
    EXPECT_TRUE(empty.IsValid());
    EXPECT_EQ(empty.StepPosition(), BPoint(2, 3)); // from the origin

    const BMatrix2x3 matrix(2.0f, 99.0f, 98.0f, 1e10f, 10.0f, 20.0f);
    EXPECT_EQ(BRectItr(BRect(1, 1, 5, 5), matrix).Position(), BPoint(12, INT_MIN));
}

TEST(BRectItr, EndsEveryWalkButOneWithoutAStep)
{
    const BRect everything(INT_MIN, INT_MIN, INT_MAX, INT_MAX);
    const std::tuple<BRect, int, int> cases[] = {
        {everything, 1 << 30, 16},      {everything, INT_MAX, 9},
        {{10, 10, 15, 13}, INT_MAX, 1}, {{INT_MAX - 3, INT_MAX - 3, INT_MAX, INT_MAX}, 2, 4},
        {{0, 0, 5, 0}, 1, 0},
    };
    for (const auto& [rect, step, expected] : cases) {
        SCOPED_TRACE(testing::Message() << rect.Left() << " by " << step);
        BRectItr itr = Walk(rect, step);
        int visited = 0;
        for (; itr.IsValid() && visited < 100; ++itr)
            ++visited;
        EXPECT_EQ(visited, expected);
        EXPECT_EQ(itr.StepCountX() * itr.StepCountY(), visited);
    }
    BRectItr still = Walk(BRect(0, 0, 5, 3), 0);
    still.Next();
    still.Previous();
    EXPECT_EQ(still.RelativePosition(), BPoint(0, 0));
}
