#include "tests/base/StringTesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

using namespace string_testing;

namespace {

constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();

} // namespace

// What members both classes have is tested in StringMembersTest.cpp.

TEST(WString, ConvertsThroughTheAnsiCodePage)
{
    const WString wide = QD_W("\u00E9\u20ACz\u03B1\u65E5"); // a look-alike, nothing alike
    for (const BString& narrow : {wide.AsString(), BString(wide.CStr())})
        EXPECT_EQ(Plain(narrow), "\xE9\x80za?");
    EXPECT_EQ(WString(BString("z\x80")).GetAt(1), 0x20AC);
    EXPECT_TRUE(WString(BString()).IsEmpty() && WString().AsString().IsEmpty());
    for (const BString& none : {BString(static_cast<const WChar*>(nullptr)), BString(QD_W(""))})
        EXPECT_EQ(none.CStr(0), nullptr);
    EXPECT_EQ(WString::AsChar(0xE9), '\xE9');
    EXPECT_EQ(WString::AsChar(0x65E5), '?');
}

TEST(WString, ComparesByTheUsersCollation)
{
    EXPECT_TRUE(WString(QD_W("Stra\u00DFe")) == QD_W("Strasse"));
    EXPECT_TRUE(WString(QD_W("\u00C4pfel")).IEqual(QD_W("\u00E4pfel")));
    EXPECT_FALSE(WString(QD_W("\u00C4pfel")).IStartsWith(QD_W("\u00E4"))); // ASCII letters only
    EXPECT_TRUE(WString(QD_W("ab\u00AD")).EndsWith(QD_W("\u00AD")));

    WString names[] = {QD_W("Part"), QD_W("hole"), QD_W("edge"), nullptr};
    std::qsort(names, std::size(names), sizeof *names, WString::ICmpForQSort);
    EXPECT_EQ(Plain(names[0] + names[1] + QD_W(" ") + names[2] + QD_W(" ") + names[3]),
              "edge hole Part");
}

TEST(WString, ReplaceAtWithACountMayGrow)
{
    const struct {
        const char *text, *written;
        std::size_t position, count;
        const char* result;
    } cases[] = {
        {"abcdef", "XYZ", 2, 1, "abXYZdef"}, {"abcdef", "", 1, 1, "acdef"},
        {"abcdef", "X", 2, kMost, "abX"},    {"abcdef", "X", 6, 0, "abcdefX"},
        {"abcdef", "X", 7, 0, "abcdef"},     {"", "X", 0, 9, "X"},
    };
    for (const auto& row : cases) {
        const WString original = Make<WString>(row.text);
        WString text = original;
        text.ReplaceAt(Make<WString>(row.written), row.position, row.count);
        EXPECT_EQ(Plain(text), row.result);
        EXPECT_EQ(Plain(original), row.text);
    }
    WString text = QD_W("abc");
    text.ReplaceAt(text.CStr() + 1, 1, 0);
    EXPECT_EQ(Plain(text), "abcbc");
}

TEST(WString, UnitsAbove255LoseTheirHighByteWhenEscaped)
{
    EXPECT_EQ(Plain(WString(QD_W("\uFFFF")).Printable()), "\\xff");
    EXPECT_EQ(Plain(WString(QD_W("\u00E9\u65E5")).Printable()), "\xE9?"); // printable
    EXPECT_TRUE(WString(QD_W("a\u0100")).Includes16bitChars());
    EXPECT_FALSE(WString(QD_W("a\u00FF")).Includes16bitChars());
    EXPECT_FALSE(WString().Includes16bitChars());
}

TEST(WString, BytesAreWrittenAsNibblesFromZeroToQuestionMark)
{
    const unsigned char bytes[] = {0x00, 0x19, 0xAF, 0xFA};
    WString text;
    text.EncodeMemory(bytes, sizeof bytes);
    text.EncodeMemory(nullptr, 1); // does nothing
    EXPECT_EQ(Plain(text), "0019:??:");

    unsigned char decoded[4] = {};
    ASSERT_TRUE(text.DecodeMemory(decoded, 4));
    EXPECT_TRUE(std::equal(bytes, bytes + 4, decoded));
    EXPECT_FALSE(text.DecodeMemory(decoded, 3));
    EXPECT_FALSE(text.DecodeMemory(decoded, 5));
    EXPECT_FALSE(text.DecodeMemory(decoded, (std::size_t(-1) >> 1) + 5)); // twice that is 8

    for (const WChar* bad : {QD_W("12345678@0"), QD_W("12345678/0"), QD_W("123456780\u0130")}) {
        unsigned char partly[5] = {};
        EXPECT_FALSE(WString(bad).DecodeMemory(partly, 5));
        EXPECT_EQ(partly[3], 0x78);
        EXPECT_EQ(partly[4], 0);
    }

    text.EncodeMemory(bytes, 0);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_TRUE(text.DecodeMemory(nullptr, 0));
    EXPECT_FALSE(WString(QD_W("0")).DecodeMemory(decoded, 0));
}

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
