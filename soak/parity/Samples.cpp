// Random arguments, and how values are told: see Sheet.h.

#include "core/file/BSha1.h"

#include "soak/parity/Sheet.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>

namespace {

// A script or kind of signs each; the last of all, so that nothing is left out.
const std::initializer_list<UnitRange> kAlphabets[] = {
    {{'a', 'z'}, {'A', 'Z'}},
    {{'a', 'd'}, {'A', 'D'}, {' ', ' '}},
    {{' ', '~'}},
    {{'0', '9'}, {'+', '.'}, {'a', 'f'}, {'x', 'x'}},
    {{1, 0x9F}},
    {{0xA0, 0xFF}, {'a', 'z'}},
    {{0x100, 0x24F}},
    {{0x300, 0x36F}, {'a', 'z'}, {0xC0, 0xFF}},
    {{0x370, 0x3FF}},
    {{0x1F00, 0x1FFF}},
    {{0x400, 0x52F}},
    {{0x530, 0x6FF}},
    {{0x900, 0x97F}},
    {{0xE00, 0xE7F}},
    {{0x1E00, 0x1EFF}},
    {{0x2000, 0x214F}, {'a', 'c'}},
    {{0x2150, 0x27BF}},
    {{0x3000, 0x30FF}},
    {{0x3041, 0x3096}, {0x30A1, 0x30FE}, {0xFF66, 0xFF9F}},
    {{0x4E00, 0x9FFF}},
    {{0xAC00, 0xD7A3}},
    {{0xD800, 0xDFFF}, {'a', 'c'}},
    {{0xE000, 0xFAFF}},
    {{0xFB00, 0xFDFF}},
    {{0xFE70, 0xFFFF}},
    {{1, 0xFFFF}},
};

const WChar* const kWords[] = {
    QD_W(""),         QD_W("Straße"),  QD_W("STRASSE"),    QD_W("co-op"),  QD_W("coop"),
    QD_W("a\u00ADb"), QD_W("ab"),      QD_W("\u200D"),     QD_W("æ"),      QD_W("ae"),
    QD_W("TRUE"),     QD_W("false"),   QD_W("$ID_Text"),   QD_W("$Plain"), QD_W("%d"),
    QD_W("\\n\\x41"), QD_W("\\x4"),    QD_W("\"q\""),      QD_W("'q'"),    QD_W(" a "),
    QD_W("\ta;b\t"),  QD_W("ﬁ"),       QD_W("fi"),         QD_W("ǆ"),      QD_W("Σας"),
    QD_W("σΑΣ"),      QD_W("e\u0301"), QD_W("é"),          QD_W("カー"),   QD_W("かあ"),
    QD_W("ﾊﾟ"),       QD_W("パ"),      QD_W("\U0001F600"), QD_W("İi"),     QD_W("ı"),
    QD_W("a'b"),      QD_W("a–b"),     QD_W("a.b"),        QD_W("K"),      QD_W("µ"),
};

int RandomLength(Dice& dice)
{
    switch (dice.Below(12)) {
    case 0: return 1;
    case 1: return 20 + dice.Below(60);
    default: return 1 + dice.Below(8);
    }
}

WString RandomPiece(Dice& dice, int length)
{
    const auto& alphabet = dice.OneIn(2) ? kAlphabets[dice.Below(6)] : dice.Pick(kAlphabets);
    WString text;
    for (int i = 0; i < length; ++i)
        text += RandomUnit(dice, {alphabet.begin(), alphabet.size()});
    return text;
}

} // namespace

std::string Show(const WString& text)
{
    std::string shown = "\"";
    char unit[8];
    for (const WChar each : text.AsView()) {
        if (each >= ' ' && each <= '~' && each != '"' && each != '\\') {
            shown += static_cast<char>(each);
            continue;
        }
        std::snprintf(unit, sizeof unit, "\\u%04X", static_cast<unsigned>(each));
        shown += unit;
    }
    return shown + '"';
}

std::string Show(const BString& text)
{
    return ShowBytes(text.AsView());
}

std::string ShowBytes(std::string_view bytes)
{
    std::string shown = "'";
    char unit[8];
    for (const char each : bytes) {
        if (each >= ' ' && each <= '~' && each != '\'' && each != '\\') {
            shown += each;
            continue;
        }
        std::snprintf(unit, sizeof unit, "\\x%02X", static_cast<unsigned char>(each));
        shown += unit;
    }
    return shown + '\'';
}

std::string Show(double value)
{
    char text[64];
    return {text, std::to_chars(text, std::end(text), value).ptr};
}

WString Wide(std::string_view text)
{
    WString wide;
    for (const char each : text)
        wide += static_cast<WChar>(each);
    return wide;
}

WString RandomText(Dice& dice)
{
    if (dice.OneIn(8))
        return dice.Pick(kWords);
    WString text = RandomPiece(dice, RandomLength(dice));
    if (dice.OneIn(4))
        text += RandomPiece(dice, 1 + dice.Below(4));
    return text;
}

BString RandomNarrow(Dice& dice)
{
    BString text;
    const bool isAscii = dice.OneIn(2);
    for (int left = dice.OneIn(12) ? 0 : RandomLength(dice); left > 0; --left)
        text += static_cast<char>(isAscii ? ' ' + dice.Below(95) : 1 + dice.Below(255));
    return text;
}

WString Varied(Dice& dice, const WString& text)
{
    WString varied = text;
    const auto position = dice.Next() % (text.Length() + 1);
    const int kind = dice.Below(6);
    const WString piece = RandomPiece(dice, 1);
    if (kind == 0)
        return dice.OneIn(2) ? text.Upper() : text.Lower();
    if (kind == 1)
        varied.Remove(position, 1);
    else if (kind == 2)
        varied.Insert(piece.CStr(), position);
    else if (kind == 3)
        varied.ReplaceAt(piece.CStr(), position);
    else if (kind == 4 && position < text.Length())
        varied.SetAt(position,
                     static_cast<WChar>(text.GetAt(position) ^ (dice.OneIn(2) ? 0x20 : 1)));
    return varied;
}

std::string RandomName(Dice& dice, int longest)
{
    constexpr std::string_view kSigns = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::string name;
    for (int left = 1 + dice.Below(longest); left > 0; --left)
        name += kSigns[dice.Next() % (name.empty() ? 26 : kSigns.size())];
    return name;
}

bool IsVowelSign(WChar unit)
{
    return unit == 0x0E31 || (unit >= 0x0E34 && unit <= 0x0E3A) || unit == 0x0E4D ||
           unit == 0x1885 || unit == 0x1886;
}

bool IsJamo(WChar unit)
{
    return (unit >= 0x1100 && unit <= 0x11FF) || (unit >= 0xA960 && unit <= 0xA97F) ||
           (unit >= 0xD7B0 && unit <= 0xD7FF);
}

WChar RandomUnit(Dice& dice, std::span<const UnitRange> ranges)
{
    for (;;) {
        const UnitRange range = dice.Pick(ranges);
        const auto unit =
            static_cast<WChar>(range.first + dice.Below(range.last - range.first + 1));
        if (!IsVowelSign(unit) && !IsJamo(unit))
            return unit;
    }
}

WString RandomNumberText(Dice& dice)
{
    static const WChar* const kPieces[] = {
        QD_W("0"),      QD_W("1"),          QD_W("12"),       QD_W("9999999999"),
        QD_W("."),      QD_W("."),          QD_W("e"),        QD_W("4503599627370497"),
        QD_W("E-3"),    QD_W("e308"),       QD_W("e-324"),    QD_W("x"),
        QD_W("0x"),     QD_W("ff"),         QD_W("p1"),       QD_W("+"),
        QD_W("-"),      QD_W(" "),          QD_W("inf"),      QD_W("nan"),
        QD_W("\t"),     QD_W("infinity"),   QD_W("00000000"), QD_W(","),
        QD_W("e+"),     QD_W("2147483648"), QD_W("mm"),       QD_W("18446744073709551616"),
        QD_W("\u00A0"), QD_W("\u3000"),     QD_W("5"),
    };
    if (dice.OneIn(4))
        return WString(BString(Show(RandomDouble(dice)).c_str()));
    WString text;
    for (int left = 1 + dice.Below(5); left > 0; --left)
        text += dice.OneIn(3) ? Wide(std::to_string(dice.Below(100))) : WString(dice.Pick(kPieces));
    return text;
}

double RandomDouble(Dice& dice)
{
    constexpr double kLimits[] = {0.0,
                                  -0.0,
                                  0.5,
                                  2.5,
                                  999999.5,
                                  1e15,
                                  1e22,
                                  1e23,
                                  5e-324,
                                  (std::numeric_limits<double>::max)(),
                                  (std::numeric_limits<double>::min)(),
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN(),
                                  25.4,
                                  1 / 25.4};
    const double part = static_cast<double>(dice.Below(2'000'001) - 1'000'000);
    switch (dice.Below(6)) {
    case 0: return dice.Pick(kLimits);
    case 1: return part / 1000;
    case 2: return std::ldexp(part, dice.Below(60) - 50); // mostly a tie somewhere
    case 3: return part * 1e6;
    case 4: return part;
    default: {
        const double any = std::bit_cast<double>(dice.Next());
        return std::isnan(any) ? 1e-5 : any; // which one it is, is not compared
    }
    }
}

std::int64_t RandomInteger(Dice& dice)
{
    const auto bits = static_cast<std::int64_t>(dice.Next());
    return dice.OneIn(3) ? bits >> dice.Below(64) : bits % 1000;
}

std::string UnitBytes(const WString& text)
{
    std::string bytes;
    for (const WChar unit : text.AsView())
        bytes.append({static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)});
    return bytes;
}

std::string BytesOfFile(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void PutFile(const std::string& name, const std::string& bytes)
{
    std::remove(name.c_str()); // an overwritten file is written to the disk
    std::ofstream(name, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string DigestOfFile(const std::string& name)
{
    std::error_code ignored;
    if (!std::filesystem::exists(name, ignored))
        return "missing";
    std::string bytes = BytesOfFile(name);
    WString digest;
    Crypt::BSha1::Encrypt(bytes.data(), bytes.size(), digest);
    return Words(bytes.size(), BString(digest).CStr());
}
