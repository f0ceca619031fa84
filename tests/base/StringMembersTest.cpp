#include "tests/base/StringTesting.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace std::string_literals;
using namespace string_testing;

namespace {

constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();

// The members that WString and BString have in common.
template <class String>
class StringMembers : public testing::Test {};

/// Splits at a full stop.
template <class String>
std::string RestOfSplit(String& text, bool atTheFirst)
{
    String rest = Make<String>("old");
    const bool split = text.Split(rest, '.', atTheFirst);
    EXPECT_NE(split, rest.IsEmpty());
    return Plain(rest);
}

struct Names {
    template <class String>
    static std::string GetName(int)
    {
        return sizeof(Char<String>) == 1 ? "BString" : "WString";
    }
};

} // namespace

using Both = testing::Types<WString, BString>;
TYPED_TEST_SUITE(StringMembers, Both, Names);

TYPED_TEST(StringMembers, EveryFormOfTheEmptyTextIsTheSame)
{
    using S = TypeParam;
    S cleared = Make<S>("text");
    cleared.Clear();
    S removed = Make<S>("text");
    removed.Remove(0, kMost);
    S moved = Make<S>("text");
    const S taken = std::move(moved);
    S writable;
    ASSERT_NE(writable.Str(), nullptr);

    const S empties[] = {S(), S(nullptr), Make<S>(""), cleared, removed, moved, writable};
    for (const S& empty : empties) {
        EXPECT_TRUE(empty.IsEmpty());
        EXPECT_EQ(empty.Length(), 0u);
        ASSERT_NE(empty.CStr(), nullptr);
        EXPECT_EQ(*empty.CStr(), 0);
        EXPECT_EQ(empty.GetAt(0), 0);
        EXPECT_TRUE(empty == nullptr);
        EXPECT_TRUE(empty == S());
        EXPECT_TRUE(empty.IsAlpha() && empty.IsDigit() && empty.IsNumeric() && empty.IsPrint());
        EXPECT_TRUE(empty.IsAlphaNum() && empty.IsAlphaNumUnderscore() && empty.IsCharSet(nullptr));
        EXPECT_FALSE(empty.StartsWith(S()));
        EXPECT_FALSE(empty.EndsWith(S()));
        EXPECT_TRUE(empty.StartsWith(nullptr));
        EXPECT_TRUE(empty.IEndsWith(nullptr));
    }
    EXPECT_EQ(S().CStr(0), nullptr);
}

// Each row is run on a text of its own and on a shared one, which must not change with the copy.
TYPED_TEST(StringMembers, EditsChangeOneStringAndNoCopyOfIt)
{
    using S = TypeParam;
    using C = Char<S>;
    struct Case {
        const char* before;
        void (*edit)(S&);
        const char* after;
    };
    const Case cases[] = {
        {"abc", [](S& s) { s.Append(Make<S>("de").CStr()); }, "abcde"},
        {"abc", [](S& s) { s += Make<S>(""); }, "abc"},
        {"abc", [](S& s) { s += static_cast<const C*>(nullptr); }, "abc"},
        {"", [](S& s) { s += C('x'); }, "x"},
        {"abc", [](S& s) { s.Prepend(Make<S>("de")); }, "deabc"},
        {"abc", [](S& s) { s.Prepend(C('x')); }, "xabc"},
        {"", [](S& s) { s.Prepend(Make<S>("de").CStr()); }, "de"},
        {"abc", [](S& s) { s.Insert(Make<S>("de"), 0).Insert(C('f'), 5); }, "deabcf"},
        {"abc", [](S& s) { s.Insert(Make<S>("de"), 4).Insert(nullptr, 1); }, "abc"},
        {"", [](S& s) { s.Insert(Make<S>("x"), 1); }, ""},
        {"", [](S& s) { s.Insert(Make<S>("x"), 0); }, "x"},
        {"abc", [](S& s) { s.Remove(1, 1); }, "ac"},
        {"abc", [](S& s) { s.Remove(1, kMost); }, "a"},
        {"abc", [](S& s) { s.Remove(3, 1); }, "abc"},
        {"abc", [](S& s) { s.Remove(kMost, kMost); }, "abc"},
        {"abc", [](S& s) { s.ReplaceAt(Make<S>("xyz"), 1); }, "axy"},
        {"abc", [](S& s) { s.ReplaceAt(Make<S>("x"), 0); }, "xbc"},
        {"abc", [](S& s) { s.ReplaceAt(Make<S>("x"), 3); }, "abc"},
        {"abc", [](S& s) { s.ReplaceAt(nullptr, 0); }, "abc"},
        {"abc", [](S& s) { s.SetAt(1, C('x')); }, "axc"},
        {"abc", [](S& s) { s.Str()[2] = C('x'); }, "abx"},
        {"abc", [](S& s) { s.Fill(5, C('x')); }, "xxxxx"},
        {"abc", [](S& s) { s.Fill(0, C('x')); }, ""},
        {"abc", [](S& s) { s = Make<S>("x").CStr(); }, "x"},
        {"abc", [](S& s) { s = nullptr; }, ""},
        {"a.b.c", [](S& s) { EXPECT_EQ(Plain(s.Cut(2)), "b.c"); }, "a."},
        {"a.b.c", [](S& s) { EXPECT_EQ(Plain(s.Cut(5)), ""); }, "a.b.c"},
        {"a.b.c", [](S& s) { EXPECT_EQ(Plain(s.Cut(2, 1)), "b"); }, "a..c"},
        {"a.b.c", [](S& s) { EXPECT_EQ(Plain(s.Cut(3, kMost)), ".c"); }, "a.b"},
        {"a.b.c", [](S& s) { EXPECT_TRUE(s.CutAt(4)); }, "a.b."},
        {"a.b.c", [](S& s) { EXPECT_FALSE(s.CutAt(5)); }, "a.b.c"},
        {"a.b.c", [](S& s) { EXPECT_TRUE(s.CutAfter('.', true)); }, "a."},
        {"a.b.c", [](S& s) { EXPECT_TRUE(s.CutAfter('.', false)); }, "a.b."},
        {"a.b.", [](S& s) { EXPECT_FALSE(s.CutAfter('.', false)); }, "a.b."},
        {"a.b.", [](S& s) { EXPECT_FALSE(s.CutAfter('x', true) || s.CutAfter(0, true)); }, "a.b."},
        {"a.b.c", [](S& s) { EXPECT_EQ(RestOfSplit(s, true), ".b.c"); }, "a"},
        {"a.b.c", [](S& s) { EXPECT_EQ(RestOfSplit(s, false), ".c"); }, "a.b"},
        {".", [](S& s) { EXPECT_EQ(RestOfSplit(s, true), "."); }, ""},
        {"abc", [](S& s) { EXPECT_EQ(RestOfSplit(s, false), ""); }, "abc"},
        {" \t a b\r\n", [](S& s) { EXPECT_TRUE(s.TrimLeft()); }, "a b\r\n"},
        {" \t a b\r\n", [](S& s) { EXPECT_TRUE(s.TrimRight()); }, " \t a b"},
        {" \t ", [](S& s) { EXPECT_TRUE(s.TrimLeft() && !s.TrimRight()); }, ""},
        {"xxaxx", [](S& s) { EXPECT_TRUE(s.TrimLeft(C('x')) && s.TrimRight(C('x'))); }, "a"},
        {"xyaxy", [](S& s) { EXPECT_TRUE(s.TrimLeft(Make<S>("yx"))); }, "axy"},
        {"xyaxy", [](S& s) { EXPECT_TRUE(s.TrimRight(Make<S>("yx"))); }, "xya"},
        {"xy", [](S& s) { EXPECT_FALSE(s.TrimLeft(Make<S>("")) || s.TrimRight(C('x'))); }, "xy"},
        {"xxaxbx", [](S& s) { s.EraseLeadingChars(C('x')).EraseTrailingChars(C('x')); }, "axb"},
        {"xxaxbx", [](S& s) { s.EraseAllChars(C('x')).EraseAllChars(0); }, "ab"},
        {"aBc1", [](S& s) { EXPECT_EQ(Plain(s.ToUpper()), "ABC1"); }, "ABC1"},
        {"aBc1", [](S& s) { EXPECT_EQ(Plain(s.ToLower()), "abc1"); }, "abc1"},
        {"aBc1", [](S& s) { EXPECT_EQ(Plain(s.Upper() + s.Lower()), "ABC1abc1"); }, "aBc1"},
        {"", [](S& s) { s.ItoA(std::numeric_limits<std::int64_t>::min(), 10); },
         "-9223372036854775808"},
        {"x", [](S& s) { s.ItoA(-1, 16); }, "ffffffffffffffff"},
        {"x", [](S& s) { s.ItoA(35, 36); }, "z"},
        {"x", [](S& s) { s.ItoA(1, 37); }, "x"},
        {"x", [](S& s) { s.Printf(Make<S>("%s%03d"), s.CStr(), 7); }, "x007"},
        {"x", [](S& s) { s.Printf(nullptr); }, ""},
        {"x", [](S& s) { s.Printf(Make<S>("")); }, ""},
        // Arguments that lie in the string's own text
        {"abc", [](S& s) { s.Append(s); }, "abcabc"},
        {"abc", [](S& s) { s += s.CStr() + 1; }, "abcbc"},
        {"abcdefgh", [](S& s) { s.Append((s.CutAt(3), s.CStr())); }, "abcabc"}, // there is room
        {"abc", [](S& s) { s.Prepend(s.CStr() + 2); }, "cabc"},
        {"abc", [](S& s) { s.Insert(s.CStr(), 2); }, "ababcc"},
        {"abc", [](S& s) { s = s.CStr() + 2; }, "c"},
        {"abc", [](S& s) { s = static_cast<const S&>(s); }, "abc"},
        {"abc", [](S& s) { s.ReplaceAt(s.CStr() + 1, 0); }, "bcc"},
        {"abc", [](S& s) { s.ReplaceAt(s.CStr(), 1); }, "aab"},
        {"abab", [](S& s) { s.Replace(s.CStr() + 2, s.CStr() + 1, true); }, "babbab"},
        {"aab", [](S& s) { s.TrimLeft(s.CStr()); }, ""},
        {"abc", [](S& s) { s.Split(s, 'b', true); }, "bc"},
        {"abc", [](S& s) { s.Printf(Make<S>("%s-%s"), s.CStr(), s.CStr() + 1); }, "abc-bc"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(testing::Message() << "row " << &row - cases << ", " << row.before);
        S alone = Make<S>(row.before);
        row.edit(alone);
        EXPECT_EQ(Plain(alone), row.after);

        const S original = Make<S>(row.before);
        S copy = original;
        EXPECT_TRUE(copy.CStr() == original.CStr());
        row.edit(copy);
        EXPECT_EQ(Plain(copy), row.after);
        EXPECT_EQ(Plain(original), row.before);
    }
}

TYPED_TEST(StringMembers, ReplaceGoesFromLeftToRightOverEachOccurrence)
{
    using S = TypeParam;
    struct Case {
        const char *text, *from, *to;
        bool caseSensitive;
        const char* result; // null: nothing found
    };
    const Case cases[] = {
        {"abcabc", "bc", "x", true, "axax"}, {"abcabc", "a", "", true, "bcbc"},
        {"aaa", "a", "aa", true, "aaaaaa"},  {"aaa", "aa", "b", true, "ba"},
        {"aaa", "aaa", "", true, ""},        {"aBAb", "ab", "x", false, "xx"},
        {"aBAb", "ab", "x", true, nullptr},  {"abc", "", "x", true, nullptr},
        {"", "a", "x", true, nullptr},       {"abc", "abcd", "x", false, nullptr},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(testing::Message() << row.text << ": " << row.from << " by " << row.to);
        S text = Make<S>(row.text);
        EXPECT_EQ(text.Replace(Make<S>(row.from), Make<S>(row.to), row.caseSensitive),
                  row.result != nullptr);
        EXPECT_EQ(Plain(text), row.result ? row.result : row.text);
    }

    for (std::size_t place = 0; place < 300; ++place) { // wherever the search may pause
        S text = Make<S>(std::string(place, 'x') + "Ab" + std::string(300 - place, 'x') + "aB");
        EXPECT_TRUE(text.IReplace(Make<S>("aB"), Make<S>("-")));
        EXPECT_EQ(text.Search(Make<S>("-"), 0), place);
        EXPECT_EQ(text.Search(Make<S>("-"), place + 1), 301u);
    }

    S text;
    for (int i = 0; i < 50; ++i)
        text += Make<S>(std::string(400, 'x') + std::string(400, 'a'));
    EXPECT_TRUE(text.IReplace(Make<S>(std::string(100, 'A')), Make<S>("z")));
    EXPECT_EQ(text.Length(), 50u * 404);
    text = Make<S>("xyX");
    EXPECT_TRUE(text.Replace(Char<S>('x'), Char<S>('z'), true));
    EXPECT_TRUE(text.IReplace(Char<S>('Y'), Char<S>(0)));
    EXPECT_EQ(Plain(text), "zX");
    EXPECT_FALSE(text.Replace(nullptr, Make<S>("a").CStr(), true));
    EXPECT_TRUE(text.IReplace(Make<S>("x").CStr(), nullptr));
    EXPECT_EQ(Plain(text), "z");
}

TYPED_TEST(StringMembers, SearchesTellWhetherAndWhereAPartStands)
{
    using S = TypeParam;
    struct Case {
        const char *text, *part;
        const char* holds; // S starts, E ends, I includes; lower case: without regard to case
        std::size_t position;
    };
    const Case cases[] = {
        {"Abcabc", "Abc", "SseIi", 0},
        {"Abcabc", "abc", "sEeIi", 3},
        {"Abcabc", "BC", "ei", kMost},
        {"Abcabc", "Abcabc", "SsEeIi", 0},
        {"Abcabc", "Abcabcd", "", kMost},
        {"Abcabc", "", "SsEe", kMost},
        {"", "", "", kMost},
        {"", "a", "", kMost},
        {"a", "A", "sei", kMost},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(testing::Message() << row.text << ": " << row.part);
        const S text = Make<S>(row.text);
        const S part = Make<S>(row.part);
        std::string holds;
        holds += text.StartsWith(part) ? "S" : "";
        holds += text.IStartsWith(part) ? "s" : "";
        holds += text.EndsWith(part) ? "E" : "";
        holds += text.IEndsWith(part) ? "e" : "";
        holds += text.Includes(part) ? "I" : "";
        holds += text.IIncludes(part) ? "i" : "";
        EXPECT_EQ(holds, row.holds);

        std::size_t position = kMost;
        EXPECT_EQ(text.IncludesPos(part, position), row.position != kMost);
        EXPECT_EQ(position, row.position);
        EXPECT_EQ(text.Search(part, 0), row.position);
    }

    for (const std::size_t length : {100u, 5000u, 200000u}) { // that almost occurs everywhere
        S all, part;
        all.Fill(2 * length, Char<S>('a'));
        part.Fill(length, Char<S>('a'));
        part += Char<S>('b');
        EXPECT_EQ(all.Search(part, 0), kMost);
        EXPECT_FALSE(all.Replace(part, part, true));
        all += part;
        EXPECT_EQ(all.Search(part, 1), 2 * length);
    }

    std::minstd_rand random(3);
    for (int round = 0; round < 200; ++round) { // with all kinds of repetitions, flaws included
        std::string part, all;
        const std::size_t period = 1 + random() % 40;
        while (part.size() < 300)
            part += part.size() < period ? "abc"[random() % 3] : part[part.size() - period];
        part[random() % part.size()] = 'b';
        while (all.size() < 20000)
            all += part.substr(random() % 4 * period, random() % part.size());
        all += round % 2 == 0 ? part : "";
        EXPECT_EQ(Make<S>(all).Search(Make<S>(part), 0), all.find(part));
    }

    const S text = Make<S>("abcabc");
    EXPECT_EQ(text.Search(Char<S>('b'), 2), 4u);
    EXPECT_EQ(text.Search(Make<S>("bc").CStr(), 4), 4u);
    for (const std::size_t none : {text.Search(Make<S>("bc"), 5), text.Search(Char<S>('c'), 6),
                                   text.Search(Char<S>(0), 0), text.Search(nullptr, kMost)})
        EXPECT_EQ(none, S::kNotFound);
    EXPECT_TRUE(text.Includes('c') && text.IIncludes('C'));
    EXPECT_FALSE(text.Includes('C') || text.Includes('\0') || text.IIncludes('\0'));
    EXPECT_FALSE(text.Includes(static_cast<const Char<S>*>(nullptr)));
}

TYPED_TEST(StringMembers, ComparisonSortsAsTheUserDoes)
{
    using S = TypeParam;
    struct Case {
        const char *less, *greater;
        bool equalWithoutCase;
    };
    const Case cases[] = {
        {"a", "A", true}, {"a", "B", false},  {"B", "c", false},
        {"", "a", false}, {"a", "ab", false},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(testing::Message() << row.less << " < " << row.greater);
        const S less = Make<S>(row.less);
        const S greater = Make<S>(row.greater);
        EXPECT_TRUE(less.Cmp(greater) < 0 && greater.Cmp(less) > 0);
        EXPECT_TRUE(less < greater && less < greater.CStr() && less.CStr() < greater);
        EXPECT_TRUE(greater > less && greater >= less.CStr() && !(greater <= less));
        EXPECT_TRUE(less != greater && less.CStr() != greater && !(less == greater.CStr()));
        EXPECT_EQ(less.IEqual(greater), row.equalWithoutCase);
        EXPECT_EQ(less.ICmp(greater) == 0, row.equalWithoutCase);
        EXPECT_EQ(greater.IEqual(less.CStr()), row.equalWithoutCase);

        const S same = Make<S>(row.less);
        EXPECT_TRUE(same == less && same.CStr() == less && same.Equal(less.CStr()));
        EXPECT_TRUE(same.Cmp(less) == 0 && !(same < less) && same <= less);
    }
}

TYPED_TEST(StringMembers, PiecesAreCopiesWithinTheText)
{
    using S = TypeParam;
    const S text = Make<S>("a,bc,,d");
    EXPECT_EQ(Plain(text.Sub(2, 2)), "bc");
    EXPECT_EQ(Plain(text.Sub(2, kMost) + text.Sub(2)), "bc,,dbc,,d");
    EXPECT_EQ(Plain(text.Sub(7)) + Plain(text.Sub(kMost, kMost)) + Plain(text.Sub(2, 0)), "");
    EXPECT_EQ(Plain(text.SubCh(2, ',')), "bc");
    EXPECT_EQ(Plain(text.SubCh(4, ',')) + Plain(text.SubCh(6, ',') + text.SubCh(7, ',')), "d");

    struct Case {
        const char* text;
        std::vector<std::string> tokens;
    };
    const Case cases[] = {
        {"", {}},
        {"a", {"a"}},
        {"a,bc,,d", {"a", "bc", "", "d"}},
        {",", {"", ""}},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.text);
        const S list = Make<S>(row.text);
        ASSERT_EQ(list.TokenCount(','), row.tokens.size());
        for (std::size_t index = 0; index < row.tokens.size(); ++index)
            EXPECT_EQ(Plain(list.GetToken(index, ',')), row.tokens[index]);
        EXPECT_TRUE(list.Token(row.tokens.size(), ',').IsEmpty());
        EXPECT_TRUE(list.Token(kMost, ',').IsEmpty());
    }
}

TYPED_TEST(StringMembers, ClassesHoldForEveryCharacter)
{
    using S = TypeParam;
    struct Case {
        const char *text, *classes;
    };
    const Case cases[] = {
        {"abC", "apnu"}, {"0189", "dpnu"}, {"a1", "pnu"}, {"a_1", "pu"}, {"a b", "p"}, {"a\tb", ""},
    };
    for (const Case& row : cases) {
        const S text = Make<S>(row.text);
        std::string classes;
        classes += text.IsAlpha() ? "a" : "";
        classes += text.IsDigit() && text.IsNumeric() ? "d" : "";
        classes += text.IsPrint() ? "p" : "";
        classes += text.IsAlphaNum() ? "n" : "";
        classes += text.IsAlphaNumUnderscore() ? "u" : "";
        EXPECT_EQ(classes, row.classes) << row.text;
    }
    EXPECT_TRUE(Make<S>("abba").IsCharSet(Make<S>("ba")));
    EXPECT_FALSE(Make<S>("abca").IsCharSet(Make<S>("ba")));
    EXPECT_FALSE(Make<S>("a").IsCharSet(nullptr));
}

// The character behind a line feed is never taken for one.
TYPED_TEST(StringMembers, LinesAreCountedInStepsOfTwo)
{
    using S = TypeParam;
    struct Case {
        const char* text;
        std::size_t lines, longest;
    };
    const Case cases[] = {
        {"", 1, 0},          {"abc", 1, 3},         {"a\nbcd\ne", 3, 3},
        {"a\nb\ncde", 3, 3}, {"abc\n", 2, 3},       {"\n\n", 2, 1},
        {"\n\n\n", 3, 1},    {"a\n\nbcd\ne", 3, 4}, {"\n\n\n\n", 3, 1},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Make<S>(row.text).CountLines(), row.lines);
        EXPECT_EQ(Make<S>(row.text).LengthOfLongestLine(), row.longest);
    }
}

TYPED_TEST(StringMembers, EscapesResolveToWhatTheyWereMadeOf)
{
    using S = TypeParam;
    struct Case {
        const char *text, *printable;
    };
    const Case both[] = {
        {"plain", "plain"},
        {"a\n\t\r\\", "a\\n\\t\\r\\\\"},
        {"\x01z\x1f", "\\x01z\\x1f"},
        {"\\n", "\\\\n"},
        {"\x7f", "\\x7f"},
    };
    for (const Case& row : both) {
        const S printable = Make<S>(row.text).Printable();
        EXPECT_EQ(Plain(printable), row.printable);
        S resolved = printable;
        resolved.ResolveEsc();
        EXPECT_EQ(Plain(resolved), row.text);
    }
    const S plain = Make<S>("plain");
    EXPECT_EQ(static_cast<const void*>(plain.Printable().CStr()), plain.CStr());

    const Case odd[] = {
        {"c", "\\x4gc"}, {"A4", "\\x414"},    {"", "\\x4"},  {"", "\\x"},
        {"a\\", "a\\"},  {"\\q\n", "\\q\\n"}, {"", "\\x+4"}, {"J", "\\x4a"},
        {"J", "\\x4A"},  {"a", "a\\x00b"}, // ends the text
    };
    for (const Case& row : odd) {
        S text = Make<S>(row.printable);
        text.ResolveEsc();
        EXPECT_EQ(Plain(text), row.text) << row.printable;
    }
}

TYPED_TEST(StringMembers, NumbersAreReadFromTheWholeText)
{
    using S = TypeParam;
    double number = 0.0;
    EXPECT_TRUE(Make<S>("  -2.5e2 \t").Convert(number));
    EXPECT_EQ(number, -250.0);
    float small = 0.0f;
    EXPECT_TRUE(Make<S>("0.25").Convert(small));
    EXPECT_EQ(small, 0.25f);
    for (const char* bad : {"", " ", "x", "1x", "1 2", "1,5"}) {
        EXPECT_FALSE(Make<S>(bad).Convert(number)) << bad;
        EXPECT_FALSE(Make<S>(bad).Convert(small)) << bad;
    }
    EXPECT_EQ(Make<S>(" 12x").AtoI(), 12);
    EXPECT_EQ(Make<S>(" 1.5x").AtoF(), 1.5);
    EXPECT_EQ(S().AtoI(), 0);
    EXPECT_EQ(Plain(S::FromInt(-7)), "-7");
}

// Single characters fill a block of 64 before the next one, a text needs room to spare.
TYPED_TEST(StringMembers, AppendedTextsStayInTheBlockWhileTheyFit)
{
    using S = TypeParam;
    S text;
    std::vector<std::size_t> newBlockAt;
    const void* block = nullptr;
    for (std::size_t length = 1; length <= 200; ++length) {
        text += static_cast<Char<S>>('a' + length % 26);
        if (block != text.CStr())
            newBlockAt.push_back(length);
        block = text.CStr();
    }
    EXPECT_EQ(newBlockAt, (std::vector<std::size_t>{1, 64, 127, 190}));
    EXPECT_EQ(Plain(text.Sub(60, 8)), "jklmnopq");

    S texts;
    texts += Char<S>('a');
    block = texts.CStr();
    texts += Make<S>(std::string(62, 'b'));
    EXPECT_EQ(texts.CStr(), block);
    S(texts).SetAt(0, 'x'); // the copy goes its own way and is gone
    texts.SetAt(0, 'y');
    EXPECT_EQ(texts.CStr(), block);
    texts += Make<S>("c");
    EXPECT_NE(texts.CStr(), block);
    EXPECT_EQ(Plain(texts), std::string(1, 'y').append(62, 'b').append(1, 'c'));
}

TYPED_TEST(StringMembers, ImpossibleSizesChangeNothing)
{
    using S = TypeParam;
    S text = Make<S>("abc");
    for (const std::size_t size : {kMost, kMost - 1, kMost / 2, kMost / 2 - 8}) {
        text.Fill(size, Char<S>('x'));
        EXPECT_EQ(Plain(text), "abc");
    }
}

TYPED_TEST(StringMembers, RecordsReadBackAsTheyWereWritten)
{
    using S = TypeParam;
    const bool wide = sizeof(Char<S>) == 2;
    const StreamOf golden;
    ASSERT_TRUE(Make<S>("\xe9z").FWrite(golden));
    EXPECT_EQ(golden.Bytes(),
              wide ? "\2\0\0\0\xfd\xff\xff\xff\xe9\0z\0\0\0"s : "\2\0\0\0\xfd\xff\xff\xff\xe9z\0"s);

    // The longer ones are read in several pieces.
    const StreamOf stream;
    const std::size_t lengths[] = {0, 1, 65535, 65536, 65537, 300000};
    for (const std::size_t length : lengths)
        ASSERT_TRUE(Make<S>(std::string(length, 'x')).FWrite(stream));
    std::rewind(stream);
    for (const std::size_t length : lengths) {
        S text = Make<S>("old");
        ASSERT_TRUE(text.FRead(stream)) << length;
        EXPECT_TRUE(Plain(text) == std::string(length, 'x')) << length;
    }
    S text = Make<S>("old");
    EXPECT_FALSE(text.FRead(stream));
    EXPECT_EQ(Plain(text), "old");
    EXPECT_FALSE(text.FRead(nullptr) || text.FWrite(nullptr) || text.ReadLn(nullptr));
}

TYPED_TEST(StringMembers, DamagedRecordsAreRefused)
{
    using S = TypeParam;
    const StreamOf good;
    ASSERT_TRUE(Make<S>("abc").FWrite(good));
    const std::string bytes = good.Bytes();
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        S text = Make<S>("old");
        EXPECT_FALSE(text.FRead(StreamOf(bytes.substr(0, size)))) << size;
        EXPECT_EQ(Plain(text), size < 8 ? "old" : "") << size;
    }

    struct Case {
        std::string bytes;
        const char* left;
    };
    const Case cases[] = {
        {"\3\0\0\0\xfd\xff\xff\xff"s + bytes.substr(8), "old"},        // check word
        {bytes.substr(0, bytes.size() - sizeof(Char<S>)) + "!!"s, ""}, // no 0 at the end
        {"\xff\xff\xff\xff\0\0\0\0"s + bytes.substr(8), ""},           // far too long
        {"\0\0\0\0\xff\xff\xff\xff!!"s, ""},                           // empty without its 0
    };
    for (const Case& row : cases) {
        S text = Make<S>("old");
        EXPECT_FALSE(text.FRead(StreamOf(row.bytes)));
        EXPECT_EQ(Plain(text), row.left);
    }
}

TYPED_TEST(StringMembers, LinesAreReadWholeHoweverLong)
{
    using S = TypeParam;
    // 511 characters and 1022 fill whole chunks of the reader.
    const std::vector<std::string> lines = {"first",
                                            "",
                                            std::string(510, 'a'),
                                            std::string(511, 'b'),
                                            std::string(1022, 'c'),
                                            std::string(100000, 'd'),
                                            "last"};
    std::string bytes;
    for (const std::string& line : lines) {
        const S text = Make<S>(line + "\n");
        bytes.append(reinterpret_cast<const char*>(text.CStr()), text.Length() * sizeof(Char<S>));
    }
    const StreamOf stream(bytes);
    S text;
    for (const std::string& line : lines) {
        ASSERT_TRUE(text.ReadLn(stream));
        EXPECT_TRUE(Plain(text) == line) << line.substr(0, 10);
    }
    EXPECT_TRUE(text.ReadLn(stream)); // the end shows only now
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_FALSE(text.ReadLn(stream));

    std::string cut; // a 0 cuts the rest of its line
    for (const char character : "ab\0cd\nef"s)
        (cut += character).append(sizeof(Char<S>) - 1, 0);
    const StreamOf zeros(cut);
    EXPECT_TRUE(text.ReadLn(zeros));
    EXPECT_EQ(Plain(text), "ab");
    EXPECT_TRUE(text.ReadLn(zeros));
    EXPECT_EQ(Plain(text), "ef");
    EXPECT_FALSE(text.ReadLn(zeros));
}

TYPED_TEST(StringMembers, ThreadsMayShareOneText)
{
    using S = TypeParam;
    const S shared = Make<S>("shared text");
    std::atomic<int> faults{0};
    const auto work = [&faults](S own, Char<S> mark) {
        for (int round = 0; round < 2000; ++round) {
            S copy = own;
            S other = copy;
            copy.SetAt(0, mark);
            other += mark;
            if (copy.GetAt(0) != mark || other.GetAt(11) != mark || own.GetAt(0) != 's')
                ++faults;
            own = round % 2 ? own : S(own.CStr());
        }
    };
    std::thread first(work, shared, Char<S>('1'));
    std::thread second(work, shared, Char<S>('2'));
    first.join();
    second.join();
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(Plain(shared), "shared text");
}
