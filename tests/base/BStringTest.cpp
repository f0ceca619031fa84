#include "tests/base/StringTesting.h"

#include <gtest/gtest.h>

#include <string>

using namespace string_testing;

// What stands in both classes is tested in StringMembersTest.cpp, conversion in WStringTest.cpp.

TEST(BString, IsEmptyWhenMadeFromNoWideText)
{
    const BString nothing(static_cast<const WChar*>(nullptr));
    const BString empty(QD_W(""));
    EXPECT_TRUE(nothing.IsEmpty() && empty.IsEmpty());
    EXPECT_EQ(static_cast<const void*>(nothing.CStr()), empty.CStr());
}

TEST(BString, IntegersAreReadWithoutRounding)
{
    struct Case {
        const char* text;
        bool good;
        int value;
    };
    const Case cases[] = {
        {"10", true, 10},  {" -7\t", true, -7}, {"ff", true, 255}, {"0x1F", true, 31},
        {"2.5", false, 0}, {"12 x", false, 0},  {"", false, 0},    {"g", false, 0},
    };
    for (const Case& row : cases) {
        int value = 0;
        EXPECT_EQ(BString(row.text).Convert(value), row.good) << row.text;
        if (row.good) {
            EXPECT_EQ(value, row.value) << row.text;
        }
    }
}

TEST(BString, BytesAbove127AreEscaped)
{
    const BString text("caf\xE9\x80\xFF");
    const BString printable = text.Printable();
    EXPECT_EQ(Plain(printable), "caf\\xe9\\x80\\xff");
    BString resolved = printable;
    resolved.ResolveEsc();
    EXPECT_EQ(Plain(resolved), Plain(text));
}

TEST(BString, CharactersMayComeAsUnsignedValues)
{
    BString text("a\xE9z");
    std::size_t position = 0;
    EXPECT_TRUE(text.Includes(0xE9) && text.Includes('\xE9') && text.IncludesPos(0xE9, position));
    EXPECT_EQ(position, 1u);
    EXPECT_EQ(Plain(text.SubCh(0, 0xE9)), "a");
    EXPECT_EQ(text[1], '\xE9');
    BString rest;
    EXPECT_TRUE(text.Split(rest, 0xE9, true));
    EXPECT_EQ(Plain(rest), "\xE9z");
    EXPECT_TRUE(rest.CutAfter(0xE9, false));
}

TEST(BString, AFailedPrintfKeepsTheText)
{
    BString text;
    for (const std::size_t length : {16383u, 16384u, 16385u, 20000u}) {
        const std::string expected(length, 'x');
        text.Printf("%s", expected.c_str());
        EXPECT_TRUE(Plain(text) == expected) << length;
    }
    text = "old";
    text.Printf("%*d", 1 << 28, 1);
    EXPECT_EQ(Plain(text), "old");
}
