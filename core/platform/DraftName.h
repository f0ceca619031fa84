#pragma once

#include <cstdint>
#include <string_view>

namespace platform {

/// A draft, in which the new content of a file gathers, has one of so many names that follow from
/// the file's: so the drafts that dead processes left of it are found without listing the folder,
/// which may hold 100,000 files. More drafts at one time get random names, and would stay for ever.
inline constexpr int kDraftNames = 32;

/// Stands in the names of a file's drafts, as its own may be too long for more: FNV-1a. Files that
/// share one share their names of drafts.
template <class Char>
[[nodiscard]] constexpr std::uint64_t DraftHash(std::basic_string_view<Char> fileName) noexcept
{
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const Char unit : fileName)
        hash = (hash ^ static_cast<std::uint16_t>(unit)) * 0x100000001B3;
    return hash;
}

} // namespace platform
