#include "tests/base/StringTesting.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <tuple>
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

} // namespace

using Both = testing::Types<WString, BString>;
TYPED_TEST_SUITE(StringMembers, Both);

TYPED_TEST(StringMembers, EveryFormOfTheEmptyTextIsTheSame)
{
    using S = TypeParam;
    S cleared = Make<S>("text"), removed = cleared, moved = cleared, writable;
    cleared.Clear();
    removed.Remove(0, kMost);
    const S taken = std::move(moved);
    ASSERT_NE(writable.Str(), nullptr);
    for (const S& empty : {S(), S(nullptr), Make<S>(""), cleared, removed, moved, writable}) {
        ASSERT_NE(empty.CStr(), nullptr);
        EXPECT_TRUE(empty.IsEmpty() && empty.Length() == 0 && *empty.CStr() == 0);
        EXPECT_TRUE(empty.GetAt(0) == 0 && empty == nullptr && empty == S());
        EXPECT_TRUE(empty.IsAlpha() && empty.IsDigit() && empty.IsNumeric() && empty.IsPrint());
        EXPECT_TRUE(empty.IsAlphaNum() && empty.IsAlphaNumUnderscore() && empty.IsCharSet(nullptr));
        EXPECT_FALSE(empty.StartsWith(S()) || empty.EndsWith(S()));
        EXPECT_TRUE(empty.StartsWith(nullptr) && empty.IEndsWith(nullptr));
    }
}

TYPED_TEST(StringMembers, TheTextFromAPositionOnIsNullWithoutAText)
{
    using S = TypeParam;
    const S text = Make<S>("abc");
    EXPECT_EQ(text.CStr(0), text.CStr());
    EXPECT_EQ(text.CStr(2), text.CStr() + 2);
    EXPECT_EQ(S().CStr(0), nullptr);
    EXPECT_EQ(text.GetAt(2), 'c');
    EXPECT_EQ(text[3], 0);
    EXPECT_EQ(S().GetAt(std::size_t{1} << 40), 0);
}

// Each row is run on a text of its own, on a shared one, which must not change with the copy, and
// on one that was handed out for writing.
TYPED_TEST(StringMembers, EditsChangeOneStringAndNoCopyOfIt)
{
    using S = TypeParam;
    using C = Char<S>;
    const struct {
        const char* before;
        void (*edit)(S&);
        const char* after;
    } cases[] = {
        {"abc", [](S& s) { s.Append(Make<S>("de").CStr()); }, "abcde"},
        {"abc", [](S& s) { (s += Make<S>("")) += static_cast<const C*>(nullptr); }, "abc"},
        {"", [](S& s) { s += C('x'); }, "x"},
        {"abc", [](S& s) { s.Prepend(Make<S>("de")), s.Prepend(C('x')); }, "xdeabc"},
        {"abc", [](S& s) { s.Insert(Make<S>("de"), 0).Insert(C('f'), 5); }, "deabcf"},
        {"abc", [](S& s) { s.Insert(Make<S>("de"), 4).Insert(nullptr, 1); }, "abc"},
        {"", [](S& s) { s.Insert(Make<S>("x"), 0); }, "x"},
        {"abc", [](S& s) { s.Remove(1, 1); }, "ac"},
        {"abc", [](S& s) { s.Remove(1, kMost); }, "a"},
        {"abc", [](S& s) { s.Remove(3, 1), s.Remove(kMost, kMost); }, "abc"},
        {"abc", [](S& s) { s.ReplaceAt(Make<S>("xyz"), 1); }, "axy"},
        {"abc", [](S& s) { s.ReplaceAt(Make<S>("x"), 3), s.ReplaceAt(nullptr, 0); }, "abc"},
        {"abc", [](S& s) { s.SetAt(1, C('x')), s.Str()[2] = C('y'); }, "axy"},
        {"abc", [](S& s) { s.Fill(5, C('x')); }, "xxxxx"},
        {"abc", [](S& s) { s.Fill(0, C('x')); }, ""},
        {"abc", [](S& s) { EXPECT_FALSE(s.Fill(kMost, 'x') || s.Fill(kMost / 2 - 8, 'x')); },
         "abc"},
        {"abc", [](S& s) { s = Make<S>("x").CStr(); }, "x"},
        {"abc", [](S& s) { s = nullptr; }, ""},
        {"a.b.c", [](S& s) { EXPECT_EQ(Plain(s.Cut(2)), "b.c"); }, "a."},
        {"a.b.c", [](S& s) { EXPECT_EQ(Plain(s.Cut(5) + s.Cut(6, 1) + s.Cut(kMost)), ""); },
         "a.b.c"},
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
        {"aBc1", [](S& s) { EXPECT_EQ(Plain(s.Upper() + s.Lower().CStr()), "ABC1abc1"); }, "aBc1"},
        {"", [](S& s) { s.ItoA(std::numeric_limits<std::int64_t>::min(), 10); },
         "-9223372036854775808"},
        {"x", [](S& s) { s.ItoA(-1, 16); }, "ffffffffffffffff"},
        {"x", [](S& s) { s.ItoA(35, 36), s.ItoA(1, 37); }, "z"},
        {"x", [](S& s) { s.Printf(Make<S>("%s%03d"), s.CStr(), 7); }, "x007"},
        {"x", [](S& s) { s.Printf(nullptr); }, ""},
        // A 0 ends the text, however it came in
        {"abc", [](S& s) { s.SetAt(1, 0), s += C('x'); }, "ax"},
        {"abc", [](S& s) { s.SetAt(2, 0), s.SetAt(0, C('x')), s += C('y'); }, "xby"},
        {"abc", [](S& s) { s.Str()[1] = 0, s += C('x'), s += Make<S>("y"); }, "axy"},
        {"abc", [](S& s) { (s += C(0)) += C('x'), s.Prepend(C(0)); }, "abcx"},
        {"abc", [](S& s) { s.Fill(9, 0), s += C('x'); }, "x"},
        {"abc", [](S& s) { s.Printf(Make<S>("x%cy"), 0), s += C('z'); }, "xz"},
        {"abc", [](S& s) { s.Printf(Make<S>("x%c%20000d"), 0, 1), s += C('z'); }, "xz"},
        {"a\\x00b", [](S& s) { s.ResolveEsc(), s += C('x'); }, "ax"},
        {"abc", [](S& s) { s.Fill(4, C('x')), s.CutAt(1), s.SetAt(1, C('y')); }, "xyxx"},
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
        {"abc", [](S& s) { s.Split(s, 'b', true), s.Split(s, 'x', true); }, "bc"},
        {"abc", [](S& s) { s.Printf(Make<S>("%s-%s"), s.CStr(), s.CStr() + 1); }, "abc-bc"},
    };
    const auto expect = [](const S& text, const std::string& expected) {
        EXPECT_EQ(Plain(text), expected);
        EXPECT_EQ(text.Length(), expected.size());
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << "row " << &row - cases << ", " << row.before);
        S alone = Make<S>(row.before);
        row.edit(alone);
        expect(alone, row.after);

        const S original = Make<S>(row.before);
        S copy = original;
        EXPECT_TRUE(copy.CStr() == original.CStr());
        row.edit(copy);
        expect(copy, row.after);
        expect(original, row.before);

        S lent = Make<S>(row.before);
        ASSERT_NE(lent.Str(), nullptr);
        row.edit(lent);
        expect(lent, row.after);
    }
}

// Nobody can tell when who was given the text writes the 0.
TYPED_TEST(StringMembers, ATextThatWasHandedOutIsMeasuredWhileItsBlockLasts)
{
    using S = TypeParam;
    S text = Make<S>("abcdef");
    Char<S>* const units = text.Str();
    units[3] = 0;
    EXPECT_EQ(text.Length(), 3u);
    text += Char<S>('x');
    ASSERT_EQ(text.CStr(), units);
    const S copy = text;
    units[1] = 0;
    EXPECT_TRUE(text.Length() == 1 && copy.Length() == 1 && text.Sub(1).IsEmpty());
    units[1] = 'b';
    EXPECT_EQ(Plain(text + copy), "abcxabcx");
    EXPECT_TRUE(text == Make<S>("abcx") && text.Length() == 4);
}

TYPED_TEST(StringMembers, ReplaceGoesFromLeftToRightOverEachOccurrence)
{
    using S = TypeParam;
    const struct {
        const char *text, *from, *to;
        bool caseSensitive;
        const char* result; // null: nothing found
    } cases[] = {
        {"abcabc", "bc", "x", true, "axax"}, {"abcabc", "a", "", true, "bcbc"},
        {"aaa", "a", "aa", true, "aaaaaa"},  {"aaa", "aa", "b", true, "ba"},
        {"aaa", "aaa", "", true, ""},        {"aBAb", "ab", "x", false, "xx"},
        {"aBAb", "ab", "x", true, nullptr},  {"abc", "", "x", true, nullptr},
        {"", "a", "x", true, nullptr},       {"abc", "abcd", "x", false, nullptr},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.text << ": " << row.from << " by " << row.to);
        S text = Make<S>(row.text);
        EXPECT_EQ(text.Replace(Make<S>(row.from), Make<S>(row.to), row.caseSensitive),
                  row.result != nullptr);
        EXPECT_EQ(Plain(text), row.result ? row.result : row.text);
    }
    S text = Make<S>("xyX");
    EXPECT_TRUE(text.Replace(Char<S>('x'), Char<S>('z'), true));
    EXPECT_TRUE(text.IReplace(Char<S>('Y'), Char<S>(0)));
    EXPECT_FALSE(text.Replace(nullptr, Make<S>("a").CStr(), true));
    EXPECT_TRUE(text.IReplace(Make<S>("x").CStr(), nullptr));
    EXPECT_EQ(Plain(text), "z");
}

TYPED_TEST(StringMembers, ReplaceWithoutRegardToCaseFindsWhatLiesAcrossItsWindows)
{
    using S = TypeParam;
    for (std::size_t place = 0; place < 300; ++place) {
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
}

TYPED_TEST(StringMembers, SearchesTellWhetherAndWhereAPartStands)
{
    using S = TypeParam;
    const struct {
        const char *text, *part;
        const char* holds; // S starts, E ends, I includes; lower case: without regard to case
        std::size_t position;
    } cases[] = {
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
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.text << ": " << row.part);
        const S text = Make<S>(row.text);
        const S part = Make<S>(row.part);
        const std::pair<char, bool> answers[] = {
            {'S', text.StartsWith(part)}, {'s', text.IStartsWith(part)},
            {'E', text.EndsWith(part)},   {'e', text.IEndsWith(part)},
            {'I', text.Includes(part)},   {'i', text.IIncludes(part)},
        };
        for (const auto& [letter, answer] : answers)
            EXPECT_EQ(answer, std::string(row.holds).find(letter) != kMost) << letter;
        std::size_t position = kMost;
        EXPECT_EQ(text.IncludesPos(part, position), row.position != kMost);
        EXPECT_EQ(position, row.position);
        EXPECT_EQ(text.Search(part, 0), row.position);
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

TYPED_TEST(StringMembers, SearchFindsPartsOfAllKindsOfRepetitions)
{
    using S = TypeParam;
    std::minstd_rand random(3);
    for (int round = 0; round < 200; ++round) { // flaws included
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
    S all, part; // that almost occurs everywhere; quadratic work would take minutes
    all.Fill(400'000, Char<S>('a'));
    part.Fill(200'000, Char<S>('a'));
    part += Char<S>('b');
    EXPECT_EQ(all.Search(part, 0), kMost);
    EXPECT_FALSE(all.Replace(part, part, true));
    all += part;
    EXPECT_EQ(all.Search(part, 1), 400'000u);
}

TYPED_TEST(StringMembers, ComparisonSortsAsTheUserDoes)
{
    using S = TypeParam;
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"a", "A", true}, {"a", "B", false},  {"B", "c", false},
        {"", "a", false}, {"a", "ab", false},
    };
    for (const auto& [lesser, other, equalWithoutCase] : cases) {
        SCOPED_TRACE(testing::Message() << lesser << " < " << other);
        const S less = Make<S>(lesser), greater = Make<S>(other), same = Make<S>(lesser);
        EXPECT_TRUE(less.Cmp(greater) < 0 && greater.Cmp(less) > 0);
        EXPECT_TRUE(less < greater && less < greater.CStr() && less.CStr() < greater);
        EXPECT_TRUE(greater > less && greater >= less.CStr() && !(greater <= less));
        EXPECT_TRUE(less != greater && less.CStr() != greater && !(less == greater.CStr()));
        EXPECT_EQ(less.IEqual(greater), equalWithoutCase);
        EXPECT_EQ(less.ICmp(greater) == 0, equalWithoutCase);
        EXPECT_EQ(greater.IEqual(less.CStr()), equalWithoutCase);
        EXPECT_TRUE(same == less && same.CStr() == less && same.Equal(less.CStr()));
        EXPECT_TRUE(same.Cmp(less) == 0 && !(same < less) && same <= less);
    }
}

TYPED_TEST(StringMembers, PiecesAreCopiesWithinTheText)
{
    using S = TypeParam;
    const S text = Make<S>("a,bc,,d");
    const std::pair<S, const char*> cases[] = {
        {text.Sub(2, 2), "bc"},       {text.Sub(2, kMost), "bc,,d"},
        {text.Sub(2), "bc,,d"},       {text.Sub(7), ""},
        {text.Sub(kMost, kMost), ""}, {text.Sub(2, 0), ""},
        {text.SubCh(2, ','), "bc"},   {text.SubCh(4, ','), ""},
        {text.SubCh(6, ','), "d"},    {text.SubCh(7, ','), ""},
        {text.Token(0, ','), "a"},    {text.GetToken(1, ','), "bc"},
        {text.Token(2, ','), ""},     {text.Token(3, ','), "d"},
        {text.Token(4, ','), ""},     {text.Token(kMost, ','), ""},
    };
    for (const auto& [piece, expected] : cases)
        EXPECT_EQ(Plain(piece), expected) << &piece - &cases->first;
    const std::pair<const char*, std::size_t> counts[] = {{"", 0}, {"a", 1}, {",", 2}, {"a,,b", 3}};
    for (const auto& [list, count] : counts)
        EXPECT_EQ(Make<S>(list).TokenCount(','), count) << list;
}

TYPED_TEST(StringMembers, ClassesHoldForEveryCharacter)
{
    using S = TypeParam;
    const std::pair<const char*, std::string> cases[] = {
        {"abC", "apnu"}, {"0189", "dpnu"}, {"a1", "pnu"}, {"a_1", "pu"}, {"a b", "p"}, {"a\tb", ""},
    };
    for (const auto& [plain, classes] : cases) {
        const S text = Make<S>(plain);
        const std::pair<char, bool> answers[] = {
            {'a', text.IsAlpha()}, {'d', text.IsDigit()},    {'d', text.IsNumeric()},
            {'p', text.IsPrint()}, {'n', text.IsAlphaNum()}, {'u', text.IsAlphaNumUnderscore()},
        };
        for (const auto& [letter, answer] : answers)
            EXPECT_EQ(answer, classes.find(letter) != kMost) << plain << letter;
    }
    EXPECT_TRUE(Make<S>("abba").IsCharSet(Make<S>("ba")));
    EXPECT_FALSE(Make<S>("abca").IsCharSet(Make<S>("ba")));
    EXPECT_FALSE(Make<S>("a").IsCharSet(nullptr));
}

// The character behind a line feed is never taken for one.
TYPED_TEST(StringMembers, LinesAreCountedInStepsOfTwo)
{
    using S = TypeParam;
    const std::tuple<const char*, std::size_t, std::size_t> cases[] = {
        {"", 1, 0},     {"a\nbcd\ne", 3, 3}, {"a\nb\ncde", 3, 3},   {"abc\n", 2, 3},
        {"\n\n", 2, 1}, {"\n\n\n", 3, 1},    {"a\n\nbcd\ne", 3, 4},
    };
    for (const auto& [text, lines, longest] : cases) {
        EXPECT_EQ(Make<S>(text).CountLines(), lines) << text;
        EXPECT_EQ(Make<S>(text).LengthOfLongestLine(), longest) << text;
    }
}

TYPED_TEST(StringMembers, EscapesResolveToWhatTheyWereMadeOf)
{
    using S = TypeParam;
    const std::pair<const char*, const char*> made[] = {
        {"plain", "plain"},
        {"a\n\t\r\\", "a\\n\\t\\r\\\\"},
        {"\x01z\x1f", "\\x01z\\x1f"},
        {"\\n", "\\\\n"},
        {"\x7f", "\\x7f"},
    };
    for (const auto& [text, escaped] : made) {
        S printable = Make<S>(text).Printable();
        EXPECT_EQ(Plain(printable), escaped);
        printable.ResolveEsc();
        EXPECT_EQ(Plain(printable), text);
    }
    const S plain = Make<S>("plain");
    EXPECT_EQ(static_cast<const void*>(plain.Printable().CStr()), plain.CStr());

    const std::pair<const char*, const char*> odd[] = {
        {"c", "\\x4gc"}, {"A4", "\\x414"},    {"", "\\x4"},     {"", "\\x"},
        {"a\\", "a\\"},  {"\\q\n", "\\q\\n"}, {"a", "a\\x00b"}, // ends the text
    };
    for (const auto& [text, escaped] : odd) {
        S resolved = Make<S>(escaped);
        resolved.ResolveEsc();
        EXPECT_EQ(Plain(resolved), text) << escaped;
    }
}

// What a number is, the tables of ScanTextTest.cpp say. Wide texts round decimals and stay within
// an int, narrow ones take integers alone.
TYPED_TEST(StringMembers, NumbersAreReadFromTheWholeText)
{
    using S = TypeParam;
    constexpr int least = std::numeric_limits<int>::min(), none = 4711;
    constexpr int most = std::numeric_limits<int>::max();
    const struct {
        const char* text;
        double number;
        int wide, narrow;
    } cases[] = {
        {" -7\t", -7, -7, -7},    {"ff", none, 255, 255},     {"1e12", 1e12, most, 0x1e12},
        {"12.5", 12.5, 13, none}, {"12.25", 12.25, 12, none}, {"-1e12", -1e12, least, -0x1e12},
        {"-2.5", -2.5, -3, none}, {"-0.25", -0.25, 0, none},  {"x", none, none, none},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.text);
        const S text = Make<S>(row.text);
        const int expected = sizeof(Char<S>) == 1 ? row.narrow : row.wide;
        double number = none;
        float single = none;
        int integer = none;
        EXPECT_EQ(text.Convert(number) && text.Convert(single), row.number != none);
        EXPECT_EQ(text.Convert(integer), expected != none);
        EXPECT_TRUE(number == row.number && single == static_cast<float>(row.number));
        EXPECT_TRUE(integer == expected || expected == none) << integer;
    }
    int integer = none;
    EXPECT_EQ(Make<S>("nan").Convert(integer), sizeof(Char<S>) == 2);
    EXPECT_EQ(integer, sizeof(Char<S>) == 2 ? least : none);
    EXPECT_EQ(Make<S>(" 12x").AtoI(), 12);
    EXPECT_EQ(Make<S>(" 1.5x").AtoF(), 1.5);
    EXPECT_EQ(Plain(S::FromInt(-7)), "-7");
}

// A text that cannot be made empties a wide string and leaves a narrow one.
TYPED_TEST(StringMembers, PrintfTakesTextsOfAnyLength)
{
    using S = TypeParam;
    S text;
    for (const std::size_t room : {4096u, 16384u, 40000u}) { // the first two are on the stack
        for (const std::size_t length : {room - 1, room, room + 1}) {
            const std::string expected(length, 'x');
            text.Printf(Make<S>("%s"), Make<S>(expected).CStr());
            EXPECT_TRUE(Plain(text) == expected) << length;
        }
    }
    text = Make<S>("old");
    text.Printf(Make<S>("%*d"), 1 << 28, 1);
    EXPECT_EQ(Plain(text), sizeof(Char<S>) == 1 ? "old" : "");
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

// A long one has room behind its capacity, so that few of the steps of 64 copy it.
TYPED_TEST(StringMembers, LongTextsGrowInFewBlocks)
{
    using S = TypeParam;
    const S piece = Make<S>("abcdefgh");
    S units, texts;
    std::size_t unitBlocks = 0, textBlocks = 0;
    std::string expected;
    for (int i = 0; i < 12000; ++i) {
        const void* const unitBlock = units.CStr();
        const void* const textBlock = texts.CStr();
        for (const char unit : Plain(piece))
            units += static_cast<Char<S>>(unit);
        texts += piece;
        unitBlocks += units.CStr() != unitBlock ? 1 : 0;
        textBlocks += texts.CStr() != textBlock ? 1 : 0;
        expected += Plain(piece);
    }
    EXPECT_TRUE(Plain(units) == expected && Plain(texts) == expected);
    EXPECT_TRUE(units.Length() == expected.size() && texts.Length() == expected.size());
    EXPECT_LT(unitBlocks, 100u);
    EXPECT_LT(textBlocks, 250u) << "128 pieces make it long";
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
        EXPECT_EQ(text.CStr(0) == nullptr, length == 0);
    }
    S text = Make<S>("old");
    EXPECT_FALSE(text.FRead(stream));
    EXPECT_EQ(Plain(text), "old");
    std::string inside = golden.Bytes();
    inside[8] = 0; // in place of the first character
    EXPECT_TRUE(text.FRead(StreamOf(inside)) && text.Length() == 0);
    EXPECT_FALSE(text.FRead(nullptr) || text.FWrite(nullptr) || text.ReadLn(nullptr));
}

TYPED_TEST(StringMembers, DamagedRecordsAreRefused)
{
    using S = TypeParam;
    const StreamOf good;
    ASSERT_TRUE(Make<S>("abc").FWrite(good));
    const std::string bytes = good.Bytes();
    const auto leaves = [](const std::string& record) {
        S text = Make<S>("old");
        EXPECT_FALSE(text.FRead(StreamOf(record)));
        return Plain(text);
    };
    for (std::size_t size = 0; size < bytes.size(); ++size)
        EXPECT_EQ(leaves(bytes.substr(0, size)), size < 8 ? "old" : "") << size;
    EXPECT_EQ(leaves("\3\0\0\0\xfd\xff\xff\xff"s + bytes.substr(8)), "old") << "the check word";
    EXPECT_EQ(leaves(bytes.substr(0, bytes.size() - sizeof(Char<S>)) + "!!"), "") << "no 0 behind";
    EXPECT_EQ(leaves("\xff\xff\xff\xff\0\0\0\0"s + bytes.substr(8)), "") << "far too long";
    EXPECT_EQ(leaves("\0\0\0\0\xff\xff\xff\xff!!"s), "") << "empty without its 0";
}

TYPED_TEST(StringMembers, LinesAreReadWholeHoweverLong)
{
    using S = TypeParam;
    const auto bytesOf = [](const std::string& text) {
        std::string bytes;
        for (const char character : text)
            (bytes += character).append(sizeof(Char<S>) - 1, 0);
        return bytes;
    };
    const std::string lines[] = {"first",
                                 "",
                                 std::string(510, 'a'),
                                 std::string(511, 'b'), // fills a chunk of the reader
                                 std::string(1022, 'c'),
                                 std::string(100000, 'd'),
                                 "last"};
    std::string bytes;
    for (const std::string& line : lines)
        bytes += bytesOf(line + "\n");
    const StreamOf stream(bytes), zeros(bytesOf("ab\0cd\nef"s)); // a 0 cuts the rest of its line
    S text;
    for (const std::string& line : lines) {
        ASSERT_TRUE(text.ReadLn(stream));
        EXPECT_TRUE(Plain(text) == line) << line.substr(0, 10);
    }
    EXPECT_TRUE(text.ReadLn(stream)); // the end shows only now
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_FALSE(text.ReadLn(stream));
    for (const char* const line : {"ab", "ef"}) {
        EXPECT_TRUE(text.ReadLn(zeros));
        EXPECT_EQ(Plain(text), line);
    }
    EXPECT_FALSE(text.ReadLn(zeros));
}

TYPED_TEST(StringMembers, ThreadsMayShareOneText)
{
    using S = TypeParam;
    const S shared = Make<S>("shared text");
    std::atomic<int> faults{0};
    const auto work = [&faults](S own, Char<S> mark) {
        for (int round = 0; round < 2000; ++round) {
            S copy = own, other = copy;
            copy.SetAt(0, mark);
            other += mark;
            if (copy.GetAt(0) != mark || other.GetAt(11) != mark || own.GetAt(0) != 's')
                ++faults;
            own = round % 2 ? own : S(own.CStr());
        }
    };
    std::thread first(work, shared, Char<S>('1')), second(work, shared, Char<S>('2'));
    first.join();
    second.join();
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(Plain(shared), "shared text");
}
