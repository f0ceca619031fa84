#include "core/units/BUnit.h"

#include "core/platform/WideText.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <string>

namespace {

using platform::WideText;

TEST(BUnit, TakesATextThatIsOneNumberAndNothingElse)
{
    const struct {
        const WChar* text;
        double converted, reverted;
        const WChar *convertedText, *revertedText, *formatted;
    } cases[] = {
        {QD_W(" \t5 \u00A0"), 10, 2.5, QD_W("10"), QD_W("2.5"), QD_W("10.00")},
        {QD_W("-1e-3"), -0.002, -0.0005, QD_W("-0.002"), QD_W("-0.0005"), QD_W("-0.00")},
        {QD_W("5 mm"), 0, 0, QD_W("0"), QD_W("0"), QD_W("5 mm")},
        {QD_W(""), 0, 0, QD_W("0"), QD_W("0"), QD_W("")},
    };
    const BUnit twice(QD_W("x"), 2, 1);
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        EXPECT_DOUBLE_EQ(twice.Convert(row.text), row.converted);
        EXPECT_DOUBLE_EQ(twice.Revert(row.text), row.reverted);
        EXPECT_EQ(WideText(twice.ConvertStr(row.text)), row.convertedText);
        EXPECT_EQ(WideText(twice.RevertStr(row.text)), row.revertedText);
        EXPECT_EQ(WideText(twice.Format(row.text, 2)), row.formatted);
    }
    EXPECT_EQ(WideText(BUnit(QD_W("\""), 1 / 25.4, 4).ConvertStr(12.5)), QD_W("0.492125984"));
    EXPECT_EQ(WideText(BUnit().RevertStr(1e12)), QD_W("1e+12"));
    EXPECT_EQ(BUnit().Precision(), 9);
}

TEST(BUnit, FormatsInFixedNotationForAnyPrecision)
{
    const WideText zeros(123, '0'), least = WideText(QD_W("0.")) + WideText(39, '0') +
                                            QD_W("7346839692639296924804603357639035486366659")
                                                QD_W("7298255470094296981642401078715920448303223");
    const struct {
        double value;
        int own, asked;
        WideText text;
    } cases[] = {
        {3.14159, 3, -1, QD_W("3.142")},
        {3.14159, 3, 0, QD_W("3")},
        {3.14159, 0, -1, QD_W("3")},
        {-0.25, -7, -7, QD_W("-0.250000")},
        {1.5, 3, 125, QD_W("1.50") + zeros}, // exactly full
        {1.5, 3, 126, QD_W("1.50") + zeros},
        {-1.5, 3, INT_MAX, QD_W("-1.5") + zeros},
        {0x1p-130, 3, 1000, least}, // of its 130 decimals 125 have room
        {std::numeric_limits<double>::infinity(), 3, 200, QD_W("inf")},
    };
    for (const auto& row : cases)
        EXPECT_EQ(WideText(BUnit(QD_W(""), 1, row.own).Format(row.value, row.asked)), row.text);

    // No digit before the full stop is ever cut.
    const WideText digits = BUnit().Format(-std::numeric_limits<double>::max(), INT_MAX).CStr();
    EXPECT_EQ(digits.size(), 310u);
    EXPECT_EQ(digits.substr(0, 17), QD_W("-1797693134862315"));
    EXPECT_EQ(digits.find('.'), WideText::npos);
    EXPECT_EQ(BUnit(QD_W(""), 1, -7).Format(1e121, -1).Length(), 127U) << "4 of 6 decimals stay";
}

} // namespace
