// Texts made by formats: one conversion of any kind with any flags, or three in a row.

#include "soak/parity/Sheet.h"

#include <string_view>

namespace {

// In turn: flags, width, precision below `precisions`, or none for 0. Above a width or precision of
// 20, Wine's formatter writes behind its buffer for wide integers.
std::string RandomSpecification(Dice& dice, int precisions, std::string_view flags = "-+ 0#")
{
    std::string text = "%";
    for (int left = dice.Below(4); left > 0; --left)
        text += flags[dice.Next() % flags.size()];
    if (dice.OneIn(2))
        text += std::to_string(1 + dice.Below(19));
    if (precisions > 0 && dice.OneIn(2))
        text += '.' + (dice.OneIn(6) ? "" : std::to_string(dice.Below(precisions)));
    return text;
}

template <class String, class... Values>
void Tell(Sheet& sheet, const std::string& name, const std::string& format,
          const std::string& arguments, Values... values)
{
    String text(BString("unchanged"));
    text.Printf(String(BString(format.c_str())), values...);
    sheet.Tell(name, format + ' ' + arguments, Words(text));
}

template <class String>
void TryInteger(Sheet& sheet, Dice& dice, const std::string& name)
{
    static constexpr std::string_view kSizes[] = {"", "", "h", "ll", "I64", "I32", "j", "z", "t"};
    const std::string_view size = dice.Pick(kSizes);
    std::string format =
        dice.OneIn(2) ? RandomSpecification(dice, 0) : RandomSpecification(dice, 20, "-+ ");
    format += size;
    format += "diuxXo"[dice.Below(6)];
    const std::int64_t value = RandomInteger(dice);
    if (size.empty() || size == "h" || size == "I32")
        Tell<String>(sheet, name, format, Words(static_cast<int>(value)), static_cast<int>(value));
    else
        Tell<String>(sheet, name, format, Words(value), static_cast<long long>(value));
}

template <class String>
void TryDouble(Sheet& sheet, Dice& dice, const std::string& name)
{
    const bool isHexadecimal = dice.OneIn(8);
    std::string format = isHexadecimal ? RandomSpecification(dice, 40, "+ 0#")
                                       : RandomSpecification(dice, dice.OneIn(8) ? 60 : 20);
    if (dice.OneIn(4))
        format += 'l';
    format += isHexadecimal ? "aA"[dice.Below(2)] : "feEgGF"[dice.Below(6)];
    const double value = RandomDouble(dice);
    Tell<String>(sheet, name, format, Words(value), value);
}

template <class String>
void TryTextIn(Sheet& sheet, Dice& dice, const std::string& name)
{
    static constexpr std::string_view kKinds[] = {"s", "S", "ls", "hs", "ws", "lS", "hS"};
    const std::string_view kind = dice.Pick(kKinds);
    const std::string format = '<' + RandomSpecification(dice, 12) + std::string(kind) + '>';
    const WString wide = RandomText(dice);
    const BString narrow = RandomNarrow(dice);
    constexpr bool isWideFormat = sizeof(typename String::Char) == 2;
    const bool takesWide =
        kind[0] == 'l' || kind[0] == 'w' || (kind[0] != 'h' && (kind[0] == 's') == isWideFormat);
    if (takesWide)
        Tell<String>(sheet, name, format, Words(wide), wide.CStr());
    else
        Tell<String>(sheet, name, format, Words(narrow), narrow.CStr());
}

template <class String>
void TryUnit(Sheet& sheet, Dice& dice, const std::string& name)
{
    const std::string format =
        '<' + RandomSpecification(dice, 0) + (dice.OneIn(2) ? 'c' : 'C') + '>';
    const int unit = 1 + dice.Below(sizeof(typename String::Char) == 1 ? 255 : 0xFFFF);
    Tell<String>(sheet, name, format, Words(unit), unit);
}

template <class String>
void TryRow(Sheet& sheet, Dice& dice, const std::string& name)
{
    const std::string number = '%' + std::to_string(dice.Below(20)) + 'd';
    const std::string real = RandomSpecification(dice, 10) + 'g';
    const std::string text = RandomSpecification(dice, 10) + 's';
    const auto integer = static_cast<int>(RandomInteger(dice));
    const double value = RandomDouble(dice);
    const int width = dice.Below(40) - 20;
    const String word(BString(RandomName(dice).c_str()));
    Tell<String>(sheet, name, number + "|" + real + "|%*d%%" + text,
                 Words(integer, value, width, integer, word), integer, value, width, integer,
                 word.CStr());
}

template <class String>
void TryFormatOf(Sheet& sheet, Dice& dice, const std::string& name)
{
    switch (dice.Below(8)) {
    case 0:
    case 1: return TryInteger<String>(sheet, dice, name + "integer");
    case 2:
    case 3: return TryDouble<String>(sheet, dice, name + "double");
    case 4: return TryTextIn<String>(sheet, dice, name + "text");
    case 5: return TryUnit<String>(sheet, dice, name + "unit");
    case 6: {
        String text;
        const std::int64_t value = RandomInteger(dice);
        const int radix = dice.Below(40);
        text.ItoA(value, radix);
        return sheet.Tell(name + "ItoA", Words(value, radix), Words(text));
    }
    default: return TryRow<String>(sheet, dice, name + "row");
    }
}

} // namespace

void TryFormat(Sheet& sheet, Dice& dice)
{
    if (dice.OneIn(2))
        TryFormatOf<WString>(sheet, dice, "WString.Printf.");
    else
        TryFormatOf<BString>(sheet, dice, "BString.Printf.");
}
