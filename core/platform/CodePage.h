#pragma once

#include "core/platform/WChar.h"

#include <cstddef>

/// Conversion between UTF-16 and the system's ANSI code page, as `MultiByteToWideChar` and
/// `WideCharToMultiByte` do it for code page 0 without flags: a character that the code page lacks
/// becomes its look-alike (best fit) or "?", a surrogate pair "??". Nothing fails: bytes that mean
/// nothing become a character that the code page chooses.
///
/// Off Windows the code page is windows-1252 unless the environment variable `QD_ANSI_CODEPAGE`
/// named another ("windows-1251", "932") at the first conversion. 1250 to 1258, 874, 932, 936, 949
/// and 950 answer as on Windows, look-alikes and broken pairs included; any other that ICU knows
/// (65001) answers as ICU does. Thread-safe; lengths exclude any terminator, and 0 units are
/// characters like any other. A text longer than 2^31 - 1 converts to nothing, and so does one
/// while there is no memory for another page than windows-1252.
namespace platform {

/// No unit gives more bytes than this, so that a buffer of as many bytes for each takes any text.
inline constexpr std::size_t kMostAnsiBytesPerUnit = 4;

/// Units that `length` bytes at `text` convert to; writes them when `room` holds that many, and
/// only then. `out` may be null when `room` is 0. No text gives more units than it has bytes.
std::size_t AnsiToWide(const char* text, std::size_t length, WChar* out, std::size_t room) noexcept;

/// Bytes that `length` units at `text` convert to; writes them when `room` holds that many, and
/// only then. `out` may be null when `room` is 0.
std::size_t WideToAnsi(const WChar* text, std::size_t length, char* out, std::size_t room) noexcept;

} // namespace platform
