#include "core/platform/CharClass.h"

#include "core/platform/posix/VectorBlocks.h"

#include <unicode/uchar.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

// Classes of characters as the UCRT has them in the "C" locale.
//
// The C library's `iswalpha` and its kind follow the process's locale and know nothing beyond ASCII
// before somebody sets one. The UCRT's classes are those of Unicode, so ICU's categories give them,
// but for some units that Windows has elsewhere, which are named below. Case is ASCII's alone, as
// the UCRT changes no other letter before `setlocale`; names that compare without regard to case
// have `FoldCase`, and texts the collation.
namespace platform {

namespace {

template <typename CHAR>
constexpr bool IsAsciiLower(CHAR character)
{
    return character >= CHAR('a') && character <= CHAR('z');
}

template <typename CHAR>
constexpr bool IsAsciiUpper(CHAR character)
{
    return character >= CHAR('A') && character <= CHAR('Z');
}

template <typename CHAR>
constexpr bool IsAsciiDigit(CHAR character)
{
    return character >= CHAR('0') && character <= CHAR('9');
}

template <typename CHAR>
constexpr bool IsAsciiAlpha(CHAR character)
{
    return IsAsciiLower(character) || IsAsciiUpper(character);
}

template <typename CHAR>
constexpr CHAR AsciiUpper(CHAR character)
{
    return static_cast<CHAR>(IsAsciiLower(character) ? character - CHAR('a') + CHAR('A')
                                                     : character);
}

template <typename CHAR>
constexpr CHAR AsciiLower(CHAR character)
{
    return static_cast<CHAR>(IsAsciiUpper(character) ? character - CHAR('A') + CHAR('a')
                                                     : character);
}

// No marks and no symbols: above Latin-1 Windows has them in no class.
constexpr std::uint32_t kLetters = U_GC_L_MASK | U_GC_NL_MASK;
constexpr std::uint32_t kDigits = U_GC_ND_MASK;
constexpr std::uint32_t kInk = kLetters | kDigits | U_GC_P_MASK;

bool IsOfCategory(WChar unit, std::uint32_t categories)
{
    return (U_GET_GC_MASK(unit) & categories) != 0;
}

// Vowel signs are marks, which are of no class, but Windows has these as letters.
bool IsVowelLetter(WChar unit)
{
    const bool isThai = unit >= 0x0E00 && unit <= 0x0E7F;
    return (isThai || unit == 0x1885 || unit == 0x1886) && u_isUAlphabetic(unit) != 0;
}

// The runtime library counts the Latin-1 superscripts as digits, and no others.
bool IsSuperscriptDigit(WChar unit)
{
    return unit == 0xB2 || unit == 0xB3 || unit == 0xB9;
}

template <typename CHAR>
int CompareAsciiLower(const CHAR* a, const CHAR* b, std::size_t count)
{
    // The sign of the result goes by the units' values, which a signed `char` would turn round.
    using Unsigned = std::conditional_t<sizeof(CHAR) == 1, unsigned char, CHAR>;
    for (std::size_t i = 0; i < count; ++i) {
        const int unitA = static_cast<Unsigned>(AsciiLower(a[i]));
        const int unitB = static_cast<Unsigned>(AsciiLower(b[i]));
        if (unitA != unitB)
            return unitA - unitB;
        if (unitA == 0)
            break;
    }
    return 0;
}

} // namespace

bool IsAlpha(WChar unit) noexcept
{
    if (unit < 0x80) // most text, and no look-up
        return IsAsciiAlpha(unit);
    return IsOfCategory(unit, kLetters) || IsVowelLetter(unit);
}

bool IsDigit(WChar unit) noexcept
{
    if (unit < 0x80)
        return IsAsciiDigit(unit);
    return IsOfCategory(unit, kDigits) || IsSuperscriptDigit(unit);
}

bool IsPrint(WChar unit) noexcept
{
    if (unit < 0x80)
        return unit >= 0x20 && unit != 0x7F;
    // In Latin-1 symbols and the soft hyphen print, too; of blanks two do.
    if (unit <= 0xFF)
        return unit > 0xA0;
    return IsOfCategory(unit, kInk) || IsVowelLetter(unit) || unit == 0x3000 || unit == 0xFEFF;
}

bool IsAlphaNum(WChar unit) noexcept
{
    if (unit < 0x80)
        return IsAsciiAlpha(unit) || IsAsciiDigit(unit);
    return IsOfCategory(unit, kLetters | kDigits) || IsVowelLetter(unit) ||
           IsSuperscriptDigit(unit);
}

bool IsSpace(WChar unit) noexcept
{
    if (unit < 0x80)
        return unit == 0x20 || (unit >= 0x09 && unit <= 0x0D);
    // A list, and no property: 180E and 200B, which some versions of Unicode had as blanks, are
    // none.
    switch (unit) {
    case 0x0085:
    case 0x00A0:
    case 0x1680:
    case 0x2028:
    case 0x2029:
    case 0x202F:
    case 0x205F:
    case 0x3000: return true;
    default: return unit >= 0x2000 && unit <= 0x200A;
    }
}

WChar ToUpper(WChar unit) noexcept
{
    return AsciiUpper(unit);
}

WChar ToLower(WChar unit) noexcept
{
    return AsciiLower(unit);
}

// Narrow text has a class in ASCII alone, as the UCRT has it in the "C" locale.

bool IsAlpha(char character) noexcept
{
    return IsAsciiAlpha(character);
}

bool IsDigit(char character) noexcept
{
    return IsAsciiDigit(character);
}

bool IsPrint(char character) noexcept
{
    return character >= ' ' && character <= '~';
}

bool IsAlphaNum(char character) noexcept
{
    return IsAsciiAlpha(character) || IsAsciiDigit(character);
}

bool IsSpace(char character) noexcept
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

char ToUpper(char character) noexcept
{
    return AsciiUpper(character);
}

char ToLower(char character) noexcept
{
    return AsciiLower(character);
}

#if defined(QD_VECTOR_BLOCKS)

// Eight units at a time: whatever takes a pointer to a text begins here. Blocks are read on past
// the end of the text, but never into another page, as they are aligned; the first may begin before
// the text, and what it finds there is masked.
std::size_t Length(const WChar* text) noexcept
{
    if (text == nullptr)
        return 0;
    const auto offset = reinterpret_cast<std::uintptr_t>(text) % sizeof(__m128i);
    if (offset % sizeof(WChar) != 0) // units would lie across two blocks
        return std::char_traits<WChar>::length(text);
    const auto* block =
        reinterpret_cast<const __m128i*>(reinterpret_cast<const char*>(text) - offset);
    const auto zeros = [](const __m128i* at) {
        const __m128i equal = _mm_cmpeq_epi16(_mm_load_si128(at), _mm_setzero_si128());
        return static_cast<unsigned>(_mm_movemask_epi8(equal));
    };
    unsigned found = zeros(block) >> offset << offset;
    while (found == 0)
        found = zeros(++block);
    const char* end = reinterpret_cast<const char*>(block) + std::countr_zero(found);
    return static_cast<std::size_t>(end - reinterpret_cast<const char*>(text)) / sizeof(WChar);
}

#else

std::size_t Length(const WChar* text) noexcept
{
    return text == nullptr ? 0 : std::char_traits<WChar>::length(text);
}

#endif

std::size_t Length(const char* text) noexcept
{
    return text == nullptr ? 0 : std::strlen(text);
}

int CompareIgnoringAsciiCase(const WChar* a, const WChar* b, std::size_t count) noexcept
{
    return CompareAsciiLower(a, b, count);
}

int CompareIgnoringAsciiCase(const char* a, const char* b, std::size_t count) noexcept
{
    return CompareAsciiLower(a, b, count);
}

} // namespace platform
