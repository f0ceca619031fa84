#pragma once

#include "core/platform/WChar.h"

#include <cstddef>

/// Classes and case of single characters, and the length of a text.
///
/// The wide forms are `iswalpha`, `iswdigit`, `iswprint`, `iswalnum`, `iswspace`, `towupper` and
/// `towlower` on one UTF-16 unit: the classes know Unicode, the case functions ASCII alone (in the
/// "C" locale; on Windows the application's `setlocale` changes that for all that follow the CRT).
/// Beyond Latin-1 the system's version of Unicode decides; symbols and marks there are of no class,
/// so they do not print, nor does half a surrogate pair. The narrow forms take the signed character
/// as it stands and know ASCII alone.
namespace platform {

[[nodiscard]] bool IsAlpha(WChar unit) noexcept;
[[nodiscard]] bool IsDigit(WChar unit) noexcept;
[[nodiscard]] bool IsPrint(WChar unit) noexcept;
[[nodiscard]] bool IsAlphaNum(WChar unit) noexcept;
[[nodiscard]] bool IsSpace(WChar unit) noexcept;
[[nodiscard]] WChar ToUpper(WChar unit) noexcept;
[[nodiscard]] WChar ToLower(WChar unit) noexcept;

[[nodiscard]] bool IsAlpha(char character) noexcept;
[[nodiscard]] bool IsDigit(char character) noexcept;
[[nodiscard]] bool IsPrint(char character) noexcept;
[[nodiscard]] bool IsAlphaNum(char character) noexcept;
[[nodiscard]] bool IsSpace(char character) noexcept;
[[nodiscard]] char ToUpper(char character) noexcept;
[[nodiscard]] char ToLower(char character) noexcept;

/// Units before the first 0 (`lstrlenW`); 0 for a null pointer.
[[nodiscard]] std::size_t Length(const WChar* text) noexcept;
/// Bytes before the first 0 (`lstrlenA`); 0 for a null pointer.
[[nodiscard]] std::size_t Length(const char* text) noexcept;

/// 0 when the first `count` units agree or both texts end together before that; ASCII letters agree
/// without regard to case (`_wcsnicmp`, `_strnicmp`). The sign tells which comes first.
[[nodiscard]] int CompareIgnoringAsciiCase(const WChar* a, const WChar* b,
                                           std::size_t count) noexcept;
[[nodiscard]] int CompareIgnoringAsciiCase(const char* a, const char* b,
                                           std::size_t count) noexcept;

} // namespace platform
