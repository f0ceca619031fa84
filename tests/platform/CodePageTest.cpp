#include "core/platform/CodePage.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using WideText = std::basic_string<WChar>;

namespace {

WideText Wide(std::string_view text)
{
    WideText wide(text.size(), QD_W('.'));
    wide.resize(platform::AnsiToWide(text.data(), text.size(), wide.data(), wide.size()));
    return wide;
}

std::string Ansi(std::basic_string_view<WChar> text)
{
    std::string ansi(platform::WideToAnsi(text.data(), text.size(), nullptr, 0), '.');
    platform::WideToAnsi(text.data(), text.size(), ansi.data(), ansi.size());
    return ansi;
}

} // namespace

TEST(CodePage, HasAUnitForEachByte)
{
    const WideText upperControls =
        QD_W("\x20AC\x0081\x201A\x0192\x201E\x2026\x2020\x2021\x02C6\x2030\x0160\x2039\x0152"
             "\x008D\x017D\x008F\x0090\x2018\x2019\x201C\x201D\x2022\x2013\x2014\x02DC\x2122"
             "\x0161\x203A\x0153\x009D\x017E\x0178");
    std::string bytes;
    WideText units;
    for (unsigned byte = 0; byte <= 0xFF; ++byte) {
        bytes += static_cast<char>(byte);
        units +=
            byte >= 0x80 && byte <= 0x9F ? upperControls[byte - 0x80] : static_cast<WChar>(byte);
    }
    EXPECT_EQ(Wide(bytes), units);
    EXPECT_EQ(Ansi(units), bytes);
}

TEST(CodePage, PutsLookAlikesForWhatItLacks)
{
    struct Case {
        WideText units;
        const char* bytes;
    };
    const Case cases[] = {
        {QD_W("\x03B1\x03B2\x03C0\x03A3\x221E\x2264"),
         "a\xDFpS8="}, // alpha, beta, pi, Sigma, infinity
        {QD_W("\x0100\x0142\x0110\x01CE"), "Al\xD0"
                                           "a"},
        {QD_W("e\x0301\x0308"), "e\xB4\xA8"}, // combining accents become accents of their own
        {QD_W("\xFF21\xFF5E\x3000"), "A~ "},  // full width
        {QD_W("\x2010\x2212\x2032"), "--'"},
        {QD_W("\x0414\x3042\x4E2D"), "???"},
        {QD_W("\x0080\x0085\x009F"), "???"}, // control units that bytes do not stand for
        {QD_W("\xD83D\xDE00"), "??"},        // one for each half
        {QD_W("\xDE00q\xD83D"), "?q?"},
        {QD_W("\xFEFF\x200B\xFFFF"), "???"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bytes);
        EXPECT_EQ(Ansi(c.units), c.bytes);
    }
}

TEST(CodePage, ConvertsOddCharactersAnywhereInLongTexts)
{
    for (std::size_t length = 1; length < 50; ++length) {
        for (std::size_t odd = 0; odd < length; ++odd) {
            WideText units(length, QD_W('\x00FC'));
            units[0] = QD_W('a');
            units[odd] = QD_W('\x20AC');
            std::string bytes(length, '\xFC');
            bytes[0] = 'a';
            bytes[odd] = '\x80';
            ASSERT_EQ(Ansi(units), bytes);
            ASSERT_EQ(Wide(bytes), units);
        }
    }
}

TEST(CodePage, WritesNothingThatDoesNotFit)
{
    char bytes[] = "......";
    EXPECT_EQ(platform::WideToAnsi(QD_W("abcde"), 5, bytes, 4), 5u);
    EXPECT_STREQ(bytes, "......");
    EXPECT_EQ(platform::WideToAnsi(QD_W("a\0cde"), 5, bytes, 5), 5u);
    EXPECT_EQ(std::string_view(bytes, 6), std::string_view("a\0cde.", 6));
    EXPECT_EQ(platform::WideToAnsi(QD_W("xyz"), 0, bytes, 5), 0u);

    WChar units[] = QD_W("......");
    EXPECT_EQ(platform::AnsiToWide("abcde", 5, units, 4), 5u);
    EXPECT_EQ(units, WideText(QD_W("......")));
    EXPECT_EQ(platform::AnsiToWide("abcde", 5, units, 5), 5u);
    EXPECT_EQ(units, WideText(QD_W("abcde.")));
    EXPECT_EQ(platform::AnsiToWide("xyz", 0, units, 5), 0u);
}
