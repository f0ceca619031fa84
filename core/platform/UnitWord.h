#pragma once

#include "core/platform/WChar.h"

#include <cstdint>
#include <cstring>

/// Four units of a text in one word, to see in a few steps whether one of them needs a look.
namespace platform {

inline constexpr std::size_t kWordUnits = sizeof(std::uint64_t) / sizeof(WChar);

/// The word of `units`, which may stand at any address.
[[nodiscard]] inline std::uint64_t UnitWord(const void* units) noexcept
{
    std::uint64_t word = 0;
    std::memcpy(&word, units, sizeof word);
    return word;
}

/// The word of four times the same unit.
[[nodiscard]] constexpr std::uint64_t EachUnit(std::uint64_t unit) noexcept
{
    return unit * 0x0001000100010001;
}

/// Whether a unit of the word is below `limit`, which is 0x8000 at most: only such a unit, or a
/// borrow from one, gets a highest bit that it did not have.
[[nodiscard]] constexpr bool HasUnitBelow(std::uint64_t word, WChar limit) noexcept
{
    return ((word - EachUnit(limit)) & ~word & EachUnit(0x8000)) != 0;
}

[[nodiscard]] constexpr bool HasUnit(std::uint64_t word, WChar unit) noexcept
{
    return HasUnitBelow(word ^ EachUnit(unit), 1);
}

static_assert(HasUnitBelow(0xFFFF'0041'0041'000A, 0x0B) &&
              !HasUnitBelow(0xFFFF'000B'8000'0041, 0x0B));
static_assert(HasUnit(0xFFFF'0041'0041'0042, 0xFFFF) && !HasUnit(0x7FFF'0041'FFFE'0042, 0xFFFF));

} // namespace platform
