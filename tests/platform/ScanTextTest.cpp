#include "core/platform/ScanText.h"

#include "core/platform/WideText.h"

#include "tests/platform/OffWindows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <string>

namespace {

using platform::WideText;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr int kUntouched = 77;

WideText Widened(const std::string& text)
{
    return WideText(text.begin(), text.end());
}

// The same number, zeros with their sign.
bool Same(double a, double b)
{
    return std::isnan(a) ? std::isnan(b) : a == b && std::signbit(a) == std::signbit(b);
}

} // namespace

TEST(ScanText, ScansFloatingPointNumbersThatStandAlone)
{
    struct Case {
        const char* text;
        bool isAlone;
        double value;
    };
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
    // clang-format off
    const Case cases[] = {
        {"12.6", true, 12.6}, {" \t\n\v\f\r-2.5 \r\n", true, -2.5}, {"+.5", true, 0.5},
        {"5.", true, 5}, {"1E-3", true, 0.001}, {"007e+01", true, 70}, {"-0", true, -0.0},
        {"0x1.8p1", true, 3}, {"-0XfF", true, -255}, {"0x.8", true, 0.5}, {"0x1e5", true, 485},
        {"inf", true, kInfinity}, {"-INFINITY", true, -kInfinity}, {"nan", true, kNan},
        {"1e309", true, kInfinity}, {"-1e9999999999", true, -kInfinity}, {"-1e-400", true, -0.0},
        {"0e999999999", true, 0}, {"-1e39", true, -1e39}, {"0x1p-1074", true, 5e-324},
        {"0x1p-1075", true, 0}, {"9007199254740993", true, 0x1p53},
        {"9007199254740993.0001", true, 0x1p53 + 2}, {"0x1.00000000000008p0", true, 1},
        {"0x1.000000000000081p0", true, 1 + kEpsilon}, {"7x", false, 7}, {"1 2", false, 1},
        {"1,5", false, 1}, {"1.5.5", false, 1.5}, {"info", false, kInfinity}, {"00x1", false, 0},
        {"1e5.", false, 100000},
    };
    const Case documented[] = {
        {"1d5", false, 1}, {"nan()", true, kNan}, {"-nan(ind)", true, kNan},
        {"NAN(SNAN)", true, kNan}, {"nan(a_1) ", true, kNan}, {"nan(", false, kUntouched},
        {"nan(a", false, kUntouched}, {"nan(a b)", false, kUntouched},
    };
    // clang-format on
    const auto check = [](const char* text, bool isAlone, double value) {
        SCOPED_TRACE(text);
        double wide = kUntouched, narrow = kUntouched;
        float wideFloat = kUntouched, narrowFloat = kUntouched;
        EXPECT_EQ(platform::ScanDouble(Widened(text).c_str(), wide), isAlone);
        EXPECT_EQ(platform::ScanDouble(text, narrow), isAlone);
        EXPECT_EQ(platform::ScanFloat(Widened(text).c_str(), wideFloat), isAlone);
        EXPECT_EQ(platform::ScanFloat(text, narrowFloat), isAlone);
        EXPECT_TRUE(Same(wide, value) && Same(narrow, value)) << wide << ' ' << narrow;
        const auto single = static_cast<float>(value);
        EXPECT_TRUE(Same(wideFloat, single) && Same(narrowFloat, single)) << wideFloat;
    };
    for (const Case& row : cases)
        check(row.text, row.isAlone, row.value);
    for (const Case& row : documented) {
        if (kIsOffWindows)
            check(row.text, row.isAlone, row.value);
    }
    // A scanner that has read into an exponent or a word cannot go back.
    for (const char* text : {"1e", "1e+", "1e+x", "0x1p", "infin", "ix", "na", "0x", "0x.p1", ".",
                             "-", "+-1", "- 1", "", " ", "e5"})
        check(text, false, kUntouched);
}

TEST(ScanText, ScansIntegersThatStandAlone)
{
    struct Case {
        const char* text;
        bool isHex;
        int hex;
        bool isDecimal;
        int decimal;
    };
    // clang-format off
    const Case cases[] = {
        {"10", true, 16, true, 10}, {" \t-7 ", true, -7, true, -7}, {"+08", true, 8, true, 8},
        {"ff", true, 255, false, kUntouched}, {"-0X10", true, -16, false, 0},
        {"FFFFFFFF", true, -1, false, kUntouched}, {"12 x", false, 18, false, 12},
        {"2.5", false, 2, false, 2}, {"0x", false, kUntouched, false, 0},
        {"0x+4", false, kUntouched, false, 0}, {"x10", false, kUntouched, false, kUntouched},
        {"2147483648", true, 0x47483648, true, INT_MIN}, // cut to 32 bits
        {"4294967297", true, static_cast<int>(0x94967297), true, 1},
        {"--1", false, kUntouched, false, kUntouched}, {"", false, kUntouched, false, kUntouched},
    };
    // Beyond 64 bits it is the lower half of the greatest or least.
    const Case documented[] = {
        {"9223372036854775808", true, -1, true, -1}, {"-9223372036854775809", true, -1, true, 0},
        {"-12345678123456780", true, -1, true, -789534988},
    };
    // clang-format on
    const auto check = [](const Case& row) {
        SCOPED_TRACE(row.text);
        int wide = kUntouched, narrow = kUntouched, decimal = kUntouched;
        EXPECT_EQ(platform::ScanHex(Widened(row.text).c_str(), wide), row.isHex);
        EXPECT_EQ(platform::ScanHex(row.text, narrow), row.isHex);
        EXPECT_EQ(platform::ScanInt(row.text, decimal), row.isDecimal);
        EXPECT_EQ(wide, row.hex);
        EXPECT_EQ(narrow, row.hex);
        EXPECT_EQ(decimal, row.decimal);
    };
    std::ranges::for_each(cases, check);
    if (kIsOffWindows)
        std::ranges::for_each(documented, check);
}

TEST(ScanText, ParsesTheNumberThatATextBeginsWith)
{
    struct Case {
        const char* text;
        int integer;
        double real;
        unsigned long hex;
        int hexLength; // up to the end that is told
    };
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    // clang-format off
    const Case cases[] = {
        {"12abc", 12, 12, 0x12ABC, 5}, {"  -7.25e1x", -7, -72.5, 0xFFFFFFF9, 4},
        {"1e", 1, 1, 0x1E, 2}, {"1e+", 1, 1, 0x1E, 2}, {"infin", 0, kInfinity, 0, 0},
        {"nan(x", 0, kNan, 0, 0}, {"0x10", 0, 16, 0x10, 4}, {"0x4g", 0, 4, 4, 3},
        {"0x", 0, 0, 0, 0}, {"0x+4", 0, 0, 0, 0}, {"-.", 0, 0, 0, 0}, {"", 0, 0, 0, 0},
        {" ", 0, 0, 0, 0}, {"fFx", 0, 0, 0xFF, 2}, {" +1a", 1, 1, 0x1A, 4},
        {"100000000", 100'000'000, 1e8, 0xFFFFFFFF, 9},
        {"2147483648", INT_MAX, 2147483648.0, 0xFFFFFFFF, 10},
        {"-99999999999999999999", INT_MIN, -1e20, kIsOffWindows ? 0xFFFFFFFF : 1, 21}, // Wine: +1
    };
    // clang-format on
    for (const Case& row : cases) {
        SCOPED_TRACE(row.text);
        const WideText text = Widened(row.text);
        EXPECT_EQ(platform::ParseInt(text.c_str()), row.integer);
        EXPECT_EQ(platform::ParseInt(row.text), row.integer);
        EXPECT_TRUE(Same(platform::ParseDouble(text.c_str()), row.real));
        EXPECT_TRUE(Same(platform::ParseDouble(row.text), row.real));
        const WChar* wideEnd = nullptr;
        const char* narrowEnd = nullptr;
        EXPECT_EQ(platform::ParseHex(text.c_str(), wideEnd), row.hex);
        EXPECT_EQ(wideEnd - text.c_str(), row.hexLength);
        EXPECT_EQ(platform::ParseHex(row.text, narrowEnd), row.hex);
        EXPECT_EQ(narrowEnd - row.text, row.hexLength);
    }
}

TEST(ScanText, KnowsTheWhiteSpaceAndDigitsOfEveryScriptInWideTexts)
{
    const WChar* const blanks = QD_W("\x00A0\x0085\x3000\x2003");
    double value = 0;
    EXPECT_TRUE(platform::ScanDouble((blanks + WideText(QD_W("5")) + blanks).c_str(), value));
    EXPECT_EQ(value, 5);
    EXPECT_FALSE(platform::ScanDouble(QD_W("\u200B5"), value));
    EXPECT_FALSE(platform::ScanDouble("\2405", value)); // a no-break space of one byte

    // The zeros of the scripts.
    const WideText zeros = QD_W("\x0660\x06F0\x0966\x09E6\x0A66\x0AE6\x0B66\x0C66\x0CE6\x0D66"
                                "\x0E50\x0ED0\x0F20\x1040\x17E0\x1810\xFF10");
    for (const WChar zero : zeros) {
        SCOPED_TRACE(static_cast<unsigned>(zero));
        const auto nine = static_cast<WChar>(zero + 9);
        const WChar text[] = {static_cast<WChar>(zero + 4), nine, static_cast<WChar>(nine + 1), 0};
        const WChar* end = nullptr;
        EXPECT_EQ(platform::ParseHex(text, end), 0x49U);
        EXPECT_EQ(end, text + 2);
        EXPECT_EQ(platform::ParseInt(text), 49);
    }
    EXPECT_EQ(platform::ParseInt(QD_W("\x00B2")), 0);
    EXPECT_EQ(platform::ParseInt("\xB2"), 0);
}

TEST(ScanText, ReadsAMillionDigits)
{
    const std::size_t count = 1'000'000;
    const std::string zeros(count, '0');
    EXPECT_EQ(platform::ParseDouble(('1' + zeros).c_str()), kInfinity);
    EXPECT_EQ(platform::ParseDouble(("0." + zeros + "1").c_str()), 0);
    EXPECT_EQ(platform::ParseDouble(Widened(zeros + "1.5").c_str()), 1.5);
    EXPECT_EQ(platform::ParseDouble(("9007199254740993." + zeros + "1").c_str()),
              9007199254740994.0);
    EXPECT_EQ(platform::ParseDouble(("0x1." + zeros + "1").c_str()), 1);
    EXPECT_EQ(platform::ParseInt((zeros + "12").c_str()), 12);
}

TEST(ScanText, FollowsTheDocumentedConventions)
{
    if (!kIsOffWindows)
        return;
    EXPECT_EQ(platform::ParseDouble("1D5"), 1);
    EXPECT_TRUE(std::isnan(platform::ParseDouble("nan(")));

    // The digits of other scripts, also in an exponent.
    double number = 0;
    EXPECT_TRUE(platform::ScanDouble(QD_W("\xFF14\x0661.\x0665"
                                          "e\xFF11"),
                                     number));
    EXPECT_EQ(number, 415);
    int integer = 0;
    EXPECT_TRUE(platform::ScanHex(QD_W("0x\xFF14\xFF11"), integer));
    EXPECT_EQ(integer, 0x41);
    const char* end = nullptr;
    EXPECT_EQ(platform::ParseHex("-100000000", end), 0xFFFFFFFFUL);

    // A float is rounded once.
    float single = 0;
    EXPECT_TRUE(platform::ScanFloat("1.00000005960464477540", single));
    EXPECT_EQ(single, 1.00000011920928955F);
}
