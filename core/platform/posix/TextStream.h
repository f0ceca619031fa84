#pragma once

#include "core/platform/posix/Descriptor.h"

#include <cstdint>
#include <cstdio>

/// `FILE*` streams of the text modes, over a descriptor.
namespace platform {

/// What a text file holds, when no byte-order mark in it tells.
enum class EText : std::uint8_t {
    Narrow,  // bytes, and bytes towards the caller as well
    Unicode, // UTF-16LE when the file is new, otherwise a byte for each unit
    Utf16,
    Utf8,
};

enum class ETextAccess : std::uint8_t { Read, Write, Update };

/// A stream over `file`: narrow text, or UTF-16LE units. It reads from the start, writes to the end
/// unless it reads as well, and then goes on where it stands. What the file holds already decides
/// over `text`, and an empty file that is written gets its mark. `file` is open for reading as well
/// where it is written and may not be empty. Null, `errno` telling why, when that fails.
[[nodiscard]] std::FILE* OpenText(Descriptor file, EText text, ETextAccess access) noexcept;

} // namespace platform
