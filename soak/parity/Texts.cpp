// Texts of both widths, the ANSI code page, classes of signs, numbers in texts.

#include "core/base/BKeyTraits.h"

#include "soak/parity/Sheet.h"

#include <algorithm>
#include <vector>

namespace {

/// What a row of the tables below takes; some need less.
template <class String>
struct Input {
    String text, other, third;
    std::size_t position, count;
    typename String::Char unit;
};

template <class String>
struct Row {
    const char* name;
    std::string (*apply)(Input<String>& in); // what it gave; `in.text` is told besides
};

template <class String>
const Row<String> kRows[] = {
    // By the collation
    {"Cmp", [](Input<String>& in) { return Words(Sign(in.text.Cmp(in.other))); }},
    {"Cmp", [](Input<String>& in) { return Words(Sign(in.text.Cmp(in.other))); }},
    {"ICmp", [](Input<String>& in) { return Words(Sign(in.text.ICmp(in.other))); }},
    {"ICmp", [](Input<String>& in) { return Words(Sign(in.text.ICmp(in.other))); }},
    {"Equal",
     [](Input<String>& in) { return Words(in.text.Equal(in.other), in.text.IEqual(in.other)); }},
    {"EndsWith", [](Input<String>& in) { return Words(in.text.EndsWith(in.other)); }},
    {"IEndsWith", [](Input<String>& in) { return Words(in.text.IEndsWith(in.other)); }},
    {"IIncludes", [](Input<String>& in) { return Words(in.text.IIncludes(in.other)); }},
    {"IIncludes.Unit", [](Input<String>& in) { return Words(in.text.IIncludes(in.unit)); }},
    {"IReplace", [](Input<String>& in) { return Words(in.text.IReplace(in.other, in.third)); }},
    // By units
    {"StartsWith", [](Input<String>& in) { return Words(in.text.StartsWith(in.other)); }},
    {"IStartsWith", [](Input<String>& in) { return Words(in.text.IStartsWith(in.other)); }},
    {"Includes",
     [](Input<String>& in) {
         return Words(in.text.Includes(in.other), in.text.Includes(in.unit));
     }},
    {"Search",
     [](Input<String>& in) {
         return Words(static_cast<std::int64_t>(in.text.Search(in.other, in.position)),
                      static_cast<std::int64_t>(in.text.Search(in.unit, in.position)));
     }},
    {"Replace", [](Input<String>& in) { return Words(in.text.Replace(in.other, in.third, true)); }},
    {"Insert",
     [](Input<String>& in) { return Words(in.text.Insert(in.other.CStr(), in.position)); }},
    {"Remove", [](Input<String>& in) { return in.text.Remove(in.position, in.count), Words(); }},
    {"ReplaceAt",
     [](Input<String>& in) { return in.text.ReplaceAt(in.other.CStr(), in.position), Words(); }},
    {"Prepend", [](Input<String>& in) { return in.text.Prepend(in.other), Words(); }},
    {"Sub", [](Input<String>& in) { return Words(in.text.Sub(in.position, in.count)); }},
    {"Cut", [](Input<String>& in) { return Words(in.text.Cut(in.position, in.count)); }},
    {"Token",
     [](Input<String>& in) {
         return Words(in.text.TokenCount(in.unit), in.text.Token(in.count % 4, in.unit));
     }},
    {"Split",
     [](Input<String>& in) {
         String rest;
         const bool isSplit = in.text.Split(rest, in.unit, in.count % 2 == 0);
         return Words(isSplit, rest);
     }},
    {"Trim",
     [](Input<String>& in) {
         const bool isLeft = in.text.TrimLeft(), isRight = in.text.TrimRight();
         return Words(isLeft, isRight);
     }},
    {"TrimSet", [](Input<String>& in) { return Words(in.text.TrimRight(in.other.CStr())); }},
    {"Upper", [](Input<String>& in) { return Words(in.text.Upper(), in.text.Lower()); }},
    {"Lines",
     [](Input<String>& in) { return Words(in.text.CountLines(), in.text.LengthOfLongestLine()); }},
    {"Printable", [](Input<String>& in) { return Words(in.text.Printable()); }},
    {"ResolveEsc", [](Input<String>& in) { return in.text.ResolveEsc(), Words(); }},
    {"IsSet",
     [](Input<String>& in) {
         return Words(in.text.IsAlpha(), in.text.IsDigit(), in.text.IsPrint(), in.text.IsAlphaNum(),
                      in.text.IsAlphaNumUnderscore(), in.text.IsCharSet(in.other.CStr()));
     }},
    {"KeyHash", [](Input<String>& in) { return Words(BKeyTraits<String>::Hash(in.text)); }},
};

template <class String>
void TryText(Sheet& sheet, Input<String> in, const Row<String>& row, const char* width)
{
    const std::string arguments = Words(
        in.text, in.other, in.third, in.position, in.count,
        static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<decltype(in.unit)>>(in.unit)));
    const std::string result = row.apply(in);
    sheet.Tell(std::string(width) + '.' + row.name, arguments, Words(result, in.text));
}

// Often a part of the text, or nearly.
WString RandomOther(Dice& dice, const WString& text)
{
    const int kind = dice.Below(5);
    if (kind == 0)
        return RandomText(dice);
    if (kind < 3)
        return Varied(dice, kind == 1 ? text : Varied(dice, text));
    const std::size_t from = dice.Next() % (text.Length() + 1), count = dice.Next() % 4;
    const WString part = kind == 3 ? text.Sub(from) : text.Sub(from, count);
    return dice.OneIn(2) ? part : Varied(dice, part);
}

} // namespace

void TryWideText(Sheet& sheet, Dice& dice)
{
    Input<WString> in = {};
    in.text = RandomText(dice);
    in.other = RandomOther(dice, in.text);
    in.third = RandomText(dice);
    in.position = dice.Next() % (in.text.Length() + 2);
    in.count = dice.Next() % 5;
    const WString units = dice.OneIn(2) ? in.text : in.third;
    in.unit = units.GetAt(dice.Next() % (units.Length() + 1));
    TryText(sheet, in, dice.Pick(kRows<WString>), "WString");
}

void TryNarrowText(Sheet& sheet, Dice& dice)
{
    Input<BString> in = {};
    in.text = dice.OneIn(2) ? RandomNarrow(dice) : BString(RandomText(dice).CStr());
    in.other = BString(RandomOther(dice, WString(in.text)).CStr());
    in.third = RandomNarrow(dice);
    in.position = dice.Next() % (in.text.Length() + 2);
    in.count = dice.Next() % 5;
    const BString units = dice.OneIn(2) ? in.text : in.third;
    in.unit = units.GetAt(dice.Next() % (units.Length() + 1));
    TryText(sheet, in, dice.Pick(kRows<BString>), "BString");
}

void TryCodePage(Sheet& sheet, Dice& dice)
{
    const WString wide = RandomText(dice);
    sheet.Tell("ToAnsi", Words(wide), Words(wide.AsString(), WString(wide.AsString())));
    const BString narrow = RandomNarrow(dice);
    sheet.Tell("FromAnsi", Words(narrow), Words(WString(narrow), WString(narrow).AsString()));
    bool isWhole = false;
    const std::string utf8 = wide.AsUtf8(&isWhole);
    sheet.Tell("AsUtf8", Words(wide), Words(ShowBytes(utf8), isWhole));
    std::string bytes = dice.OneIn(2) ? utf8 : std::string(narrow.CStr());
    if (!bytes.empty())
        bytes[dice.Next() % bytes.size()] = static_cast<char>(dice.Next());
    const WString read = WString::FromUtf8(bytes, &isWhole);
    sheet.Tell("FromUtf8", ShowBytes(bytes), Words(read, isWhole, BString::FromUtf8(bytes)));
    WString image;
    image.EncodeMemory(bytes.data(), bytes.size());
    std::vector<char> decoded(wide.Length() / 2);
    const bool isDecoded = wide.DecodeMemory(decoded.data(), decoded.size());
    sheet.Tell("EncodeMemory", ShowBytes(bytes), Words(image));
    sheet.Tell("DecodeMemory", Words(wide),
               Words(isDecoded, ShowBytes({decoded.data(), decoded.size()})));
}

// A block of units: all of them come in a few thousand rounds.
void TryClasses(Sheet& sheet, Dice& dice)
{
    const int first = 64 * dice.Below(1024);
    for (int code = (std::max)(first, 1); code < first + 64; ++code) {
        if (IsVowelSign(static_cast<WChar>(code)))
            continue;
        const WString unit = WString() += static_cast<WChar>(code);
        WString trimmed = unit;
        const bool isSpace = trimmed.TrimLeft();
        sheet.Tell("Class", Words(unit),
                   Words(unit.IsAlpha(), unit.IsDigit(), unit.IsPrint(), unit.IsAlphaNum(), isSpace,
                         unit.Upper(), unit.Lower(), unit.AsString()));
    }
}

void TryNumbers(Sheet& sheet, Dice& dice)
{
    const WString text = RandomNumberText(dice);
    const BString narrow(text.CStr());
    double number = -7;
    float single = -7;
    int integer = -7;
    const auto tell = [&](const char* name, const auto& of, bool isOne, auto value) {
        sheet.Tell(name, Words(of), Words(isOne, value));
    };
    switch (dice.Below(10)) {
    case 0: return tell("WString.Convert.double", text, text.Convert(number), number);
    case 1: return tell("WString.Convert.float", text, text.Convert(single), single);
    case 2: return tell("WString.Convert.int", text, text.Convert(integer), integer);
    case 3: return tell("WString.AtoI", text, true, text.AtoI());
    case 4: return tell("WString.AtoF", text, true, text.AtoF());
    case 5: return tell("BString.Convert.double", narrow, narrow.Convert(number), number);
    case 6: return tell("BString.Convert.float", narrow, narrow.Convert(single), single);
    case 7: return tell("BString.Convert.int", narrow, narrow.Convert(integer), integer);
    case 8: return tell("BString.AtoI", narrow, true, narrow.AtoI());
    default: return tell("BString.AtoF", narrow, true, narrow.AtoF());
    }
}
