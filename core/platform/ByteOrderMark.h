#pragma once

#include "core/platform/WChar.h"

#include <string_view>

/// The bytes at the start of a text file that tell its encoding, and are no text.
namespace platform {

inline constexpr std::string_view kUtf16Mark = "\xFF\xFE"; // little-endian, as the library writes
inline constexpr std::string_view kUtf16BigMark = "\xFE\xFF";
inline constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

/// Each of them as a unit of its encoding.
inline constexpr WChar kMarkUnit = 0xFEFF;

/// The mark that `bytes` begin with; empty when there is none.
[[nodiscard]] constexpr std::string_view MarkAt(std::string_view bytes) noexcept
{
    for (const std::string_view mark : {kUtf16Mark, kUtf16BigMark, kUtf8Mark}) {
        if (bytes.starts_with(mark))
            return mark;
    }
    return {};
}

} // namespace platform
