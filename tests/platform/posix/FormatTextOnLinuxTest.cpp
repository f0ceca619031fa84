// What Windows documents and the runtime library under Wine does not show.

#include "core/platform/FormatText.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <limits>
#include <string>

namespace {

constexpr std::size_t kRoom = 64;

std::int64_t Measure(char (&buffer)[kRoom], const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const std::int64_t length = platform::Format(buffer, kRoom, format, arguments);
    va_end(arguments);
    return length;
}

} // namespace

TEST(FormatTextOnLinux, MeasuresGreatWidthsAndPrecisionsWithoutWritingThem)
{
    char buffer[kRoom];
    EXPECT_EQ(Measure(buffer, "%2147483647d", 5), INT_MAX);
    EXPECT_EQ(Measure(buffer, "%-*s", INT_MAX, "ab"), INT_MAX);
    EXPECT_EQ(Measure(buffer, "%*d", INT_MIN, 5), -1);
    EXPECT_EQ(Measure(buffer, "%.2147483647d", 5), INT_MAX);
    EXPECT_EQ(Measure(buffer, "%.2147483645f", 0.5), INT_MAX);
    EXPECT_EQ(Measure(buffer, "%.2147483645f", -0.5), -1);
    EXPECT_EQ(Measure(buffer, "%.2147483647e", 0.5), -1);
    EXPECT_EQ(Measure(buffer, "%.2147483647g", 0.5), 3);
    EXPECT_EQ(Measure(buffer, "%#.2147483647g", 0.0001), -1);
    EXPECT_EQ(Measure(buffer, "%.2147483640a", 1.0), INT_MAX);
    EXPECT_EQ(Measure(buffer, "%2147483647d%d", 5, 5), -1);
    EXPECT_EQ(Measure(buffer, "%2147483648d", 5), -1);
    EXPECT_EQ(Measure(buffer, "%.99999999999d", 5), -1);
    EXPECT_EQ(Measure(buffer, "%.1074f", std::numeric_limits<double>::max()), 309 + 1 + 1074);
    EXPECT_EQ(Measure(buffer, "%.1100e", std::numeric_limits<double>::denorm_min()), 1107);
}

TEST(FormatTextOnLinux, FollowsTheDocumentedConventions)
{
    char buffer[kRoom];
    Measure(buffer, "%hhd %hhu %hhx", 300, -1, 0x1234);
    EXPECT_STREQ(buffer, "44 255 34");
    Measure(buffer, "%08.3d|%#.0o|%.1p", 7, 0, nullptr);
    EXPECT_STREQ(buffer, "     007|0|0000000000000000");
    Measure(buffer, "%.0c|%5C|", 'x', 0x20AC);
    EXPECT_STREQ(buffer, "x||");
    Measure(buffer, "%f %E", std::numeric_limits<double>::signaling_NaN(), 0.0);
    EXPECT_STREQ(buffer, "nan(snan) 0.000000E+00");
    Measure(buffer, "%ld %.2Lf %d", LONG_MIN, 2.5L, 7); // the platform's types
    EXPECT_STREQ(buffer, "-9223372036854775808 2.50 7");
    Measure(buffer, "%.*f|%-10.16a|", -2, 0.5, 1.0);
    EXPECT_STREQ(buffer, "0.500000|0x1.0000000000000000p+0|");
}
