#include "core/platform/ScanText.h"

#include "core/platform/Apart.h"
#include "core/platform/CharClass.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

// Numbers from texts: the grammar of the UCRT, and `std::from_chars` for the value.
//
// `strtod`, `strtol` and the scanners take the process's locale and no UTF-16, and
// `std::from_chars` knows no blanks, no "+", no "0x" before it and no digits of other scripts, and
// has no value for what is too large. So sign, digits and exponent are read here. Of the digits as
// many are kept as decide how a double rounds; from these `std::from_chars` makes the nearest
// value. That takes no memory, and time linear in the text, of which a file may hold a million
// digits.
//
// The UCRT reads a number in two ways that differ where it breaks off: its scanners (`Scan...`,
// `Read...`) take a character at a time and cannot give back what they have read, its converters
// (`Parse...`) go back to the last whole number. `EBrokenEnd` tells which.
namespace platform {

namespace {

constexpr unsigned kNoDigit = 99;

/// What the unit counts as a digit, letters above 9. Wide texts have the decimal digits of other
/// scripts, too.
unsigned DigitValue(char16_t unit) noexcept
{
    if (unit <= '9') // or what ends the number
        return unit >= '0' ? unit - unsigned{'0'} : kNoDigit;
    if (unit >= 'a' && unit <= 'z')
        return unit - unsigned{'a'} + 10;
    if (unit >= 'A' && unit <= 'Z')
        return unit - unsigned{'A'} + 10;
    // Arabic, Persian, Devanagari, Bengali, Gurmukhi, Gujarati, Oriya, Telugu, Kannada, Malayalam,
    // Thai, Lao, Tibetan, Burmese, Khmer, Mongolian and full-width digits.
    constexpr char16_t kZeros[] = {0x660, 0x6F0, 0x966, 0x9E6, 0xA66,  0xAE6,  0xB66,  0xC66, 0xCE6,
                                   0xD66, 0xE50, 0xED0, 0xF20, 0x1040, 0x17E0, 0x1810, 0xFF10};
    if (unit < kZeros[0])
        return kNoDigit;
    const char16_t* const above = std::upper_bound(std::begin(kZeros), std::end(kZeros), unit);
    const unsigned value = unit - unsigned{above[-1]};
    return value < 10 ? value : kNoDigit;
}

unsigned DigitValue(char character) noexcept
{
    const auto value = static_cast<unsigned char>(character);
    return value < 0x80 ? DigitValue(char16_t{value}) : kNoDigit;
}

template <typename Char>
const Char* SkipBlanks(const Char* text) noexcept
{
    while (!(*text >= '0' && *text <= '9') && *text != 0 && IsSpace(*text))
        ++text;
    return text;
}

/// Reads a sign when there is one; true for a minus.
template <typename Char>
bool ReadSign(const Char*& text) noexcept
{
    const bool isNegative = *text == '-';
    if (isNegative || *text == '+')
        ++text;
    return isNegative;
}

template <typename Char>
bool HasHexPrefix(const Char* text) noexcept
{
    return DigitValue(text[0]) == 0 && (text[1] == 'x' || text[1] == 'X');
}

/// The number of a text that is nothing but a few digits, as most are.
bool ReadShort(const WChar*& text, int& value) noexcept
{
    constexpr int most = std::numeric_limits<int>::max() / 10; // below it a digit more fits
    int number = 0;
    const WChar* end = text;
    for (; *end >= '0' && *end <= '9' && number < most; ++end)
        number = number * 10 + (*end - '0');
    if (*end != 0 || end == text)
        return false;
    value = number;
    text = end;
    return true;
}

/// An integer that a text begins with; beyond 64 bits its magnitude is the greatest.
template <typename Char>
struct Integer {
    Integer(const Char* text, unsigned base) noexcept
    {
        text = SkipBlanks(text);
        isNegative = ReadSign(text);
        if (base == 16 && HasHexPrefix(text))
            text += 2; // "0x" alone is no number, as nothing follows: `end` stays null
        constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
        for (unsigned digit; (digit = DigitValue(*text)) < base; end = ++text) {
            isTooLarge =
                isTooLarge || (magnitude >= kMax / base && magnitude > (kMax - digit) / base);
            magnitude = isTooLarge ? kMax : magnitude * base + digit;
        }
    }

    /// The value cut to `Int`.
    template <typename Int>
    [[nodiscard]] Int Wrapped() const noexcept
    {
        return static_cast<Int>(isNegative ? 0 - magnitude : magnitude);
    }

    /// The nearest value that `Int`, which is signed, has.
    template <typename Int>
    [[nodiscard]] Int Nearest() const noexcept
    {
        using Limits = std::numeric_limits<Int>;
        const auto max = static_cast<std::uint64_t>(Limits::max());
        if (isNegative)
            return magnitude > max ? Limits::min() : Wrapped<Int>();
        return magnitude > max ? Limits::max() : Wrapped<Int>();
    }

    std::uint64_t magnitude = 0;
    bool isNegative = false;
    bool isTooLarge = false;
    const Char* end = nullptr; // null: no number
};

/// Any number.
QD_APART bool ReadLong(const WChar*& text, int& value) noexcept
{
    const Integer<WChar> number(text, 10);
    if (number.end == nullptr)
        return false;
    value = static_cast<int>(number.Nearest<std::int64_t>());
    text = number.end;
    return true;
}

/// The digits of a number, as many as decide how it rounds, and its exponent.
class Digits {
public:
    void SetHex() noexcept { m_isHex = true; }
    [[nodiscard]] bool IsHex() const noexcept { return m_isHex; }
    [[nodiscard]] unsigned Base() const noexcept { return m_isHex ? 16 : 10; }

    void Add(unsigned digit, bool isFraction) noexcept
    {
        assert(digit < Base());
        // Zeros in front take no room, they only move the full stop.
        if (m_count == 0 && digit == 0) {
            m_scale -= isFraction ? 1 : 0;
            return;
        }
        m_scale += isFraction ? 0 : 1;
        if (m_count < kMaxDigits)
            m_text[m_count++] = "0123456789abcdef"[digit];
        else if (digit != 0)
            m_text[kMaxDigits - 1] = '1'; // whatever is not 0: no tie
    }

    void SetExponent(std::int64_t exponent) noexcept { m_exponent = exponent; }

    /// The nearest value; beyond the greatest infinity, below the least 0.
    template <typename Value>
    [[nodiscard]] Value To() noexcept
    {
        if (m_count == 0)
            return 0;
        const std::int64_t bits = m_isHex ? 4 : 1; // the exponent of a hexadecimal number is to 2
        const std::int64_t size = bits * m_scale + m_exponent;
        // The digits stand before the full stop now, where `from_chars` takes them as an integer.
        const std::int64_t exponent = size - bits * static_cast<std::int64_t>(m_count);
        char* end = m_text + m_count;
        *end++ = m_isHex ? 'p' : 'e';
        end = std::to_chars(end, std::end(m_text), std::clamp(exponent, -kFar, kFar)).ptr;
        Value value = 0;
        const auto format = m_isHex ? std::chars_format::hex : std::chars_format::general;
        // It does not tell which end of the range was passed, and leaves `value` alone.
        if (std::from_chars(m_text, end, value, format).ec == std::errc::result_out_of_range)
            value = size > 0 ? std::numeric_limits<Value>::infinity() : 0;
        return value;
    }

private:
    static constexpr std::size_t kMaxDigits = 800; // 768 tell every double from its neighbours
    static constexpr std::int64_t kFar = 99'999;   // an exponent that no digits bring back

    bool m_isHex = false;
    std::int64_t m_scale = 0; // the value is 0.DIGITS times the base to this, times the exponent's
    std::int64_t m_exponent = 0;
    std::size_t m_count = 0;
    char m_text[kMaxDigits + 16];
};

/// What a number with a broken end ("1e+", "infin") is: a scanner has read on and fails, a
/// converter goes back to the last whole number.
enum class EBrokenEnd { Fails, IsLeft };

/// A floating-point number that a text begins with.
template <typename Char>
class Real {
public:
    Real(const Char* text, EBrokenEnd brokenEnd) noexcept
        : m_text(SkipBlanks(text))
        , m_brokenEnd(brokenEnd)
    {
        m_isNegative = ReadSign(m_text);
        if (IsLetter('i'))
            m_isGood = ReadInfinity();
        else if (IsLetter('n'))
            m_isGood = ReadNan();
        else
            m_isGood = ReadNumber();
    }

    [[nodiscard]] bool IsGood() const noexcept { return m_isGood; }
    [[nodiscard]] const Char* End() const noexcept { return m_text; }

    template <typename Value>
    [[nodiscard]] Value To() noexcept
    {
        const Value magnitude = Magnitude<Value>();
        return m_isNegative ? -magnitude : magnitude;
    }

private:
    enum class EKind { Finite, Infinity, Nan };

    template <typename Value>
    Value Magnitude() noexcept
    {
        using Limits = std::numeric_limits<Value>;
        switch (m_kind) {
        case EKind::Infinity: return Limits::infinity();
        case EKind::Nan: return Limits::quiet_NaN();
        default: return m_digits.To<Value>();
        }
    }

    [[nodiscard]] bool IsLetter(char lower) const noexcept
    {
        const int upper = lower - 'a' + 'A';
        return *m_text == Char(lower) || *m_text == Char(upper);
    }

    /// Reads `word`, in lower case, as far as it stands there; true when it is whole.
    bool ReadWord(std::string_view word) noexcept
    {
        for (const char letter : word) {
            if (!IsLetter(letter))
                return false;
            ++m_text;
        }
        return true;
    }

    /// Goes back to where a whole number ended; false when that is a failure.
    bool EndAt(const Char* end) noexcept
    {
        const bool isBroken = m_text != end;
        m_text = end;
        return !isBroken || m_brokenEnd == EBrokenEnd::IsLeft;
    }

    /// "inf" or "infinity".
    bool ReadInfinity() noexcept
    {
        m_kind = EKind::Infinity;
        if (!ReadWord("inf"))
            return false;
        const Char* const end = m_text;
        return ReadWord("inity") || EndAt(end);
    }

    /// "nan", with letters and digits in parentheses or without.
    bool ReadNan() noexcept
    {
        m_kind = EKind::Nan;
        if (!ReadWord("nan"))
            return false;
        const Char* const end = m_text;
        if (*m_text != '(')
            return true;
        ++m_text;
        while (DigitValue(*m_text) != kNoDigit || *m_text == '_')
            ++m_text;
        if (*m_text != ')')
            return EndAt(end);
        ++m_text;
        return true;
    }

    bool ReadNumber() noexcept
    {
        // Only a prefix tells hexadecimal digits: "e" would else be a digit or an exponent.
        if (HasHexPrefix(m_text)) {
            m_digits.SetHex();
            m_text += 2;
        }
        bool hasDigits = ReadDigits(false);
        if (*m_text == '.') {
            ++m_text;
            hasDigits = ReadDigits(true) || hasDigits;
        }
        return hasDigits && ReadExponent();
    }

    bool ReadDigits(bool isFraction) noexcept
    {
        const Char* const start = m_text;
        for (unsigned digit; (digit = DigitValue(*m_text)) < m_digits.Base(); ++m_text)
            m_digits.Add(digit, isFraction);
        return m_text != start;
    }

    bool ReadExponent() noexcept
    {
        if (!IsLetter(m_digits.IsHex() ? 'p' : 'e'))
            return true;
        const Char* const end = m_text++;
        const bool isNegative = ReadSign(m_text);
        const Char* const start = m_text;
        std::int64_t exponent = 0;
        for (unsigned digit; (digit = DigitValue(*m_text)) < 10; ++m_text)
            exponent = std::min(10 * exponent + digit, kLargestExponent);
        if (m_text == start)
            return EndAt(end);
        m_digits.SetExponent(isNegative ? -exponent : exponent);
        return true;
    }

    // Beyond any count of digits that a text has, and far from the end of 64 bits.
    static constexpr std::int64_t kLargestExponent = 1'000'000'000'000'000;

    const Char* m_text; // the rest
    EBrokenEnd m_brokenEnd;
    bool m_isNegative = false;
    bool m_isGood = false;
    EKind m_kind = EKind::Finite;
    Digits m_digits;
};

/// Whether the text ends with blanks.
template <typename Char>
bool IsAtEnd(const Char* text) noexcept
{
    return *SkipBlanks(text) == 0;
}

template <typename Char, typename Value>
bool ScanReal(const Char* text, Value& value) noexcept
{
    Real<Char> number(text, EBrokenEnd::Fails);
    if (!number.IsGood())
        return false;
    value = number.template To<Value>();
    return IsAtEnd(number.End());
}

/// Beyond 64 bits the greatest value, of which the int is the lower half.
template <typename Char>
bool ScanHexadecimal(const Char* text, int& value) noexcept
{
    const Integer<Char> number(text, 16);
    if (number.end == nullptr)
        return false;
    value = number.isTooLarge ? -1 : number.template Wrapped<int>();
    return IsAtEnd(number.end);
}

template <typename Char>
double ParseReal(const Char* text) noexcept
{
    Real<Char> number(text, EBrokenEnd::IsLeft);
    return number.IsGood() ? number.template To<double>() : 0;
}

/// Values of 32 bits, as `unsigned long` has them on Windows; a larger one is the largest, even
/// behind a minus.
template <typename Char>
unsigned long ParseHexadecimal(const Char* text, const Char*& end) noexcept
{
    const Integer<Char> number(text, 16);
    end = number.end == nullptr ? text : number.end;
    constexpr auto kMax = std::numeric_limits<std::uint32_t>::max();
    return number.magnitude > kMax ? kMax : number.template Wrapped<std::uint32_t>();
}

} // namespace

bool ScanDouble(const WChar* text, double& value) noexcept
{
    return ScanReal(text, value);
}

bool ScanFloat(const WChar* text, float& value) noexcept
{
    return ScanReal(text, value);
}

bool ScanHex(const WChar* text, int& value) noexcept
{
    return ScanHexadecimal(text, value);
}

bool ScanDouble(const char* text, double& value) noexcept
{
    return ScanReal(text, value);
}

bool ScanFloat(const char* text, float& value) noexcept
{
    return ScanReal(text, value);
}

bool ScanHex(const char* text, int& value) noexcept
{
    return ScanHexadecimal(text, value);
}

bool ScanInt(const char* text, int& value) noexcept
{
    const Integer<char> number(text, 10);
    if (number.end == nullptr)
        return false;
    // As the UCRT does: the nearest of 64 bits, and of these the lower half.
    value = static_cast<int>(number.Nearest<std::int64_t>());
    return IsAtEnd(number.end);
}

bool ReadInt(const WChar*& text, int& value) noexcept
{
    return ReadShort(text, value) || ReadLong(text, value);
}

bool ReadFloat(const WChar*& text, float& value) noexcept
{
    Real<WChar> number(text, EBrokenEnd::Fails);
    if (!number.IsGood())
        return false;
    value = number.To<float>();
    text = number.End();
    return true;
}

int ParseInt(const WChar* text) noexcept
{
    return Integer<WChar>(text, 10).Nearest<int>();
}

double ParseDouble(const WChar* text) noexcept
{
    return ParseReal(text);
}

int ParseInt(const char* text) noexcept
{
    return Integer<char>(text, 10).Nearest<int>();
}

double ParseDouble(const char* text) noexcept
{
    return ParseReal(text);
}

unsigned long ParseHex(const WChar* text, const WChar*& end) noexcept
{
    return ParseHexadecimal(text, end);
}

unsigned long ParseHex(const char* text, const char*& end) noexcept
{
    return ParseHexadecimal(text, end);
}

} // namespace platform
