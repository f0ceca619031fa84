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

/// A stream that reads `file` from its start: narrow text, or UTF-16LE units. Null, `errno` telling
/// why, when that fails.
[[nodiscard]] std::FILE* OpenTextReader(Descriptor file, EText text) noexcept;

/// A stream that writes to the end of `file`; what the file holds already decides over `text`, and
/// an empty file gets its mark. `file` is open for reading as well where it may not be empty.
[[nodiscard]] std::FILE* OpenTextWriter(Descriptor file, EText text) noexcept;

} // namespace platform
