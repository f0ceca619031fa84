#pragma once

#include "core/platform/WChar.h"

#include <cstddef>

/// Conversion between UTF-16 and the system's ANSI code page, as `MultiByteToWideChar` and
/// `WideCharToMultiByte` do it for code page 0 without flags: a character that the code page lacks
/// becomes its look-alike (best fit) or "?".
///
/// Off Windows the code page is windows-1252 unless the environment variable `QD_ANSI_CODEPAGE`
/// named another at the first conversion. Thread-safe; lengths exclude any terminator, and 0 units
/// are characters like any other.
namespace platform {

/// Units that `length` bytes at `text` convert to; writes them when `room` holds that many. No text
/// gives more units than it has bytes.
std::size_t AnsiToWide(const char* text, std::size_t length, WChar* out, std::size_t room) noexcept;

/// Bytes that `length` units at `text` convert to; writes them when `room` holds that many, and
/// only then. `out` may be null when `room` is 0.
std::size_t WideToAnsi(const WChar* text, std::size_t length, char* out, std::size_t room) noexcept;

} // namespace platform
