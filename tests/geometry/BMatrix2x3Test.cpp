#include "core/geometry/BMatrix2x3.h"

#include <gtest/gtest.h>

TEST(BMatrix2x3, TakesItsCoefficientsByColumnAndCountsThemByRow)
{
    BMatrix2x3 matrix(1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f);
    EXPECT_EQ(matrix.GetCoeff(0, 1), 3.0f);
    EXPECT_EQ(matrix.GetCoeff(1, 2), 6.0f);
    EXPECT_EQ(matrix.Transform(BFPoint(10.0f, 100.0f)), BFPoint(315.0f, 426.0f));
    matrix.SetCoeff(1, 0, 7.0f);
    EXPECT_EQ(matrix, BMatrix2x3(1.0f, 7.0f, 3.0f, 4.0f, 5.0f, 6.0f));
}

TEST(BMatrix2x3, MapsThereAndBack)
{
    const BMatrix2x3 cases[] = {
        {2.0f, 0.0f, 0.0f, 4.0f, 5.0f, -6.0f}, // scale and translation
        {0.0f, 1.0f, -1.0f, 0.0f, 0.0f, 0.0f}, // a quarter turn
        {1.0f, 0.0f, 1.0f, 1.0f, 1.0f, 1.0f},  // shear
        {1.0f, 1.0f, 0.0f, 1.0f, 1.0f, 1.0f},  // shear the other way
        {1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f},  // turned, with a negative determinant
    };
    for (const BMatrix2x3& matrix : cases) {
        SCOPED_TRACE(&matrix - cases);
        for (const BFPoint& point : {BFPoint(3.0f, -7.0f), BFPoint(0.5f, 64.0f)})
            EXPECT_EQ(matrix.TransformBack(matrix.Transform(point)), point);
    }
}

TEST(BMatrix2x3, AppliesTheRightFactorFirst)
{
    const BMatrix2x3 later(1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f);
    const BMatrix2x3 first(7.0f, 8.0f, 9.0f, 10.0f, 11.0f, 12.0f);
    EXPECT_EQ(later * first, BMatrix2x3(31.0f, 46.0f, 39.0f, 58.0f, 52.0f, 76.0f));
}
