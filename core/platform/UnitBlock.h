#pragma once

#include "core/platform/WChar.h"

#include <bit>
#include <cstddef>
#include <cstring>

#if defined(__SSE2__) || defined(_M_X64)
# define QD_UNIT_BLOCKS 1
# include <emmintrin.h>
#endif

/// Eight units of a text at once, to see in a few steps which of them is the first that needs a
/// look.
namespace platform {

inline constexpr std::size_t kBlockUnits = 8;

/// How many of the eight units, which may stand at any address, are from `lowest` to `highest`
/// before one that is not.
[[nodiscard]] inline std::size_t UnitsWithin(const void* units, WChar lowest,
                                             WChar highest) noexcept
{
#if defined(QD_UNIT_BLOCKS)
    const auto each = [](int unit) { return _mm_set1_epi16(static_cast<short>(unit)); };
    const __m128i block = _mm_loadu_si128(static_cast<const __m128i*>(units));
    // What is below `lowest` becomes a large number, and subtracting stops at 0.
    const __m128i beyond =
        _mm_subs_epu16(_mm_sub_epi16(block, each(lowest)), each(highest - lowest));
    const auto within =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(beyond, _mm_setzero_si128())));
    if (within == 0xFFFF) // told apart, as nearly always
        return kBlockUnits;
    return static_cast<std::size_t>(std::countr_one(within)) / sizeof(WChar);
#else
    WChar block[kBlockUnits];
    std::memcpy(block, units, sizeof block);
    std::size_t count = 0;
    while (count != kBlockUnits && block[count] >= lowest && block[count] <= highest)
        ++count;
    return count;
#endif
}

} // namespace platform
