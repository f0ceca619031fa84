#pragma once

#include "core/platform/WideText.h"

#include <cstddef>
#include <string_view>

/// UTF-8, UTF-16 and UTF-32, the same on each platform and whatever its locale.
///
/// What is no character becomes `kReplacement`, in UTF-8 one for each maximal subpart, as Unicode
/// recommends (15.0, 3.9, table 3-8) and the web's decoders do it; `isWhole` becomes false then,
/// and stays as it was otherwise. 0 is a character like any other. Nothing fails, and nothing takes
/// memory.
namespace platform {

inline constexpr char32_t kReplacement = 0xFFFD;

/// Writes UTF-8 as UTF-16; the count of units. `out` has room for one unit a byte.
std::size_t Utf8ToWide(std::string_view text, WChar* out, bool& isWhole) noexcept;

/// Writes UTF-16 as UTF-8; the count of bytes. `out` has room for `Utf8Room(text)` bytes, which are
/// two more for each pair than it takes.
std::size_t WideToUtf8(WideView text, char* out, bool& isWhole) noexcept;
[[nodiscard]] std::size_t Utf8Room(WideView text) noexcept;

constexpr bool IsLead(char32_t unit) noexcept
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool IsTrail(char32_t unit) noexcept
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// The character at `i`, behind which `i` is moved. Units of two bytes are UTF-16, larger ones
/// UTF-32.
template <class Unit>
char32_t TakeCharacter(std::basic_string_view<Unit> text, std::size_t& i, bool& isWhole) noexcept
{
    const auto unit = static_cast<char32_t>(text[i++]);
    if (!IsLead(unit) && !IsTrail(unit) && unit <= 0x10FFFF)
        return unit;
    if (sizeof(Unit) == 2 && IsLead(unit) && i < text.size()) {
        const auto next = static_cast<char32_t>(text[i]);
        if (IsTrail(next)) {
            ++i;
            return 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00);
        }
    }
    isWhole = false;
    return kReplacement;
}

/// Writes a character as UTF-16 or, in larger units than two bytes, as UTF-32. Where its units end.
template <class Unit>
Unit* PutCharacter(char32_t character, Unit* out) noexcept
{
    if (sizeof(Unit) > 2 || character < 0x10000) {
        *out++ = static_cast<Unit>(character);
        return out;
    }
    *out++ = static_cast<Unit>(0xD7C0 + (character >> 10));
    *out++ = static_cast<Unit>(0xDC00 + (character & 0x3FF));
    return out;
}

} // namespace platform
