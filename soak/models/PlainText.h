#pragma once

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <string>
#include <vector>

/// What the members of the string classes promise, for plain texts and in the plainest way.
///
/// Collation, case and classes of units are those of ASCII letters and digits; a model asks for
/// them where its texts hold nothing else.
namespace plain {

template <class Unit>
using Text = std::basic_string<Unit>;

inline constexpr std::size_t kNone = std::string::npos;

template <class Unit>
bool IsLetterOrDigit(Unit unit)
{
    return (unit >= '0' && unit <= '9') || (unit >= 'A' && unit <= 'Z') ||
           (unit >= 'a' && unit <= 'z');
}

template <class Unit>
bool IsSimple(const Text<Unit>& text)
{
    return std::ranges::all_of(text, IsLetterOrDigit<Unit>);
}

template <class Unit>
bool IsAscii(Unit unit)
{
    return unit > 0 && unit < 128;
}

template <class Unit>
bool IsAscii(const Text<Unit>& text)
{
    return std::ranges::all_of(text, [](Unit unit) { return IsAscii(unit); });
}

/// Whether an ASCII text holds nothing else than what `isOfClass`, a function of <cctype>, accepts.
template <class Unit>
bool IsAll(const Text<Unit>& text, int (*isOfClass)(int))
{
    return std::ranges::all_of(text, [&](Unit unit) { return isOfClass(int{unit}) != 0; });
}

template <class Unit>
Text<Unit> Low(Text<Unit> text)
{
    for (Unit& unit : text)
        unit = static_cast<Unit>(unit >= 'A' && unit <= 'Z' ? unit - 'A' + 'a' : unit);
    return text;
}

template <class Unit>
Text<Unit> High(Text<Unit> text)
{
    for (Unit& unit : text)
        unit = static_cast<Unit>(unit >= 'a' && unit <= 'z' ? unit - 'a' + 'A' : unit);
    return text;
}

inline int Sign(int order)
{
    return (order > 0) - (order < 0);
}

/// By digits and letters; where these are the same, small letters come before large ones.
template <class Unit>
int Order(const Text<Unit>& a, const Text<Unit>& b, bool isCaseIgnored)
{
    const int letters = Low(a).compare(Low(b));
    return Sign(letters != 0 || isCaseIgnored ? letters : b.compare(a));
}

template <class Unit>
std::size_t Find(const Text<Unit>& text, const Text<Unit>& part, std::size_t start)
{
    return part.empty() ? kNone : text.find(part, start);
}

template <class Unit>
std::size_t FindUnit(const Text<Unit>& text, Unit unit, bool isFirst)
{
    return isFirst ? text.find(unit) : text.rfind(unit);
}

template <class Unit>
bool Replace(Text<Unit>& text, const Text<Unit>& from, const Text<Unit>& to, bool isCaseIgnored)
{
    const Text<Unit> searched = isCaseIgnored ? Low(text) : text;
    const Text<Unit> part = isCaseIgnored ? Low(from) : from;
    Text<Unit> made;
    std::size_t copied = 0;
    for (;;) {
        const std::size_t found = Find(searched, part, copied);
        if (found == kNone)
            break;
        made += text.substr(copied, found - copied) + to;
        copied = found + from.size();
    }
    if (copied != 0)
        text = made + text.substr(copied);
    return copied != 0;
}

/// None for an empty text.
template <class Unit>
std::vector<Text<Unit>> Tokens(const Text<Unit>& text, Unit separator)
{
    std::vector<Text<Unit>> tokens(text.empty() ? 0 : 1);
    for (const Unit unit : text) {
        if (unit == separator)
            tokens.emplace_back();
        else
            tokens.back() += unit;
    }
    return tokens;
}

/// A line feed behind one that ends a line ends none.
template <class Unit>
std::vector<Text<Unit>> Lines(const Text<Unit>& text)
{
    std::vector<Text<Unit>> lines(1);
    bool isBehindEnd = false;
    for (const Unit unit : text) {
        const bool isEnd = unit == '\n' && !isBehindEnd;
        if (isEnd)
            lines.emplace_back();
        else
            lines.back() += unit;
        isBehindEnd = isEnd;
    }
    return lines;
}

template <class Unit>
bool TrimLeft(Text<Unit>& text, const Text<Unit>& set)
{
    const std::size_t start = (std::min)(text.find_first_not_of(set), text.size());
    text = text.substr(start);
    return start != 0;
}

template <class Unit>
bool TrimRight(Text<Unit>& text, const Text<Unit>& set)
{
    const std::size_t before = text.size();
    text = text.substr(0, text.find_last_not_of(set) + 1);
    return text.size() != before;
}

template <class Unit>
Text<Unit> Number(std::uint64_t value, unsigned radix)
{
    Text<Unit> digits;
    do {
        const auto digit = static_cast<int>(value % radix);
        digits.insert(digits.begin(),
                      static_cast<Unit>(digit < 10 ? '0' + digit : 'a' + digit - 10));
        value /= radix;
    } while (value != 0);
    return digits;
}

template <class Unit>
Text<Unit> Decimal(std::int64_t value)
{
    const auto magnitude = static_cast<std::uint64_t>(value);
    return value < 0 ? Text<Unit>(1, Unit('-')) + Number<Unit>(0 - magnitude, 10)
                     : Number<Unit>(magnitude, 10);
}

/// Of ASCII units and, in narrow texts, others.
template <class Unit>
Text<Unit> Printable(const Text<Unit>& text)
{
    Text<Unit> made;
    for (const Unit unit : text) {
        const auto low = static_cast<unsigned char>(unit);
        const std::size_t special = std::string("\n\t\r\\").find(static_cast<char>(low));
        const Text<Unit> hexadecimal = Number<Unit>(256u + low, 16).substr(1);
        if (special != kNone)
            made += {Unit('\\'), static_cast<Unit>("ntr\\"[special])};
        else if (IsAscii(unit) && std::isprint(int{unit}))
            made += unit;
        else
            made += Text<Unit>{Unit('\\'), Unit('x')} + hexadecimal;
    }
    return made;
}

/// The value of a hexadecimal digit; -1 for any other unit.
template <class Unit>
int Digit(Unit unit)
{
    for (int value = 0; value < 16; ++value)
        if (unit == "0123456789abcdef"[value] || unit == "0123456789ABCDEF"[value])
            return value;
    return -1;
}

template <class Unit>
Text<Unit> Resolved(const Text<Unit>& text)
{
    const auto at = [&text](std::size_t i) { return i < text.size() ? text[i] : Unit(0); };
    Text<Unit> made;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string letters = "ntr\\";
        const std::size_t special =
            IsAscii(at(i + 1)) ? letters.find(static_cast<char>(at(i + 1))) : kNone;
        if (text[i] != '\\') {
            made += text[i];
        } else if (special != kNone) {
            made += static_cast<Unit>("\n\t\r\\"[special]);
            ++i;
        } else if (at(i + 1) != 'x') {
            made += text[i];
        } else {
            const int high = Digit(at(i + 2));
            const int low = Digit(at(i + 3));
            if (high >= 0 && low >= 0)
                made += static_cast<Unit>(high * 16 + low);
            i += 3;
        }
    }
    return made.substr(0, made.find(Unit(0)));
}

} // namespace plain
