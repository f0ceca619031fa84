#include "core/platform/FormatText.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <charconv>
#include <climits>
#include <cmath>
#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>

// `printf` with the conventions of the UCRT, over `<charconv>`.
//
// The C library's own cannot stand in: its full stop is the process's locale's, its wide characters
// have four bytes, "%s" in a wide format is narrow there, and "%I64d" means nothing. A fixed locale
// would mend the first of these alone. `std::to_chars` knows no locale and rounds as the UCRT does;
// "%.15g" takes a third of the time that `snprintf` needs.
//
// A format runs in one pass: literal text, and for each "%" its specification and then its field,
// which a number enters as pieces (`Number`). What the buffer has no room for is counted and not
// stored, so the pass that finds the buffer too small tells the length that would do, and neither a
// width nor a precision takes memory. One template serves both widths of text, so that they cannot
// differ where they should not.
namespace platform {

namespace {

/// What the size prefixes come to; "I32", and "L" and "w" before an integer, change nothing.
enum class ESize { Natural, Char, Short, Long, Int64, LongDouble, Wide };

/// One conversion specification: what stands behind a "%".
struct Spec {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alternate = false;
    bool zeros = false;
    std::int64_t width = 0;
    int precision = -1; // below 0: none given
    ESize size = ESize::Natural;
    char conversion = 0;

    [[nodiscard]] bool IsUpper() const noexcept { return conversion >= 'A' && conversion <= 'Z'; }
};

// A double has at most 767 significant digits, 309 before its full stop and 1074 behind it.
constexpr int kMaxSignificant = 767;
constexpr int kMaxFraction = 1074;
constexpr int kMaxHexFraction = 13;

/// A converted number in pieces, in the order of their fields. Zeros beyond its own digits are
/// counted, not stored, so that no precision takes memory.
struct Number {
    Number() = default;
    Number(const Number&) = delete; // it points into itself
    Number& operator=(const Number&) = delete;

    void AddPrefix(char character) noexcept
    {
        assert(prefixLength < kMaxPrefix);
        char* const start = Text() - prefixLength++;
        std::copy(start, Text(), start - 1);
        Text()[-1] = character;
    }
    /// Where the digits begin, behind the prefix; room for those of any number.
    [[nodiscard]] char* Text() noexcept { return room + kMaxPrefix; }
    [[nodiscard]] char* TextEnd() noexcept { return std::end(room); }
    /// Takes what `std::to_chars` wrote to `Text()`.
    void Take(std::to_chars_result result) noexcept
    {
        assert(result.ec == std::errc());
        digits = {Text(), result.ptr};
    }
    void MakeUpper() noexcept
    {
        // The exponent stands right behind the digits.
        char* const end = Text() + digits.size() + exponent.size();
        std::transform(Text(), end, Text(), [](char c) {
            return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        });
    }

    [[nodiscard]] std::int64_t Length() const noexcept
    {
        return leadingZeros + trailingZeros + (point ? 1 : 0) +
               static_cast<std::int64_t>(prefixLength + digits.size() + exponent.size());
    }

    [[nodiscard]] std::string_view Prefix() const noexcept
    {
        return {room + kMaxPrefix - prefixLength, prefixLength};
    }
    /// Whether nothing stands between its pieces: they are one text from its prefix on.
    [[nodiscard]] bool IsWhole() const noexcept
    {
        return leadingZeros == 0 && trailingZeros == 0 && !point;
    }

    static constexpr std::size_t kMaxPrefix = 3; // sign and "0x"
    std::size_t prefixLength = 0;
    std::int64_t leadingZeros = 0;
    std::string_view digits; // in `room`, with a full stop of their own
    bool point = false;      // a full stop that nothing follows
    std::int64_t trailingZeros = 0;
    std::string_view exponent; // in `room`, behind the digits
    char room[kMaxPrefix + 309 + 1 + kMaxFraction + 1];
};

/// Takes the text and counts what the buffer has no room for.
template <typename Char>
class Sink {
public:
    Sink(Char* buffer, std::size_t room) noexcept
        : m_buffer(buffer)
        , m_room(room)
    {}

    void Put(Char unit) noexcept { Append(&unit, 1); }

    void Fill(Char unit, std::int64_t count) noexcept
    {
        if (count <= 0)
            return;
        const auto length = static_cast<std::size_t>(count);
        std::fill_n(End(), std::min(length, Left()), unit);
        m_length += length;
    }

    /// A character of the other width is the one of the same value, which must exist.
    template <typename From>
    void Append(const From* text, std::size_t length) noexcept
    {
        using Value = std::make_unsigned_t<From>;
        std::transform(text, text + std::min(length, Left()), End(),
                       [](From unit) { return static_cast<Char>(static_cast<Value>(unit)); });
        m_length += length;
    }

    void Append(std::string_view text) noexcept { Append(text.data(), text.size()); }

    /// Terminates the text and tells its length, -1 when that is no int.
    [[nodiscard]] std::int64_t Finish() noexcept
    {
        if (m_length < m_room)
            m_buffer[m_length] = 0;
        return m_length > INT_MAX ? -1 : static_cast<std::int64_t>(m_length);
    }

private:
    [[nodiscard]] Char* End() const noexcept { return m_buffer + std::min(m_length, m_room); }
    [[nodiscard]] std::size_t Left() const noexcept { return m_room - std::min(m_length, m_room); }

    Char* m_buffer;
    std::size_t m_room;
    std::size_t m_length = 0;
};

/// What a parameter of type `std::va_list` is, a pointer where that is an array. It is used without
/// a copy: that would read at once what `va_start` has just written in parts, and processors wait.
using ArgumentList = std::decay_t<std::va_list>;

void AddSign(const Spec& spec, bool negative, Number& number) noexcept
{
    if (negative)
        number.AddPrefix('-');
    else if (spec.plus)
        number.AddPrefix('+');
    else if (spec.blank)
        number.AddPrefix(' ');
}

/// Infinity and the kinds of not-a-number. A negative one without payload is "indefinite": what an
/// invalid operation gives.
std::string_view SpecialName(double value) noexcept
{
    if (std::isinf(value))
        return "inf";
    constexpr std::uint64_t kQuiet = 1ULL << 51;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    if ((bits & kQuiet) == 0)
        return "nan(snan)";
    const bool hasPayload = (bits & (kQuiet - 1)) != 0;
    return std::signbit(value) && !hasPayload ? "nan(ind)" : "nan";
}

void ConvertFixed(double value, std::int64_t precision, bool alternate, Number& number) noexcept
{
    // Behind its last digit a double has zeros alone, which are counted.
    const int exact = static_cast<int>(std::min<std::int64_t>(precision, kMaxFraction));
    number.Take(
        std::to_chars(number.Text(), number.TextEnd(), value, std::chars_format::fixed, exact));
    number.point = alternate && precision == 0;
    number.trailingZeros = precision - exact;
}

void ConvertScientific(double value, int precision, bool alternate, Number& number) noexcept
{
    const int exact = std::min(precision, kMaxSignificant - 1);
    number.Take(std::to_chars(number.Text(), number.TextEnd(), value, std::chars_format::scientific,
                              exact));
    const std::size_t length = number.digits.find('e');
    number.exponent = number.digits.substr(length);
    number.digits = number.digits.substr(0, length);
    number.point = alternate && precision == 0;
    number.trailingZeros = precision - exact;
}

void ConvertGeneral(double value, int precision, bool alternate, Number& number) noexcept
{
    const int significant = std::max(precision, 1);
    if (!alternate) {
        number.Take(std::to_chars(number.Text(), number.TextEnd(), value,
                                  std::chars_format::general,
                                  std::min(significant, kMaxSignificant)));
        return;
    }
    // Its trailing zeros stay, which the library's general form takes off. So the exponent, which
    // rounding may have raised, decides on the form here.
    ConvertScientific(value, significant - 1, true, number);
    int exponent = 0;
    const std::string_view digits = number.exponent.substr(number.exponent[1] == '+' ? 2 : 1);
    std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    if (exponent < -4 || exponent >= significant)
        return;
    number.exponent = {};
    ConvertFixed(value, std::int64_t{significant} - 1 - exponent, true, number);
}

// All 13 digits unless a precision tells. A number next to 0 has no leading 1, and the exponent of
// the least that has.
void ConvertHex(double value, int precision, bool alternate, Number& number) noexcept
{
    constexpr int kFractionBits = 4 * kMaxHexFraction;
    constexpr int kBias = 1023;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const auto biased = static_cast<int>(bits >> kFractionBits);
    const int exponent = value == 0 ? 0 : std::max(biased, 1) - kBias;
    std::uint64_t mantissa = bits & ((1ULL << kFractionBits) - 1);
    mantissa |= static_cast<std::uint64_t>(biased != 0) << kFractionBits;

    const int shown = precision < 0 ? kMaxHexFraction : std::min(precision, kMaxHexFraction);
    if (const int dropped = 4 * (kMaxHexFraction - shown); dropped > 0) {
        // Adds just less than half of the last digit, or half where that digit is odd: ties go to
        // the even one.
        const std::uint64_t odd = mantissa >> dropped & 1;
        mantissa = (mantissa + (1ULL << (dropped - 1)) - 1 + odd) >> dropped;
    }
    char* end = number.Text();
    for (int digit = shown; digit >= 0; --digit) {
        *end++ = "0123456789abcdef"[mantissa >> (4 * digit) & 15];
        if (digit == shown && shown > 0)
            *end++ = '.';
    }
    number.digits = {number.Text(), end};
    number.point = alternate && precision == 0;
    number.trailingZeros = std::max(precision, shown) - shown;

    const char* const exponentStart = end;
    *end++ = 'p';
    *end++ = exponent < 0 ? '-' : '+';
    end = std::to_chars(end, number.TextEnd(), std::abs(exponent)).ptr;
    number.exponent = {exponentStart, end};
}

/// Converts to the letter's form. `spec` loses its zeros for what has no digits.
void ConvertFloat(Spec& spec, double value, Number& number) noexcept
{
    AddSign(spec, std::signbit(value), number);
    const double magnitude = std::fabs(value);
    const int precision = spec.precision < 0 ? 6 : spec.precision;
    if (!std::isfinite(value)) {
        const std::string_view name = SpecialName(value);
        name.copy(number.Text(), name.size());
        number.digits = {number.Text(), name.size()};
        spec.zeros = false; // blanks pad a name
    } else if (spec.conversion == 'f' || spec.conversion == 'F') {
        ConvertFixed(magnitude, precision, spec.alternate, number);
    } else if (spec.conversion == 'e' || spec.conversion == 'E') {
        ConvertScientific(magnitude, precision, spec.alternate, number);
    } else if (spec.conversion == 'g' || spec.conversion == 'G') {
        ConvertGeneral(magnitude, precision, spec.alternate, number);
    } else {
        number.AddPrefix('0');
        number.AddPrefix(spec.IsUpper() ? 'X' : 'x');
        ConvertHex(magnitude, spec.precision, spec.alternate, number);
    }
    if (spec.IsUpper())
        number.MakeUpper();
}

/// Converts to `base`. A precision is the least count of digits and keeps `spec` from padding with
/// zeros.
void ConvertInteger(Spec& spec, std::uint64_t magnitude, int base, Number& number) noexcept
{
    if (magnitude != 0 || spec.precision != 0)
        number.Take(std::to_chars(number.Text(), number.TextEnd(), magnitude, base));
    if (spec.IsUpper())
        number.MakeUpper();
    if (spec.precision >= 0)
        spec.zeros = false; // C17, 7.21.6.1: the precision overrides the flag
    number.leadingZeros =
        std::max<std::int64_t>(spec.precision - static_cast<std::int64_t>(number.digits.size()), 0);
    if (spec.alternate && base == 16 && magnitude != 0) {
        number.AddPrefix('0');
        number.AddPrefix(spec.IsUpper() ? 'X' : 'x');
    }
    if (spec.alternate && base == 8 && number.leadingZeros == 0 && !number.digits.starts_with('0'))
        number.leadingZeros = 1;
}

/// One call of `Format`. A fault ends it, as behind a specification that means nothing no argument
/// can be told from the next.
template <typename Char>
class Formatter {
public:
    Formatter(Char* buffer, std::size_t room, const Char* format, ArgumentList& arguments) noexcept
        : m_format(format)
        , m_arguments(arguments)
        , m_sink(buffer, room)
    {}

    std::int64_t Run() noexcept
    {
        for (;;) {
            PutLiteral();
            if (*m_format == 0)
                return m_sink.Finish();
            ++m_format;
            if (*m_format == '%') {
                m_sink.Put(*m_format++);
                continue;
            }
            Spec spec;
            if (!ReadSpec(spec) || !PutField(spec))
                return -1;
        }
    }

private:
    void PutLiteral() noexcept
    {
        const Char* const start = m_format;
        while (*m_format != 0 && *m_format != '%')
            ++m_format;
        m_sink.Append(start, static_cast<std::size_t>(m_format - start));
    }

    bool ReadSpec(Spec& spec) noexcept
    {
        ReadFlags(spec);
        if (!ReadWidth(spec) || !ReadPrecision(spec) || !ReadSize(spec))
            return false;
        // A letter of another script must not turn into an ASCII one when it becomes a `char`.
        if (*m_format == 0 || *m_format > 0x7F)
            return false;
        spec.conversion = static_cast<char>(*m_format++);
        return true;
    }

    void ReadFlags(Spec& spec) noexcept
    {
        for (;; ++m_format) {
            switch (*m_format) {
            case '-': spec.left = true; break;
            case '+': spec.plus = true; break;
            case ' ': spec.blank = true; break;
            case '#': spec.alternate = true; break;
            case '0': spec.zeros = true; break;
            default: return;
            }
        }
    }

    bool ReadWidth(Spec& spec) noexcept
    {
        int width = 0;
        if (!ReadCount(width))
            return false;
        spec.left |= width < 0; // only an argument can be
        // Digits behind the "*" override its argument, but for the sign.
        if (*m_format >= '0' && *m_format <= '9') {
            width = 0;
            if (!ReadCount(width))
                return false;
        }
        spec.width = std::abs(std::int64_t{width}); // the least int has no opposite
        return true;
    }

    bool ReadPrecision(Spec& spec) noexcept
    {
        if (*m_format != '.')
            return true;
        ++m_format;
        spec.precision = 0;
        return ReadCount(spec.precision);
    }

    /// Digits, if there are any, or "*" for an argument; false when they are no int: the UCRT fails
    /// then, too, instead of making a field of another width.
    bool ReadCount(int& count) noexcept
    {
        if (*m_format == '*') {
            ++m_format;
            count = Next<int>();
            return true;
        }
        std::int64_t number = 0;
        for (; *m_format >= '0' && *m_format <= '9'; ++m_format) {
            number = 10 * number + (*m_format - '0');
            if (number > INT_MAX)
                return false;
        }
        count = static_cast<int>(number);
        return true;
    }

    /// Of several prefixes the last one holds.
    bool ReadSize(Spec& spec) noexcept
    {
        for (;; ++m_format) {
            switch (*m_format) {
            case 'h': spec.size = IsDoubled() ? ESize::Char : ESize::Short; break;
            case 'l': spec.size = IsDoubled() ? ESize::Int64 : ESize::Long; break;
            case 'j':
            case 't':
            case 'z': spec.size = ESize::Int64; break; // of 64 bits on either platform
            case 'L': spec.size = ESize::LongDouble; break;
            case 'w': spec.size = ESize::Wide; break;
            case 'I':
                if (!ReadBits(spec))
                    return false;
                break;
            default: return true;
            }
        }
    }

    bool IsDoubled() noexcept
    {
        const bool isDoubled = m_format[1] == m_format[0];
        m_format += isDoubled ? 1 : 0;
        return isDoubled;
    }

    /// "I64", "I32", and "I" for an integer of a pointer's size.
    bool ReadBits(Spec& spec) noexcept
    {
        spec.size = ESize::Int64;
        if (m_format[1] == '6' && m_format[2] == '4') {
            m_format += 2;
            return true;
        }
        if (m_format[1] == '3' && m_format[2] == '2') {
            spec.size = ESize::Natural;
            m_format += 2;
            return true;
        }
        constexpr std::string_view kIntegers = "dioxXu";
        return std::find(kIntegers.begin(), kIntegers.end(), m_format[1]) != kIntegers.end();
    }

    bool PutField(Spec& spec) noexcept
    {
        switch (spec.conversion) {
        case 's':
        case 'S': return IsWide(spec) ? PutText<WChar>(spec) : PutText<char>(spec);
        case 'c':
        case 'C': return PutCharacter(spec);
        case 'd':
        case 'i': return PutSigned(spec);
        case 'u': return PutUnsigned(spec, 10);
        case 'o': return PutUnsigned(spec, 8);
        case 'x':
        case 'X': return PutUnsigned(spec, 16);
        case 'p': return PutPointer(spec);
        case 'a':
        case 'A':
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G': return PutFloat(spec);
        default: return false; // "%n" too: a format does not write into memory
        }
    }

    static bool IsWide(const Spec& spec) noexcept
    {
        switch (spec.size) {
        case ESize::Char:
        case ESize::Short: return false;
        case ESize::Long:
        case ESize::Wide: return true;
        // Without a prefix "%s" is as wide as the format and "%S" is the other width.
        default: return (sizeof(Char) == sizeof(WChar)) != spec.IsUpper();
        }
    }

    /// Whether this width of text has the character.
    static bool Has(WChar unit) noexcept { return sizeof(Char) > 1 || unit <= 0xFF; }

    template <typename From>
    bool PutText(const Spec& spec) noexcept
    {
        static constexpr From kNull[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
        const From* text = Next<const From*>();
        if (text == nullptr)
            text = kNull;
        const std::size_t length = LengthUpTo(text, spec.precision);
        if constexpr (sizeof(From) > sizeof(Char)) {
            if (!std::all_of(text, text + length, Has))
                return false;
        }
        OpenField(spec, {}, static_cast<std::int64_t>(length));
        m_sink.Append(text, length);
        CloseField(spec, static_cast<std::int64_t>(length));
        return true;
    }

    /// A text that a precision cuts need not be terminated.
    template <typename From>
    static std::size_t LengthUpTo(const From* text, int precision) noexcept
    {
        using Traits = std::char_traits<From>;
        if (precision < 0)
            return Traits::length(text);
        const auto limit = static_cast<std::size_t>(precision);
        const From* const end = Traits::find(text, limit, From());
        return end == nullptr ? limit : static_cast<std::size_t>(end - text);
    }

    bool PutCharacter(const Spec& spec) noexcept
    {
        const int argument = Next<int>();
        const WChar unit =
            IsWide(spec) ? static_cast<WChar>(argument) : static_cast<unsigned char>(argument);
        // Intended: a character that the text cannot have leaves no field, not even an empty one.
        if (!Has(unit))
            return true;
        OpenField(spec, {}, 1);
        m_sink.Put(static_cast<Char>(unit));
        CloseField(spec, 1);
        return true;
    }

    bool PutSigned(Spec& spec) noexcept
    {
        const std::int64_t value = NextSigned(spec.size);
        Number number;
        AddSign(spec, value < 0, number);
        const auto bits = static_cast<std::uint64_t>(value); // the least value has no opposite
        ConvertInteger(spec, value < 0 ? 0 - bits : bits, 10, number);
        return PutNumber(spec, number);
    }

    bool PutUnsigned(Spec& spec, int base) noexcept
    {
        Number number;
        ConvertInteger(spec, NextUnsigned(spec.size), base, number);
        return PutNumber(spec, number);
    }

    /// All its hexadecimal digits, in upper case and without "0x", as Windows prints an address.
    bool PutPointer(Spec& spec) noexcept
    {
        spec.conversion = 'X';
        spec.precision = 2 * sizeof(void*);
        spec.size = ESize::Int64;
        return PutUnsigned(spec, 16);
    }

    template <typename T>
    [[nodiscard]] T Next() noexcept
    {
        return va_arg(m_arguments, T);
    }

    // What is smaller than an int comes as one and is cut here.
    std::int64_t NextSigned(ESize size) noexcept
    {
        switch (size) {
        case ESize::Char: return static_cast<signed char>(Next<int>());
        case ESize::Short: return static_cast<short>(Next<int>());
        case ESize::Long: return Next<long>();
        case ESize::Int64: return Next<long long>();
        default: return Next<int>();
        }
    }

    std::uint64_t NextUnsigned(ESize size) noexcept
    {
        switch (size) {
        case ESize::Char: return static_cast<unsigned char>(Next<int>());
        case ESize::Short: return static_cast<unsigned short>(Next<int>());
        case ESize::Long: return Next<unsigned long>();
        case ESize::Int64: return Next<unsigned long long>();
        default: return Next<unsigned int>();
        }
    }

    bool PutFloat(Spec& spec) noexcept
    {
        const double value = spec.size == ESize::LongDouble
                                 ? static_cast<double>(Next<long double>())
                                 : Next<double>();
        Number number;
        ConvertFloat(spec, value, number);
        return PutNumber(spec, number);
    }

    bool PutNumber(const Spec& spec, const Number& number) noexcept
    {
        const std::int64_t length = number.Length();
        if (spec.width <= length && number.IsWhole()) { // as most are
            m_sink.Append(number.Prefix().data(), static_cast<std::size_t>(length));
            return true;
        }
        OpenField(spec, number.Prefix(), length);
        m_sink.Fill('0', number.leadingZeros);
        m_sink.Append(number.digits);
        m_sink.Fill('.', number.point ? 1 : 0);
        m_sink.Fill('0', number.trailingZeros);
        m_sink.Append(number.exponent);
        CloseField(spec, length);
        return true;
    }

    /// What stands before a field's text of `length` units, of which `prefix` is the first part.
    /// Intended: zeros pad texts as well.
    void OpenField(const Spec& spec, std::string_view prefix, std::int64_t length) noexcept
    {
        const std::int64_t padding = spec.left ? 0 : spec.width - length;
        m_sink.Fill(' ', spec.zeros ? 0 : padding);
        m_sink.Append(prefix);
        m_sink.Fill('0', spec.zeros ? padding : 0);
    }

    void CloseField(const Spec& spec, std::int64_t length) noexcept
    {
        m_sink.Fill(' ', spec.left ? spec.width - length : 0);
    }

    const Char* m_format; // the rest
    ArgumentList& m_arguments;
    Sink<Char> m_sink;
};

// Before `end`; the result is where they begin.
template <typename Char>
Char* PutDigits(std::uint64_t number, unsigned radix, Char* end) noexcept
{
    do {
        const auto digit = static_cast<int>(number % radix);
        *--end = static_cast<Char>(digit < 10 ? '0' + digit : 'a' + digit - 10);
    } while ((number /= radix) != 0);
    return end;
}

// `std::to_chars` writes no wide text, and most numbers are short.
template <typename Char>
std::size_t WriteInteger(std::int64_t value, int radix, Char (&buffer)[kIntegerTextRoom]) noexcept
{
    if (radix < 2 || radix > 36)
        return 0;
    Char digits[kIntegerTextRoom];
    const auto number = static_cast<std::uint64_t>(value);
    const bool isNegative = radix == 10 && value < 0;
    Char* begin = radix == 10 // a division by a number that is known is a multiplication
                      ? PutDigits(isNegative ? 0 - number : number, 10, std::end(digits))
                      : PutDigits(number, static_cast<unsigned>(radix), std::end(digits));
    if (isNegative)
        *--begin = Char('-');
    *std::copy(begin, std::end(digits), buffer) = 0;
    return static_cast<std::size_t>(std::end(digits) - begin);
}

} // namespace

std::int64_t Format(WChar* buffer, std::size_t room, const WChar* format,
                    std::va_list arguments) noexcept
{
    return Formatter<WChar>(buffer, room, format, arguments).Run();
}

std::int64_t Format(char* buffer, std::size_t room, const char* format,
                    std::va_list arguments) noexcept
{
    return Formatter<char>(buffer, room, format, arguments).Run();
}

std::size_t IntegerText(std::int64_t value, int radix, WChar (&buffer)[kIntegerTextRoom]) noexcept
{
    return WriteInteger(value, radix, buffer);
}

std::size_t IntegerText(std::int64_t value, int radix, char (&buffer)[kIntegerTextRoom]) noexcept
{
    return WriteInteger(value, radix, buffer);
}

} // namespace platform
