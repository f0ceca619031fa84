#include "core/platform/FormatText.h"

#include "core/platform/WideText.h"

#include "tests/platform/OffWindows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <string>
#include <tuple>

namespace {

using platform::WideText;

constexpr std::size_t kRoom = 512;

// ASCII as it is, other units as "<HEX>".
template <typename Char>
std::string Shown(const Char* text, std::size_t length)
{
    std::string shown;
    for (std::size_t i = 0; i < length; ++i) {
        const unsigned unit = std::make_unsigned_t<Char>(text[i]);
        char hex[platform::kIntegerTextRoom];
        if (unit >= ' ' && unit < 0x7F)
            shown += static_cast<char>(unit);
        else if (platform::IntegerText(unit, 16, hex) > 0)
            shown += '<' + std::string(hex) + '>';
    }
    return shown;
}

template <typename Char>
std::int64_t Measure(Char* buffer, std::size_t room, const Char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const std::int64_t length = platform::Format(buffer, room, format, arguments);
    va_end(arguments);
    return length;
}

// What a format of either width makes of its arguments, where room for all of it lacks, too.
template <typename Char, typename... Arguments>
std::string Text(const Char* format, Arguments... arguments)
{
    Char buffer[kRoom];
    const std::int64_t length = Measure(buffer, kRoom, format, arguments...);
    if (length < 0 || length >= static_cast<std::int64_t>(kRoom))
        return "length " + std::to_string(length);
    const auto count = static_cast<std::size_t>(length);
    const std::string shown =
        Shown(buffer, count) + (buffer[count] == 0 ? "" : " and no terminator");
    for (const std::size_t room : {count, count / 2}) {
        constexpr Char behind = 0x7E;
        std::fill(buffer, buffer + kRoom, behind);
        const std::int64_t again = Measure(buffer, room, format, arguments...);
        if (again != length || std::count(buffer + room, buffer + kRoom, behind) !=
                                   static_cast<std::ptrdiff_t>(kRoom - room))
            return shown + ", but " + std::to_string(again) + " with room for " +
                   std::to_string(room);
    }
    return shown;
}

const std::string kFailure = "length -1";

} // namespace

TEST(FormatText, WritesIntegers)
{
    constexpr long long kLong = 0x123456789ABCDEF;
    EXPECT_EQ(Text(QD_W("%d %i %u"), -5, 7, -1), "-5 7 4294967295");
    EXPECT_EQ(Text(QD_W("%5d|%-5d|%05d|%+d|% d|%+ d"), 42, 42, -42, 42, 42, 42),
              "   42|42   |-0042|+42| 42|+42");
    EXPECT_EQ(Text(QD_W("%-05d|%.3d|%6.3d|%.0d|%+.0d"), 42, 7, -7, 0, 0), "42   |007|  -007||+");
    EXPECT_EQ(Text(QD_W("%x %X %#x %#X %#x %o %#o %#o"), 255, 255, 255, 255, 0, 8, 8, 0),
              "ff FF 0xff 0XFF 0 10 010 0");
    EXPECT_EQ(Text(QD_W("%#8x|%#08x|%-#8x|%+u"), 255, 255, 255, 1), "    0xff|0x0000ff|0xff    |1");
    EXPECT_EQ(Text(QD_W("%hd %hu %hd"), 70'000, 70'000, 40'000), "4464 4464 -25536");
    EXPECT_EQ(Text(QD_W("%lld %I64d %Id %jd"), kLong, kLong, kLong, kLong),
              "81985529216486895 81985529216486895 81985529216486895 81985529216486895");
    EXPECT_EQ(Text(QD_W("%zu %td %I64x %I32d"), kLong, -kLong, -1LL, 5),
              "81985529216486895 -81985529216486895 ffffffffffffffff 5");
    EXPECT_EQ(Text(QD_W("%lld %d %ld"), LLONG_MIN, INT_MIN, -7L),
              "-9223372036854775808 -2147483648 -7");
    EXPECT_EQ(Text(QD_W("%p|%20p"), reinterpret_cast<void*>(0xABC), nullptr),
              "0000000000000ABC|    0000000000000000");
    EXPECT_EQ(Text(QD_W("%*d|%*d|%-*d|%.*d|%.*d"), 4, 7, -4, 7, 4, 7, 3, 7, -3, 7),
              "   7|7   |7   |007|7");
    EXPECT_EQ(Text(QD_W("%0*2d|%*0d|%*3d|"), 5, 7, 5, 7, -5, 7), "07|7|7  |"); // digits override
    EXPECT_EQ(Text("%s%03d", "Point", 7), "Point007");
}

TEST(FormatText, WritesFloatingPointNumbers)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const double kMinusNan = std::copysign(kNan, -1.0);
    // Ties go to the even neighbour; what stands alone gets a full stop, and zeros stay.
    // clang-format off
    const std::tuple<const char*, double, const char*> cases[] = {
        {"%f", 1.5, "1.500000"}, {"%.2lf", -0.001, "-0.00"}, {"%+.1f", 2, "+2.0"},
        {"%08.2f", -3.14159, "-0003.14"}, {"%-8.2f|", 3.14159, "3.14    |"},
        {"%.20f", 0.1, "0.10000000000000000555"}, {"%.0f", 1e22, "10000000000000000000000"},
        {"%.0f", 0.5, "0"}, {"%.0f", 1.5, "2"}, {"%.0f", 2.5, "2"}, {"%.1f", 0.25, "0.2"},
        {"%.2e", 1.125, "1.12e+00"}, {"%e", 0, "0.000000e+00"}, {"%E", 1234.5678, "1.234568E+03"},
        {"%.0e", 1e300, "1e+300"}, {"%g", 1e10, "1e+10"}, {"%g", 0.00001, "1e-05"},
        {"%g", 0.0001, "0.0001"}, {"%g", 999999.5, "1e+06"}, {"%G", 5e-324, "4.94066E-324"},
        {"%.15g", 0.1, "0.1"}, {"%.17g", 0.1, "0.10000000000000001"}, {"%.0g", 25, "2e+01"},
        {"%#3.0f", 3, " 3."}, {"%#.0e", 3, "3.e+00"}, {"%#g", 100000, "100000."},
        {"%#g", 1e-5, "1.00000e-05"}, {"%#.3g", 0, "0.00"}, {"%#.3g", 999.5, "1.00e+03"},
        {"%#.3g", 1e-4, "0.000100"}, {"%.1a", 1.03125, "0x1.0p+0"}, {"%.1a", 1.09375, "0x1.2p+0"},
        {"%+09.2f", 3.14159, "+00003.14"}, {"%-9.1e|", -1.25, "-1.2e+00 |"},
        {"%a", 1, "0x1.0000000000000p+0"},
        {"%A", -0.1, "-0X1.999999999999AP-4"}, {"%a", 5e-324, "0x0.0000000000001p-1022"},
        {"%.0a", 1.5, "0x2p+0"}, {"%.2a", 1.998046875, "0x2.00p+0"}, {"%#.0a", 0, "0x0.p+0"},
        {"%g", kInfinity, "inf"}, {"%F", -kInfinity, "-INF"}, {"%08g", kInfinity, "     inf"},
        {"%+.3a", kNan, "+nan"}, {"%E", kMinusNan, "-NAN(IND)"},
    };
    // clang-format on
    for (const auto& [format, value, text] : cases)
        EXPECT_EQ(Text(format, value), text);
}

TEST(FormatText, WritesTextsOfEitherWidth)
{
    const WChar* const wide = QD_W("\x20AC"
                                   "uro");
    const WChar* const latin = QD_W("\x00E4"
                                    "b");
    const char* const narrow = "\x80\xE9z";
    EXPECT_EQ(Text(QD_W("%s %ls %ws %lS %.2s"), wide, wide, wide, wide, wide),
              "<20ac>uro <20ac>uro <20ac>uro <20ac>uro <20ac>u");
    EXPECT_EQ(Text(QD_W("%S %hs %hS %.1S"), narrow, narrow, narrow, narrow),
              "<80><e9>z <80><e9>z <80><e9>z <80>");
    EXPECT_EQ(Text(QD_W("%5s|%-5s|%05s|%.0s|"), latin, latin, latin, latin),
              "   <e4>b|<e4>b   |000<e4>b||");
    EXPECT_EQ(Text(QD_W("%s %S %.3s %010s"), nullptr, nullptr, nullptr, nullptr),
              "(null) (null) (nu 0000(null)");
    EXPECT_EQ(Text(QD_W("%c%C%hc%lc%3c|%-3c|%c"), 0x20AC, 0xE9, 0x1E9, 0x20AC, 'x', 'y', 0),
              "<20ac><e9><e9><20ac>  x|y  |<0>");
    EXPECT_EQ(Text("%s %S %ls %hs", narrow, latin, latin, narrow),
              "<80><e9>z <e4>b <e4>b <80><e9>z");
    EXPECT_EQ(Text("%c%C%lc|%C|%3c", 0xE9, 0xE9, 'x', 0x20AC, 'y'), "<e9><e9>x||  y");
    EXPECT_EQ(Text("%.1S", wide + 1), "u");
    EXPECT_EQ(Text("%S", wide), kFailure);
    EXPECT_EQ(Text(QD_W("100%%")), "100%");
}

TEST(FormatText, FailsWhereTheFormatIsWrong)
{
    const WChar* const formats[] = {QD_W("%"),   QD_W("a%"),      QD_W("%5"),   QD_W("%l"),
                                    QD_W("%y"),  QD_W("%D"),      QD_W("%5.%"), QD_W("%I"),
                                    QD_W("%Is"), QD_W("%5.3.2d"), QD_W("%5*d"), QD_W("%\x00E9")};
    for (const WChar* const format : formats)
        EXPECT_EQ(Text(format, 1, 2, 3), kFailure);
    EXPECT_EQ(Text("%\xE9", 1), kFailure);

    int count = 77;
    EXPECT_EQ(Text(QD_W("%d%n"), 5, &count), kFailure);
    EXPECT_EQ(Text("%d%n", 5, &count), kFailure);
    EXPECT_EQ(count, 77);
}

// In a process of its own: a locale leaves traces in the runtime library after it is set back.
TEST(FormatTextDeathTest, KeepsTheFullStopInEveryLocale)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            for (const char* const name : {"de_DE.UTF-8", "de-DE"})
                std::setlocale(LC_ALL, name); // where it is known
            const bool isAsEver = Text(QD_W("%g %.1f"), 1.5, 2.5) == "1.5 2.5" &&
                                  Text("%g %.1f", 1.5, 2.5) == "1.5 2.5" &&
                                  Text(QD_W("%S"), "\x80") == "<80>";
            std::_Exit(isAsEver ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(FormatText, WritesIntegersToEveryRadix)
{
    // clang-format off
    const std::tuple<std::int64_t, int, std::string> cases[] = {
        {0, 10, "0"}, {-1, 10, "-1"}, {INT64_MIN, 10, "-9223372036854775808"}, {35, 36, "z"},
        {255, 16, "ff"}, {-1, 16, "ffffffffffffffff"}, {-1, 2, std::string(64, '1')},
        {5, 1, ""}, {5, 37, ""}, {5, -10, ""},
    };
    // clang-format on
    for (const auto& [value, radix, text] : cases) {
        SCOPED_TRACE(text);
        WChar wide[platform::kIntegerTextRoom];
        char narrow[platform::kIntegerTextRoom];
        EXPECT_EQ(platform::IntegerText(value, radix, wide), text.size());
        EXPECT_EQ(platform::IntegerText(value, radix, narrow), text.size());
        if (!text.empty()) {
            EXPECT_EQ(Shown(wide, text.size() + 1), text + "<0>");
            EXPECT_EQ(narrow, text);
        }
    }
}

TEST(FormatText, MeasuresGreatWidthsAndPrecisionsWithoutWritingThem)
{
    if (!kIsOffWindows)
        return;
    char none = 0;
    const auto length = [&none](const char* format, auto... arguments) {
        return Measure(&none, 0, format, arguments...);
    };
    EXPECT_EQ(length("%2147483647d", 5), INT_MAX);
    EXPECT_EQ(length("%-*s", INT_MAX, "ab"), INT_MAX);
    EXPECT_EQ(length("%*d", INT_MIN, 5), -1);
    EXPECT_EQ(length("%.2147483647d", 5), INT_MAX);
    EXPECT_EQ(length("%.2147483645f", 0.5), INT_MAX);
    EXPECT_EQ(length("%.2147483645f", -0.5), -1);
    EXPECT_EQ(length("%.2147483647e", 0.5), -1);
    EXPECT_EQ(length("%.2147483647g", 0.5), 3);
    EXPECT_EQ(length("%#.2147483647g", 0.0001), -1);
    EXPECT_EQ(length("%.2147483640a", 1.0), INT_MAX);
    EXPECT_EQ(length("%.*a", INT_MIN, 1.0), 20);
    EXPECT_EQ(length("%2147483647d%d", 5, 5), -1);
    EXPECT_EQ(length("%2147483648d", 5), -1);
    EXPECT_EQ(length("%.99999999999d", 5), -1);
    EXPECT_EQ(length("%.1074f", std::numeric_limits<double>::max()), 309 + 1 + 1074);
    EXPECT_EQ(length("%.1100e", std::numeric_limits<double>::denorm_min()), 1107);
}

TEST(FormatText, FollowsTheDocumentedConventions)
{
    if (!kIsOffWindows)
        return;
    EXPECT_EQ(Text("%hhd %hhu %hhx", 300, -1, 0x1234), "44 255 34");
    EXPECT_EQ(Text("%08.3d|%#.0o|%.1p", 7, 0, nullptr), "     007|0|0000000000000000");
    EXPECT_EQ(Text("%.0c|%5C|", 'x', 0x20AC), "x||");
    EXPECT_EQ(Text("%f %E", std::numeric_limits<double>::signaling_NaN(), 0.0),
              "nan(snan) 0.000000E+00");
    // The platform's types.
    EXPECT_EQ(Text("%ld %.2Lf %d", LONG_MIN, 2.5L, 7), "-9223372036854775808 2.50 7");
    EXPECT_EQ(Text("%.*f|%-10.16a|", -2, 0.5, 1.0), "0.500000|0x1.0000000000000000p+0|");
}
