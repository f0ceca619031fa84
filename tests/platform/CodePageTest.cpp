#include "core/platform/CodePage.h"

#include "core/platform/WideText.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using platform::WideText;

// What each unit becomes, the tables of the pages tell.
TEST(CodePage, ConvertsOddCharactersAnywhereInLongTexts)
{
    for (std::size_t length = 1; length < 50; ++length) {
        for (std::size_t odd = 0; odd < length; ++odd) {
            WideText units(length, QD_W('\x00FC')), wide(length, QD_W('.'));
            units[0] = QD_W('a');
            units[odd] = QD_W('\x20AC');
            std::string bytes(length, '\xFC'), ansi(length, '.');
            bytes[0] = 'a';
            bytes[odd] = '\x80';
            ASSERT_EQ(platform::WideToAnsi(units.data(), length, nullptr, 0), length);
            ASSERT_EQ(platform::WideToAnsi(units.data(), length, ansi.data(), length), length);
            ASSERT_EQ(ansi, bytes);
            ASSERT_EQ(platform::AnsiToWide(bytes.data(), length, wide.data(), length), length);
            ASSERT_EQ(wide, units);
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
