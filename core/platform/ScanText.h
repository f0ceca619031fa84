#pragma once

#include "core/platform/WChar.h"

/// Numbers read from texts as the UCRT's scanners and converters read them, whatever the process's
/// locale. Nothing fails on overflow: the nearest value or infinity comes out.
namespace platform {

/// The scans " %lg %c", " %g %c", " %x %c" and " %d %c": true when the text is one number with
/// nothing but white space around it. `value` takes the number also when more text follows it (the
/// result is then false), and is left alone when there is none.
[[nodiscard]] bool ScanDouble(const WChar* text, double& value) noexcept;
[[nodiscard]] bool ScanFloat(const WChar* text, float& value) noexcept;
[[nodiscard]] bool ScanHex(const WChar* text, int& value) noexcept;
[[nodiscard]] bool ScanDouble(const char* text, double& value) noexcept;
[[nodiscard]] bool ScanFloat(const char* text, float& value) noexcept;
[[nodiscard]] bool ScanHex(const char* text, int& value) noexcept;
[[nodiscard]] bool ScanInt(const char* text, int& value) noexcept;

/// `_wtoi`, `_wtof`, `atoi`, `atof`: the number that the text begins with, 0 when there is none.
[[nodiscard]] int ParseInt(const WChar* text) noexcept;
[[nodiscard]] double ParseDouble(const WChar* text) noexcept;
[[nodiscard]] int ParseInt(const char* text) noexcept;
[[nodiscard]] double ParseDouble(const char* text) noexcept;

/// `wcstoul`, `strtoul` to the base 16: `end` is set behind the last unit that belongs to the number,
/// or to `text` when there is none.
[[nodiscard]] unsigned long ParseHex(const WChar* text, const WChar*& end) noexcept;
[[nodiscard]] unsigned long ParseHex(const char* text, const char*& end) noexcept;

} // namespace platform
