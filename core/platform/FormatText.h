#pragma once

#include "core/platform/WChar.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>

/// `printf` formatting with the conventions of the UCRT: in a wide format "%s" is wide and "%S"
/// narrow, each byte being the unit of the same value; "%I64d" takes a 64-bit integer. "%ld" takes
/// the platform's `long`, whatever its size, "%Lf" its `long double`, printed as a double.
///
/// Numbers have a full stop whatever the process's locale, and ties round to even. A null text is
/// "(null)". Zeros pad texts, too.
namespace platform {

/// Length of the whole text, terminator excluded; the text stands in `buffer` (terminated) when
/// that is below `room`, otherwise what `buffer` holds is unspecified. `arguments` is used up. Off
/// Windows no width or precision takes memory.
///
/// -1 when the format fails: a letter that means nothing or is missing, a width or precision that
/// is no int, a text longer than an int tells, a unit above 255 in a narrow text, and "%n", which
/// no format may write through. A fault behind more text than `room` holds may go unnoticed.
std::int64_t Format(WChar* buffer, std::size_t room, const WChar* format,
                    std::va_list arguments) noexcept;
std::int64_t Format(char* buffer, std::size_t room, const char* format,
                    std::va_list arguments) noexcept;

/// Room that the longest text of an integer takes: 64 binary digits, a sign and the terminator.
inline constexpr std::size_t kIntegerTextRoom = 66;

/// Digits of `value` to the base `radix` (2 to 36, lower case), terminated; a minus sign only for
/// radix 10, other radices show the value as unsigned (`_i64tow_s`). Their count; 0 for a bad
/// radix.
std::size_t IntegerText(std::int64_t value, int radix, WChar (&buffer)[kIntegerTextRoom]) noexcept;
std::size_t IntegerText(std::int64_t value, int radix, char (&buffer)[kIntegerTextRoom]) noexcept;

} // namespace platform
