#pragma once

#include "core/platform/WChar.h"

/// Numbers read from texts as the UCRT's scanners and converters read them, whatever the process's
/// locale: white space is skipped, "0x" begins a hexadecimal number and "inf" and "nan" are numbers
/// where a floating-point one is wanted. Wide texts have the white space and decimal digits of
/// every script. Time is linear in the text.
namespace platform {

/// The scans " %lg %c", " %g %c", " %x %c" and " %d %c": true when the text is one number with
/// nothing but white space around it. `value` takes the number also when more text follows it (the
/// result is then false), and is left alone when there is none.
///
/// Overflow is no failure: a floating-point number becomes infinite or 0, an integer is cut to its
/// lower 32 bits (of the nearest 64-bit one). A number that breaks off ("1e", "1e+", "infin") is
/// none.
[[nodiscard]] bool ScanDouble(const WChar* text, double& value) noexcept;
[[nodiscard]] bool ScanFloat(const WChar* text, float& value) noexcept;
[[nodiscard]] bool ScanHex(const WChar* text, int& value) noexcept;
[[nodiscard]] bool ScanDouble(const char* text, double& value) noexcept;
[[nodiscard]] bool ScanFloat(const char* text, float& value) noexcept;
[[nodiscard]] bool ScanHex(const char* text, int& value) noexcept;
[[nodiscard]] bool ScanInt(const char* text, int& value) noexcept;

/// The scans "%d" and "%g": the number that `text` begins with, behind which `text` is moved.
/// False, and nothing changes, when it begins with none, or with one that breaks off.
[[nodiscard]] bool ReadInt(const WChar*& text, int& value) noexcept;
[[nodiscard]] bool ReadFloat(const WChar*& text, float& value) noexcept;

/// `_wtoi`, `_wtof`, `atoi`, `atof`: the number that the text begins with, 0 when there is none. Of
/// "1e" it is the "1". Beyond an int it is the nearest int, beyond a double infinity.
[[nodiscard]] int ParseInt(const WChar* text) noexcept;
[[nodiscard]] double ParseDouble(const WChar* text) noexcept;
[[nodiscard]] int ParseInt(const char* text) noexcept;
[[nodiscard]] double ParseDouble(const char* text) noexcept;

/// `wcstoul`, `strtoul` to the base 16: `end` is set behind the last unit that belongs to the
/// number, or to `text` when there is none. -1 is 4294967295, as is whatever 32 bits cannot hold.
[[nodiscard]] unsigned long ParseHex(const WChar* text, const WChar*& end) noexcept;
[[nodiscard]] unsigned long ParseHex(const char* text, const char*& end) noexcept;

} // namespace platform
