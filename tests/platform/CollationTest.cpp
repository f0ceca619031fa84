#include "core/platform/Collation.h"

#include "core/platform/WideText.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
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
    struct Case {
        ECase letterCase;
        std::vector<WideText> ascending;
    };
    const auto with = ECase::Matters;
    const auto without = ECase::Ignored;
    const Case cases[] = {
        {with, {QD_W(""), QD_W(" "), QD_W("a"), QD_W("a "), QD_W("a b"), QD_W("aa")}},
        {with, {QD_W("node"), QD_W("Node"), QD_W("NODE"), QD_W("node1"), QD_W("Nodf")}},
        {with, {QD_W("Punkt 1"), QD_W("Punkt 10"), QD_W("Punkt 2"), QD_W("punkt2")}},
        // Dashes count last, the later the less.
        {with,
         {QD_W("ab"), QD_W("ab-"), QD_W("a'b"), QD_W("a-b"), QD_W("a--b"), QD_W("-ab"),
          QD_W("ac")}},
        {with, {QD_W("coop"), QD_W("co-op"), QD_W("Co-op"), QD_W("COOP"), QD_W("CO-OP")}},
        {without, {QD_W("COOP"), QD_W("Co-op"), QD_W("coops")}},
        {with,
         {QD_W("a"), QD_W("a\u0001"), QD_W("a\u007F"), QD_W("a'"), QD_W("a-"), QD_W("a\u2013")}},
        // Accents count before case, from the front.
        {with, {QD_W("resume"), QD_W("Resume"), QD_W("résumé"), QD_W("Résumé"), QD_W("resumes")}},
        {with,
         {QD_W("a"), QD_W("A"), QD_W("ª"), QD_W("á"), QD_W("Á"), QD_W("à"), QD_W("â"), QD_W("ä"),
          QD_W("ã"), QD_W("å"), QD_W("æ"), QD_W("b")}},
        {with, {QD_W("o"), QD_W("ö"), QD_W("ø"), QD_W("øa"), QD_W("p")}},
        {without, {QD_W("E"), QD_W("é"), QD_W("Ê"), QD_W("f")}},
        // Scripts, numbers and symbols among each other.
        {with,
         {QD_W("§"), QD_W("µ"), QD_W("0"), QD_W("½"), QD_W("1"), QD_W("¹"), QD_W("10"), QD_W("2"),
          QD_W("²"), QD_W("z"), QD_W("α"), QD_W("Ω"), QD_W("я"), QD_W("か"), QD_W("א"), QD_W("ก"),
          QD_W("가"), QD_W("漢")}},
        {with, {QD_W("а"), QD_W("б"), QD_W("е"), QD_W("ё"), QD_W("ж"), QD_W("и"), QD_W("й")}},
        {with, {QD_W("α"), QD_W("Α"), QD_W("ά"), QD_W("β"), QD_W("σ"), QD_W("ς"), QD_W("Σ")}},
        {with, {QD_W("a\u200Bb"), QD_W("a.b"), QD_W("a_b"), QD_W("a+b"), QD_W("a1b"), QD_W("ab")}},
        {with, {QD_W("ab"), QD_W("ａb"), QD_W("Ab"), QD_W("Ａb")}},
        {without, {QD_W("i"), QD_W("ı"), QD_W("j")}},
        // Private use, supplementary characters, what repeats nothing.
        {with,
         {QD_W("\u20A8"), QD_W("\u20AC"), QD_W("\u20B4"), QD_W("\u0915"), QD_W("\u0929"),
          QD_W("\u092E"), QD_W("\uE000"), QD_W("\U0001F600"), QD_W("가"), QD_W("漢"),
          QD_W("\U00020000"), QD_W("ー")}},
        // Of kana the size, repetition, type and width count behind case, each for all of the text.
        {with, {QD_W("ｧ"), QD_W("ァ"), QD_W("ぁ"), QD_W("ｱ"), QD_W("ア"), QD_W("あ")}},
        {with, {QD_W("ァあ"), QD_W("ぁあ"), QD_W("アぁ"), QD_W("ｱア"), QD_W("アｱ")}},
        {with, {QD_W("ぁa"), QD_W("あa"), QD_W("ぁA"), QD_W("あA")}},
        {with, {QD_W("かあ"), QD_W("カー"), QD_W("かー"), QD_W("がー"), QD_W("かい")}},
        {without, {QD_W("カカ"), QD_W("カヽ"), QD_W("かゝ"), QD_W("かが"), QD_W("かゞ")}},
        {without, {QD_W("一"), QD_W("一々"), QD_W("一a"), QD_W("一一")}},
    };
    for (const Case& row : cases) {
        for (std::size_t i = 0; i < row.ascending.size(); ++i) {
            for (std::size_t j = i + 1; j < row.ascending.size(); ++j) {
                EXPECT_EQ(Order(row.ascending[i], row.ascending[j], row.letterCase), -1)
                    << testing::PrintToString(row.ascending[i]) << " and "
                    << testing::PrintToString(row.ascending[j]);
            }
        }
    }
}

TEST(Collation, SortsAsciiByThisList)
{
    const WideText ascending =
        QD_W(" \t\n\v\f\r!\"#$%&()*,./:;?@[\\]^_`{|}~+<=>0123456789aAbBcCdDeEfFgGhHiIjJkKlLmMnNoO")
            QD_W("pPqQrRsStTuUvVwWxXyYzZ");
    for (std::size_t i = 0; i + 1 < ascending.size(); ++i) {
        const WideText lower(1, ascending[i]);
        const WideText upper(1, ascending[i + 1]);
        EXPECT_EQ(Order(lower, upper, ECase::Matters), -1) << testing::PrintToString(lower);
        EXPECT_EQ(
            Order(QD_W("x") + lower + QD_W("y"), QD_W("x") + upper + QD_W("y"), ECase::Matters), -1)
            << testing::PrintToString(lower);
    }
}

TEST(Collation, TakesDifferentSpellingsForEqual)
{
    const std::vector<WideText> always[] = {
        {QD_W("Straße"), QD_W("Strasse")},
        {QD_W("STRA\u1E9EE"), QD_W("STRASSE")},
        {QD_W("æœþ"), QD_W("aeoeth")},
        {QD_W("ÆŒÞ"), QD_W("AEOETH")},
        {QD_W("ﬁﬀĳǉ㎜"), QD_W("fiffijljmm")},
        {QD_W("\u2126\u212A"), QD_W("\u03A9K")}, // ohm and kelvin
        {QD_W("\u00C5"), QD_W("\u212B"), QD_W("A\u030A")},
        {QD_W("å"), QD_W("a\u0301\u0301")}, // the weights of accents add up
        {QD_W("é-b"), QD_W("e-\u0301b"), QD_W("e\u00AD\u0301-b")},
        {QD_W(""), QD_W("\u00AD"), QD_W("\u200C\u200D\u200E\u2060"), QD_W("\uFEFF\uFFFD\uFFFF"),
         QD_W("\u0640")},
        {QD_W("ab"), QD_W("a\u00ADb"), QD_W("ab\uFEFF")},
        {QD_W("aa"), QD_W("aー"), QD_W("a\u00ADー"), QD_W("a々")},
    };
    const std::vector<WideText> withoutCase[] = {
        {QD_W("node"), QD_W("NODE"), QD_W("nOde")},
        {QD_W("äöü"), QD_W("ÄÖÜ")},
        {QD_W("Σίσυφος"), QD_W("ΣΊΣΥΦΟΣ")},
        {QD_W("ёлка"), QD_W("ЁЛКА")},
        {QD_W("a-B"), QD_W("A-b")},
        {QD_W("straße"), QD_W("STRASSE")},
    };
    for (const auto& group : always) {
        for (const WideText& text : group) {
            SCOPED_TRACE(testing::PrintToString(text));
            EXPECT_EQ(Order(group[0], text, ECase::Matters), 0);
            EXPECT_EQ(Order(group[0], text, ECase::Ignored), 0);
        }
    }
    for (const auto& group : withoutCase) {
        for (std::size_t i = 1; i < group.size(); ++i) {
            SCOPED_TRACE(testing::PrintToString(group[i]));
            EXPECT_EQ(Order(group[0], group[i], ECase::Ignored), 0);
            EXPECT_NE(Order(group[0], group[i], ECase::Matters), 0);
        }
    }
    EXPECT_NE(Order(QD_W("µ"), QD_W("μ"), ECase::Ignored), 0); // the sign and the letter
}

TEST(Collation, OrdersLikeItsKeysWhateverTheTexts)
{
    // That it agrees with the order of byte strings shows that it is total and transitive.
    const WideText alphabet =
        QD_W("aAbBeE1 .-'_äÄßéæﬁŁı²½µΣςяЙがァｱーヽ々漢\u0301\u0327\u00AD\u2013\u0001");
    std::minstd_rand random(7);
    const auto below = [&](std::size_t count) { return random() % count; };
    std::vector<WideText> texts(150);
    for (WideText& text : texts) {
        for (std::size_t length = below(5); length > 0; --length)
            text += alphabet[below(alphabet.size())];
    }
    for (const ECase letterCase : {ECase::Matters, ECase::Ignored}) {
        for (const WideText& a : texts) {
            for (const WideText& b : texts)
                ASSERT_NE(Order(a, b, letterCase), 2)
                    << testing::PrintToString(a) << " and " << testing::PrintToString(b);
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
    struct Case {
        WideText text, part;
        std::size_t position;
    };
    const Case cases[] = {
        {QD_W("Messpunkt"), QD_W("PUNKT"), 4},
        {QD_W("Messpunkt"), QD_W("punkte"), kNotFound},
        {QD_W("aaab"), QD_W("aab"), 1},
        {QD_W("a-ba-b"), QD_W("A-BA"), 0},
        {QD_W("co-op"), QD_W("coop"), kNotFound},
        {QD_W("text"), QD_W(""), kNotFound},
        {QD_W(""), QD_W("text"), kNotFound},
        {QD_W("ÄPFEL"), QD_W("äpfel"), 0},
        {QD_W("Straße"), QD_W("ss"), kNotFound}, // one unit, not two
        {QD_W("Strasse"), QD_W("ß\u00AD"), 4},
        {QD_W("xe\u0301"), QD_W("é"), kNotFound},
        {QD_W("xe\u0301"), QD_W("e"), 1},
        {QD_W("xe\u0301"), QD_W("é\u00AD"), 1},
        {QD_W("ΛΌΓΟΣ"), QD_W("γος"), 2},
        {QD_W("10 k"), QD_W("\u212A"), 3},
        {QD_W("カーラー"), QD_W("ラー"), 2},
        {QD_W("カー"), QD_W("ア"), kNotFound},
        {QD_W("カー"), QD_W("ー"), 1},
        {QD_W("xaー"), QD_W("AA"), 1},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(FindIgnoringCase(row.text.c_str(), row.part.c_str()), row.position)
            << testing::PrintToString(row.text) << " and " << testing::PrintToString(row.part);
    }
    EXPECT_EQ(FindIgnoringCase(QD_W("Äpfel"), WChar(0xE4)), 0u);
    EXPECT_EQ(FindIgnoringCase(QD_W("Messpunkt"), QD_W('P')), 4u);
    EXPECT_EQ(FindIgnoringCase(QD_W("Messpunkt"), QD_W('q')), kNotFound);
    EXPECT_EQ(FindIgnoringCase(QD_W("ab"), WChar(0)), kNotFound);
}

TEST(Collation, TakesNarrowTextsByTheCodePage)
{
    struct Case {
        std::string a, b;
        ECase letterCase;
        int order;
    };
    const std::string umlauts(300, '\xE4');
    const Case cases[] = {
        {"co-op", "CO-OP", ECase::Matters, -1},
        {"co-op", "CO-OP", ECase::Ignored, 0},
        {"coop", "co-op", ECase::Ignored, -1},
        {"Z", "\xE4", ECase::Matters, 1},
        {"\xC4", "\xE4", ECase::Ignored, 0},
        {"Stra\xDF"
         "e",
         "Strasse", ECase::Matters, 0},
        {umlauts, umlauts + "a", ECase::Ignored, -1},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.a);
        EXPECT_EQ(Sign(Collate(row.a.c_str(), row.b.c_str(), row.letterCase)), row.order);
        EXPECT_EQ(Sign(Collate(row.b.c_str(), row.a.c_str(), row.letterCase)), -row.order);
    }
    EXPECT_EQ(FindIgnoringCase("Messpunkt", "PUNKT"), 4u);
    EXPECT_EQ(FindIgnoringCase((umlauts + "Z\xC4").c_str(), "z\xE4"), 300u);
    EXPECT_EQ(FindIgnoringCase("Messpunkt", ""), kNotFound);
    EXPECT_EQ(FindIgnoringCase("xy\xC4", '\xE4'), 2u);
    EXPECT_EQ(FindIgnoringCase("Messpunkt", 'P'), 4u);
}
