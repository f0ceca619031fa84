#pragma once

#include "core/platform/WChar.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>

/// `printf` formatting with the conventions of the UCRT: in a wide format "%s" is wide and "%S"
/// narrow, "%I64d" takes a 64-bit integer. Numbers have a full stop whatever the process's locale.
namespace platform {

/// Length of the whole text, terminator excluded; the text stands in `buffer` (terminated) when that
/// is below `room`, otherwise what `buffer` holds is unspecified. -1 when the format fails.
/// `arguments` is used up.
std::int64_t Format(WChar* buffer, std::size_t room, const WChar* format, std::va_list arguments) noexcept;
std::int64_t Format(char* buffer, std::size_t room, const char* format, std::va_list arguments) noexcept;

/// Room that the longest text of an integer takes: 64 binary digits, a sign and the terminator.
inline constexpr std::size_t kIntegerTextRoom = 66;

/// Digits of `value` to the base `radix` (2 to 36, lower case), terminated; a minus sign only for
/// radix 10, other radices show the value as unsigned (`_i64tow_s`). Their count; 0 for a bad radix.
std::size_t IntegerText(std::int64_t value, int radix, WChar (&buffer)[kIntegerTextRoom]) noexcept;
std::size_t IntegerText(std::int64_t value, int radix, char (&buffer)[kIntegerTextRoom]) noexcept;

} // namespace platform
