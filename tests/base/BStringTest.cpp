#include "tests/base/StringTesting.h"

#include <gtest/gtest.h>

using namespace string_testing;

// What stands in both classes is tested in StringMembersTest.cpp, conversion in WStringTest.cpp.

TEST(BString, BytesAbove127AreEscaped)
{
    const BString text("caf\xE9\x80\xFF");
    BString resolved = text.Printable();
    EXPECT_EQ(Plain(resolved), "caf\\xe9\\x80\\xff");
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
