#include "core/platform/CodePage.h"

#include "core/platform/WideText.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using platform::WideText;

namespace {

WideText Wide(std::string_view text)
{
    WideText wide(text.size(), QD_W('.'));
    wide.resize(platform::AnsiToWide(text.data(), text.size(), wide.data(), wide.size()));
    return wide;
}

std::string Ansi(platform::WideView text)
{
    std::string ansi(platform::WideToAnsi(text.data(), text.size(), nullptr, 0), '.');
    platform::WideToAnsi(text.data(), text.size(), ansi.data(), ansi.size());
    return ansi;
}

} // namespace

// What each unit alone becomes, the pages' own tables tell.
TEST(CodePage, PutsALookAlikeForEachUnit)
{
    const std::pair<WideText, const char*> cases[] = {
        {QD_W("\x03B1\x03B2\x03C0\x03A3\x221E\x2264"), "a\xDFpS8="},
        {QD_W("e\x0301\x0308"), "e\xB4\xA8"}, // combining accents become accents of their own
        {QD_W("\xFF21\xFF5E\x3000"), "A~ "},  // full width
        {QD_W("\xD83D\xDE00"), "??"},
        {QD_W("\xDE00q\xD83D"), "?q?"},
    };
    for (const auto& [units, bytes] : cases)
        EXPECT_EQ(Ansi(units), bytes);
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
