#include "tests/base/StringTesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>

using namespace string_testing;

namespace {

constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();

// A character of whatever type would make the sum a pointer beyond the text.
template <class Text, class Unit>
concept Adds = requires(Text text, Unit unit)
{
    text + unit;
}
|| requires(Text text, Unit unit)
{
    unit + text;
};
template <class Text, class... Unit>
constexpr bool kAddsAny = (Adds<Text, Unit> || ...);
static_assert(!kAddsAny<WString, char, char8_t, char16_t, char32_t, wchar_t>);
static_assert(!kAddsAny<BString, char, char8_t, char16_t, char32_t, wchar_t>);

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

TEST(WString, TakesUtf8AndMarksEachPieceThatIsNone)
{
    const std::string mark = "\xEF\xBF\xBD", every = "A\xC3\xA4\xE6\xB5\x8B\xF0\x9F\x98\x80";
    struct Case {
        std::string bytes, kept; // equal where all is kept
    };
    const std::string four = mark + mark + mark + mark;
    const Case cases[] = {
        {"", ""},
        {every + "12345678" + every, every + "12345678" + every},
        {mark, mark},
        {"\xEF\xBB\xBFx\xF4\x8F\xBF\xBF", "\xEF\xBB\xBFx\xF4\x8F\xBF\xBF"},
        // The examples of Unicode 15.0, tables 3-8 to 3-11.
        {"\xC0\xAF\xE0\x80\xBF\xF0\x81\x82"
         "A",
         four + four + "A"},
        {"\xED\xA0\x80\xED\xBF\xBF\xED\xAF"
         "A",
         four + four + "A"},
        {"\xF4\x91\x92\x93\xFF"
         "A\x80\xBF"
         "B",
         four + mark + "A" + mark + mark + "B"},
        {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF"
         "A",
         four + "A"},
        {"12345678\xE6\xB5", "12345678" + mark},
        {std::string("ab\0cd", 5), "ab"},
    };
    for (const auto& [bytes, kept] : cases) {
        bool isWhole = false;
        const WString text = WString::FromUtf8(bytes, &isWhole);
        EXPECT_EQ(text.AsUtf8(), kept);
        EXPECT_EQ(isWhole, bytes == kept) << kept;
    }
    EXPECT_EQ(WString::FromUtf8(every).AsView(), QD_W("A\u00E4\u6D4B\U0001F600"));
    EXPECT_EQ(WString::FromUtf8(u8"\u00E4").GetAt(0), 0xE4);
    EXPECT_TRUE(WString::FromUtf8(nullptr).IsEmpty());
}

TEST(WString, TakesAndGivesTheOtherFormsOfUnicode)
{
    const std::u16string pair = u"A\U0001F600",
                         halves = {'A', 0xDE00, 0xD83D, 0xD83D, 0xDE00, 0xD83D};
    const std::u16string marked = u"A\uFFFD\uFFFD\U0001F600\uFFFD";
    for (const auto& [given, kept] : {std::pair{pair, pair}, {halves, marked}, {u"", u""}}) {
        bool isWhole = false, isWholeOut = false;
        const WString text = WString::FromUtf16(given, &isWhole);
        EXPECT_EQ(text.AsUtf16(&isWholeOut), kept);
        EXPECT_TRUE(isWhole == (given == kept) && isWholeOut);
        const WString raw(WString(std::basic_string<WChar>(given.begin(), given.end()).c_str()));
        EXPECT_EQ(raw.AsUtf16(&isWholeOut), kept);
        EXPECT_EQ(isWholeOut, isWhole);
        EXPECT_EQ(raw.AsUtf8(&isWholeOut), text.AsUtf8());
        EXPECT_EQ(isWholeOut, isWhole);
        EXPECT_EQ(raw.AsWide(&isWholeOut), text.AsWide());
        EXPECT_EQ(isWholeOut, isWhole);
    }
    bool isWhole = false;
    EXPECT_EQ(WString::FromWide(L"\u00E4\U0001F600", &isWhole).AsUtf16(), u"\u00E4\U0001F600");
    EXPECT_EQ(WString(QD_W("\U0001F600")).AsWide(), L"\U0001F600");
    EXPECT_TRUE(isWhole);
    for (const wchar_t bad : {wchar_t(0xD83D), wchar_t(0x110000), wchar_t(-1)}) {
        if (bad == 0 || bad == 0xFFFF)
            continue; // where a wchar_t has two bytes, these are others
        EXPECT_EQ(WString::FromWide({&bad, 1}, &isWhole).GetAt(0), 0xFFFD);
        EXPECT_FALSE(isWhole);
    }
    EXPECT_EQ(WString::FromUtf16({u"a\0b", 3}, &isWhole).Length(), 1U);
    EXPECT_FALSE(isWhole);
}

TEST(BString, TakesUtf8AsFarAsTheAnsiCodePageHasIt)
{
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"a\xC3\xA4\xE2\x82\xAC", "a\xE4\x80", true},
        {"\xCE\xB1", "a", false},
        {"\xE6\x97\xA5", "?", false},
        {"\xC3", "?", false}};
    for (const auto& [bytes, narrow, isKept] : cases) {
        bool isWhole = !isKept;
        const BString text = BString::FromUtf8(bytes, &isWhole);
        EXPECT_EQ(Plain(text), narrow);
        EXPECT_EQ(isWhole, isKept);
        EXPECT_EQ(text.AsUtf8(&isWhole), isKept ? bytes : narrow);
        EXPECT_TRUE(isWhole);
    }
}

TEST(WString, GoesToAStreamAsUtf8AndIntoTheStandardTables)
{
    std::ostringstream out;
    out << WString(QD_W("\u00E4")) << BString("\xE4") << std::setw(3) << WString(QD_W("x"));
    EXPECT_EQ(out.str(), "\xC3\xA4\xC3\xA4  x");
    EXPECT_EQ(testing::PrintToString(WString(QD_W("\u00E4"))), "\xC3\xA4");

    std::unordered_map<WString, int> wide = {
        {QD_W("Stra\u00DFe"), 1}, {QD_W("a"), 2}, {WString(), 3}};
    EXPECT_EQ(wide[QD_W("Strasse")], 1); // equal by the collation
    EXPECT_EQ(wide[QD_W("")], 3);
    EXPECT_EQ(wide.count(QD_W("A")), 0U);
    std::unordered_map<BString, int> narrow = {{BString("Stra\xDF"
                                                        "e"),
                                                1}};
    EXPECT_EQ(narrow[BString("Strasse")], 1);
    EXPECT_NE(WString(QD_W("a")).Hash(), WString(QD_W("b")).Hash());
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
