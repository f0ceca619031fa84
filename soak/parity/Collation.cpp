// The order of texts where it hangs on more than letters: on the marks, which add up, on what is
// left out, on what counts as several signs, repeats one or joins others. Random texts have little
// of it, and mostly differ in a letter before. Here both are made at once, of letters that stand at
// one place of the order, so that all else decides.

#include "soak/parity/Sheet.h"

#include <iterator>

namespace {

// Letters of one place each, or that count as those.
const WChar* const kLetters[] = {
    QD_W("aAáÄåａＡ"), QD_W("eEéÊ"),   QD_W("sSſßẞ"),   QD_W("iIıİíﬁ"), QD_W("aæÆ"),
    QD_W("αΑάᾳ"),      QD_W("اأإآﺍﺎ"), QD_W("لﻝﻟﻻ"),    QD_W("ەﳗ"),     QD_W("かカｶがガ"),
    QD_W("あアｱぁｧ"),  QD_W("漢一"),   QD_W("1¹①１½"),  QD_W("가각"),   QD_W("\uE000\uE001"),
    QD_W("й\u0438И"),  QD_W("ก"),      QD_W("क\u0958"), QD_W("-'"),     QD_W("\xD83D\xDE00")};

constexpr UnitRange kMarks[] = {
    {0x300, 0x36F},   {0x483, 0x489},   {0x591, 0x5C7},   {0x610, 0x61A},
    {0x64B, 0x65F},   {0x6D6, 0x6ED},   {0x711, 0x74A},   {0x7A6, 0x7B0},
    {0x816, 0x82D},   {0x93C, 0x94D},   {0xE47, 0xE4E},   {0x135D, 0x135F},
    {0x1DC0, 0x1DFF}, {0x20D0, 0x20F0}, {0x3099, 0x309C}, {0xFE00, 0xFE2F}};

// Ligatures, forms of letters in their words, half a surrogate, and everything.
constexpr UnitRange kOthers[] = {{0xFB00, 0xFB4F}, {0xFB50, 0xFDFF}, {0xFE70, 0xFEFF},
                                 {0xFF61, 0xFF9F}, {0xD800, 0xDFFF}, {0xE000, 0xF8FF},
                                 {0x2010, 0x206F}, {0x3000, 0x30FF}, {1, 0xFFFF}};

// Dashes, what is left out, what repeats or prolongs the sign before.
constexpr WChar kFew[] = QD_W("--'\u00AD\u2010\u2013\u200B\u200D\u2060\uFEFF\uFFFD\u0640\u0001")
    QD_W("\u3005\u303B\u3031\u3032\u309D\u309E\u30FC\u30FD\u30FE\uFF70");

WChar RandomExtra(Dice& dice)
{
    const int kind = dice.Below(8);
    if (kind < 5)
        return RandomUnit(dice, kMarks);
    return kind < 7 ? kFew[dice.Below(std::size(kFew) - 1)] : RandomUnit(dice, kOthers);
}

/// Both of the same letters, but for their kind, mostly with the same between them.
void MakePair(Dice& dice, WString& text, WString& other)
{
    for (int left = 1 + dice.Below(8); left > 0; --left) {
        const bool isLetter = dice.OneIn(3);
        const WString letters = dice.Pick(kLetters);
        const auto draw = [&] {
            return isLetter ? letters.GetAt(dice.Next() % letters.Length()) : RandomExtra(dice);
        };
        const WChar unit = draw();
        if (isLetter || !dice.OneIn(5))
            text += unit;
        if (isLetter || !dice.OneIn(5))
            other += dice.OneIn(5) ? draw() : unit;
    }
}

} // namespace

void TryCollation(Sheet& sheet, Dice& dice)
{
    WString text, other;
    if (dice.OneIn(100)) { // two marks that add up to nothing, where such a pair was first met
        text = QD_W("\u05B3\u06E2\u06D5\uFCD7");
        other = QD_W("\u06D5\uFCD7");
    } else {
        MakePair(dice, text, other);
    }
    const std::string arguments = Words(text, other);
    sheet.Tell("Collation.Cmp", arguments, Words(Sign(text.Cmp(other)), Sign(text.ICmp(other))));
    WString both = other + text + other;
    const bool isEnd = both.IEndsWith(text);
    const bool isFound = both.IReplace(text.CStr(), QD_W("|"));
    sheet.Tell("Collation.IReplace", arguments, Words(isEnd, isFound, both));
}
