#pragma once

#include "core/base/BText.h"
#include "core/platform/Export.h"
#include "core/platform/WChar.h"

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

class BString;

template <>
struct BTextTraits<BString> {
    using Char = char;
    using Single = int;
    static constexpr std::size_t kPrintfRoom = 16385;
    static constexpr bool kFailedPrintfEmpties = false;
    static bool CanCutAnywhere(std::string_view text) noexcept;
    static bool ReadChunk(std::FILE* stream, char* buffer, int room) noexcept;
};

/// A text of 8-bit characters in the ANSI code page: class names, archive labels, narrow keys.
///
/// The narrow twin of `WString`, a value of one pointer as well, with the members that `BText` has
/// for both.
///
///     BString label("part ");
///     label += BString(name.CStr());
///     if (label.StartsWith("part "))
///         archive.Insert(object, label);
class QD_CORE_API BString : public BText<BString> {
public:
    BString() noexcept = default;
    BString(std::nullptr_t) noexcept {}
    BString(const char* text);
    /// Conversion to the ANSI code page: look-alikes or "?" for what it lacks.
    BString(const WChar* text);

    BString& operator=(const char* text);

    using BText::operator[];
    [[nodiscard]] char operator[](int position) const noexcept
    {
        return GetAt(static_cast<std::size_t>(position));
    }

    using BText::Convert;
    /// Reads a decimal integer; failing that, a hexadecimal one: "10" gives 10, "ff" 255, "2.5"
    /// fails.
    [[nodiscard]] bool Convert(int& value) const noexcept;

    /// Conversion from UTF-8 to the ANSI code page: look-alikes or "?" for what it lacks and for
    /// what is no character. The text ends at its first 0. `isWhole`, unless it is null, tells
    /// whether all was kept; it is false, and the string empty, when memory runs out.
    [[nodiscard]] static BString FromUtf8(std::string_view text, bool* isWhole = nullptr);
    [[nodiscard]] static BString FromUtf8(std::u8string_view text, bool* isWhole = nullptr);
    [[nodiscard]] static BString FromUtf8(const char* text, bool* isWhole = nullptr);
    /// Conversion from the ANSI code page. `isWhole` is false, too, for bytes that mean nothing
    /// there, which become what the code page chooses.
    [[nodiscard]] std::string AsUtf8(bool* isWhole = nullptr) const;

private:
    friend QD_CORE_API BString operator+(const BString& a, const BString& b);
    friend QD_CORE_API BString operator+(const BString& a, const char* b);
    friend QD_CORE_API BString operator+(const char* a, const BString& b);
};

[[nodiscard]] QD_CORE_API BString operator+(const BString& a, const BString& b);
[[nodiscard]] QD_CORE_API BString operator+(const BString& a, const char* b);
[[nodiscard]] QD_CORE_API BString operator+(const char* a, const BString& b);
/// Not this, see `BCharacter`. A character is appended by `+=`.
template <BCharacter Character>
BString operator+(const BString& text, Character character) = delete;
template <BCharacter Character>
BString operator+(Character character, const BString& text) = delete;

template <>
struct std::hash<BString> {
    std::size_t operator()(const BString& text) const { return text.Hash(); }
};
