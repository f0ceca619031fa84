#pragma once

#include "core/platform/WChar.h"

#include <cstddef>
#include <string>

/// Order, equality and search of texts as the user's locale has them.
///
/// Windows answers by `lstrcmpW`, `lstrcmpiW`, `StrChrIW` and `StrStrIW`; another platform gives
/// the same order with the same ties, always for English (United States). Alone sequences of
/// conjoining jamo may sort otherwise. All functions are safe on any threads at once, none
/// allocates for ASCII texts. Texts end at their first 0 unit and are never null.
namespace platform {

enum class ECase { Matters, Ignored };

/// Below 0, 0 or above 0 as `a` sorts before, with or after `b`. Identical texts are told without
/// the collation tables.
[[nodiscard]] int Collate(const WChar* a, const WChar* b, ECase letterCase) noexcept;

/// The same for texts in the ANSI code page (`lstrcmpA`, `lstrcmpiA`). Where memory is too short to
/// convert them, their bytes decide.
[[nodiscard]] int Collate(const char* a, const char* b, ECase letterCase) noexcept;

/// Appends to `key` bytes that are equal for two texts exactly when `Collate` gives 0 for them, and
/// that order as unsigned bytes like the texts. Keys hold for one process, not for files. Throws
/// `std::bad_alloc`, alone of these functions.
void AppendCollationKey(const WChar* text, std::size_t length, ECase letterCase, std::string& key);

/// The first position in `text` at which `part` stands without regard to case, as `StrStrIW` tells:
/// linguistic, over as many units as `part` has; `kNotFound` when there is none. An empty part is
/// never found.
[[nodiscard]] std::size_t FindIgnoringCase(const WChar* text, const WChar* part) noexcept;
[[nodiscard]] std::size_t FindIgnoringCase(const char* text, const char* part) noexcept;

/// The first position of the one character `wanted` without regard to case, as `StrChrIW` tells.
[[nodiscard]] std::size_t FindIgnoringCase(const WChar* text, WChar wanted) noexcept;
[[nodiscard]] std::size_t FindIgnoringCase(const char* text, char wanted) noexcept;

} // namespace platform
