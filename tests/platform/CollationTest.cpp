#include "core/platform/Collation.h"

#include "core/platform/WideText.h"

#include "tests/platform/OffWindows.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using platform::Collate;
using platform::ECase;
using platform::FindIgnoringCase;
using platform::kNotFound;

namespace {

using platform::WideText;

std::string Key(const WideText& text, ECase letterCase)
{
    std::string key;
    platform::AppendCollationKey(text.c_str(), text.size(), letterCase, key);
    return key;
}

// The texts between the "|" of a list.
std::vector<WideText> Split(const WideText& list)
{
    std::vector<WideText> texts(1);
    for (const WChar unit : list) {
        if (unit == QD_W('|'))
            texts.emplace_back();
        else
            texts.back() += unit;
    }
    return texts;
}

int Sign(int order)
{
    return (order > 0) - (order < 0);
}

// How `a` sorts to `b` in every way there is to ask; 2 when the ways contradict each other.
int Order(const WideText& a, const WideText& b, ECase letterCase)
{
    const int order = Sign(Collate(a.c_str(), b.c_str(), letterCase));
    const bool agree = Sign(Collate(b.c_str(), a.c_str(), letterCase)) == -order &&
                       Sign(Key(a, letterCase).compare(Key(b, letterCase))) == order;
    return agree ? order : 2;
}

} // namespace

TEST(Collation, SortsAsWindowsDoes)
{
    const auto with = ECase::Matters, without = ECase::Ignored;
    const std::pair<ECase, WideText> cases[] = {
        {with, QD_W("| |a|a |a b|aa")},
        {with, QD_W("node|Node|NODE|node1|Nodf")},
        {with, QD_W("Punkt 1|Punkt 10|Punkt 2|punkt2")},
        // Dashes count last, the later the less.
        {with, QD_W("ab|ab-|a'b|a-b|a--b|-ab|ac")},
        {with, QD_W("coop|co-op|Co-op|COOP|CO-OP")},
        {without, QD_W("COOP|Co-op|coops")},
        {with, QD_W("a|a\u0001|a\u007F|a'|a-|a\u2013")},
        // Accents count before case, from the front.
        {with, QD_W("resume|Resume|résumé|Résumé|resumes")},
        {with, QD_W("a|A|ª|á|Á|à|â|ä|ã|å|æ|b")},
        {with, QD_W("o|ö|ø|øa|p")},
        {without, QD_W("E|é|Ê|f")},
        {with, QD_W("ae|a\u0593\u20EAé|aé")}, // the two add up to 1, less than no accent
        {with, QD_W("a\u065F\uE000\u05C2|a\u065F\uE000")}, // the sum is on the "a"
        {with, QD_W("漢ー\u061A|漢ー")},
        // Scripts, numbers and symbols among each other.
        {with, QD_W("§|µ|0|½|1|¹|10|2|²|z|α|Ω|я|か|א|ก|가|漢")},
        {with, QD_W("а|б|е|ё|ж|и|й")},
        {with, QD_W("α|Α|ά|β|σ|ς|Σ")},
        {with, QD_W("a\u200Bb|a.b|a_b|a+b|a1b|ab")},
        {with, QD_W("ab|ａb|Ab|Ａb")},
        {without, QD_W("i|ı|j")},
        {without, QD_W("µ|μ")}, // the sign and the letter
        // Private use, supplementary characters, what repeats nothing.
        {with,
         QD_W("\u20A8|\u20AC|\u20B4|\u0915|\u0929|\u092E|\uE000|\U0001F600|가|漢|\U00020000|ー")},
        // Of kana the size, repetition, type and width count behind case, each for all of the text.
        {with, QD_W("ｧ|ァ|ぁ|ｱ|ア|あ")},
        {with, QD_W("ァあ|ぁあ|アぁ|ｱア|アｱ")},
        {with, QD_W("ぁa|あa|ぁA|あA")},
        {with, QD_W("かあ|カー|かー|がー|かい")},
        {without, QD_W("カカ|カヽ|かゝ|かが|かゞ")},
        {without, QD_W("一|一々|一a|一一")},
    };
    for (const auto& [letterCase, ascending] : cases) {
        const std::vector<WideText> texts = Split(ascending);
        for (std::size_t j = 1; j < texts.size(); ++j) {
            for (std::size_t i = 0; i < j; ++i)
                EXPECT_EQ(Order(texts[i], texts[j], letterCase), -1)
                    << testing::PrintToString(ascending) << ", " << i << " and " << j;
        }
    }
}

TEST(Collation, SortsAsciiByThisList)
{
    const WideText ascending =
        QD_W(" \t\n\v\f\r!\"#$%&()*,./:;?@[\\]^_`{|}~+<=>0123456789aAbBcCdDeEfFgGhHiIjJkKlLmMnNoO")
            QD_W("pPqQrRsStTuUvVwWxXyYzZ");
    const WideText x = QD_W("x");
    for (std::size_t i = 0; i + 1 < ascending.size(); ++i)
        EXPECT_EQ(Order(x + ascending[i] + x, x + ascending[i + 1] + x, ECase::Matters), -1) << i;
}

TEST(Collation, TakesDifferentSpellingsForEqual)
{
    const std::pair<ECase, WideText> cases[] = {
        {ECase::Matters, QD_W("Straße|Strasse")},
        {ECase::Matters, QD_W("STRA\u1E9EE|STRASSE")},
        {ECase::Matters, QD_W("æœþ|aeoeth")},
        {ECase::Matters, QD_W("ÆŒÞ|AEOETH")},
        {ECase::Matters, QD_W("ﬁﬀĳǉ㎜|fiffijljmm")},
        {ECase::Matters, QD_W("\u2126\u212A|\u03A9K")}, // ohm and kelvin
        {ECase::Matters, QD_W("\u00C5|\u212B|A\u030A")},
        {ECase::Matters, QD_W("å|a\u0301\u0301")}, // the weights of accents add up
        {ECase::Matters, QD_W("\u06D5\uFCD7|\u05B3\u06E2\u06D5\uFCD7")}, // to 1, for nothing
        {ECase::Matters, QD_W("\u06EC\uE001|\uE001\u06EC")}, // private use takes no marks
        {ECase::Matters, QD_W("é-b|e-\u0301b|e\u00AD\u0301-b")},
        {ECase::Matters, QD_W("|\u00AD|\u200C\u200D\u200E\u2060|\uFEFF\uFFFD\uFFFF|\u0640")},
        {ECase::Matters, QD_W("ab|a\u00ADb|ab\uFEFF")},
        {ECase::Matters, QD_W("aa|aー|a\u00ADー|a々")},
        {ECase::Ignored, QD_W("node|NODE|nOde")},
        {ECase::Ignored, QD_W("äöü|ÄÖÜ")},
        {ECase::Ignored, QD_W("Σίσυφος|ΣΊΣΥΦΟΣ")},
        {ECase::Ignored, QD_W("ёлка|ЁЛКА")},
        {ECase::Ignored, QD_W("a-B|A-b")},
        {ECase::Ignored, QD_W("straße|STRASSE")},
    };
    for (const auto& [letterCase, group] : cases) {
        SCOPED_TRACE(testing::PrintToString(group));
        const std::vector<WideText> texts = Split(group);
        for (std::size_t i = 1; i < texts.size(); ++i) {
            EXPECT_EQ(Order(texts[0], texts[i], ECase::Ignored), 0);
            EXPECT_EQ(Order(texts[0], texts[i], ECase::Matters) == 0, letterCase == ECase::Matters);
        }
    }
}

// That it agrees with the order of byte strings shows that it is total and transitive.
TEST(Collation, OrdersLikeItsKeysWhateverTheTexts)
{
    WideText alphabet =
        QD_W("aAbBeE1 .-'_äÄßéæﬁŁı²½µΣςяЙがァｱーヽ々漢\u0301\u0327\u00AD\u2013\u0001");
    if (kIsOffWindows)
        alphabet += QD_W("ª\u0344");
    if (kIsOffWindows) { // a mark before its sign weighs alone, and what is plain may be missing
        EXPECT_EQ(Order(QD_W("a\u0307"), QD_W("\u0302a"), ECase::Matters), 0);
        EXPECT_EQ(Order(QD_W("あゝ"), QD_W("あー"), ECase::Matters), -1);
        EXPECT_EQ(Order(QD_W("ae"), QD_W("a\u0592\u20EAé"), ECase::Matters), -1); // a sum of 0
        EXPECT_EQ(FindIgnoringCase(QD_W("aéa\u0592\u20EAé"), QD_W("a\u0593\u20EAé")), kNotFound);
    }
    std::minstd_rand random(7);
    const auto below = [&](std::size_t count) { return random() % count; };
    std::vector<WideText> texts(120);
    for (WideText& text : texts) {
        for (std::size_t length = below(5); length > 0; --length)
            text += alphabet[below(alphabet.size())];
    }
    for (const WideText& a : texts) {
        for (const WideText& b : texts) {
            SCOPED_TRACE(testing::PrintToString(a) + " and " + testing::PrintToString(b));
            ASSERT_NE(Order(a, b, ECase::Matters), 2);
            ASSERT_NE(Order(a, b, ECase::Ignored), 2);
            if (!kIsOffWindows)
                continue;
            // The search finds the first stretch that compares equal.
            const WideText part = b + QD_W("a") + a, text = a + part + b;
            std::size_t first = 0;
            while (Collate(text.substr(first, part.size()).c_str(), part.c_str(), ECase::Ignored) !=
                   0)
                ++first;
            ASSERT_EQ(FindIgnoringCase(text.c_str(), part.c_str()), first);
        }
    }
}

TEST(Collation, SeesEveryUnitWhereverTheTextsStand)
{
    const std::size_t length = 20;
    for (std::size_t shift = 0; shift < 16; ++shift) {
        for (std::size_t differ = 0; differ < length; ++differ) {
            const WideText a = WideText(shift, QD_W('x')) + WideText(length, QD_W('e'));
            WideText b = WideText(shift / 4, QD_W('y')) + WideText(length, QD_W('e'));
            EXPECT_EQ(Collate(a.c_str() + shift, b.c_str() + shift / 4, ECase::Matters), 0);
            b[shift / 4 + differ] = QD_W('f');
            EXPECT_LT(Collate(a.c_str() + shift, b.c_str() + shift / 4, ECase::Matters), 0);
            b.resize(shift / 4 + differ);
            EXPECT_GT(Collate(a.c_str() + shift, b.c_str() + shift / 4, ECase::Ignored), 0);
        }
    }
}

TEST(Collation, FindsAsManyUnitsAsThePartHas)
{
    const std::tuple<WideText, WideText, std::size_t> cases[] = {
        {QD_W("Messpunkt"), QD_W("PUNKT"), 4},   {QD_W("co-op"), QD_W("coop"), kNotFound},
        {QD_W("text"), QD_W(""), kNotFound},     {QD_W(""), QD_W("text"), kNotFound},
        {QD_W("Straße"), QD_W("ss"), kNotFound}, // one unit, not two
        {QD_W("Strasse"), QD_W("ß\u00AD"), 4},   {QD_W("xe\u0301"), QD_W("é"), kNotFound},
        {QD_W("xe\u0301"), QD_W("é\u00AD"), 1},  {QD_W("カー"), QD_W("ア"), kNotFound},
    };
    for (const auto& [text, part, position] : cases)
        EXPECT_EQ(FindIgnoringCase(text.c_str(), part.c_str()), position)
            << testing::PrintToString(text) << " and " << testing::PrintToString(part);
    EXPECT_EQ(FindIgnoringCase(QD_W("Äpfel"), WChar(0xE4)), 0u);
    EXPECT_EQ(FindIgnoringCase(QD_W("Messpunkt"), QD_W('q')), kNotFound);
    EXPECT_EQ(FindIgnoringCase(QD_W("ab"), WChar(0)), kNotFound);
}

TEST(Collation, TakesNarrowTextsByTheCodePage)
{
    const std::string umlauts(300, '\xE4');
    struct Case {
        std::string a, b;
        ECase letterCase;
        int order;
    };
    const Case cases[] = {
        {"co-op", "CO-OP", ECase::Matters, -1},  {"coop", "co-op", ECase::Ignored, -1},
        {"Z", "\xE4", ECase::Matters, 1},        {"\xC4", "\xE4", ECase::Ignored, 0},
        {"Str\xDF", "Strss", ECase::Matters, 0}, {umlauts, umlauts + "a", ECase::Ignored, -1},
    };
    for (const auto& [a, b, letterCase, order] : cases) {
        SCOPED_TRACE(a);
        EXPECT_EQ(Sign(Collate(a.c_str(), b.c_str(), letterCase)), order);
        EXPECT_EQ(Sign(Collate(b.c_str(), a.c_str(), letterCase)), -order);
    }
    EXPECT_EQ(FindIgnoringCase((umlauts + "Z\xC4").c_str(), "z\xE4"), 300u);
    EXPECT_EQ(FindIgnoringCase("Messpunkt", ""), kNotFound);
    EXPECT_EQ(FindIgnoringCase("xy\xC4", '\xE4'), 2u);
}
