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
class WString;

template <>
struct BTextTraits<WString> {
    using Char = WChar;
    using Single = WChar;
    static constexpr std::size_t kPrintfRoom = 4097;
    static constexpr bool kFailedPrintfEmpties = true;
    static bool CanCutAnywhere(std::basic_string_view<WChar> text) noexcept;
    static bool ReadChunk(std::FILE* stream, WChar* buffer, int room) noexcept;
};

/// A text in UTF-16: messages, file names, keys, everything that a user may see.
///
/// A value of one pointer. Copies share their text, and the first change through one of them makes
/// a copy of its own. Most members stand in `BText`, which says what holds for all of them:
///
///     access          IsEmpty Length CStr Str GetAt SetAt [] Clear Fill
///     editing         Append += Prepend Insert Remove Replace IReplace ReplaceAt
///     comparison      == < Equal IEqual Cmp ICmp
///     search          StartsWith EndsWith Includes IncludesPos Search, most with "I" as well
///     pieces          Sub SubCh Cut CutAt CutAfter Split Token TokenCount
///     trimming, case  TrimLeft TrimRight Erase...Chars ToUpper ToLower Upper Lower
///     classes, lines  IsAlpha IsDigit IsPrint IsAlphaNum IsCharSet CountLines
///     numbers         AtoI AtoF Convert ItoA FromInt
///     formatting      Printf Printable ResolveEsc, << to a std::ostream
///     standard        AsView Hash, and here FromUtf8 AsUtf8 FromUtf16 AsUtf16 FromWide AsWide
///     files           FRead FWrite ReadLn
///
///     WString path = folder + QD_W("\\") + name;
///     if (!path.IEndsWith(QD_W(".ini")))
///         path += QD_W(".ini");
class QD_CORE_API WString : public BText<WString> {
public:
    WString() noexcept = default;
    WString(const WChar* text);
    /// Conversion from the ANSI code page.
    WString(const BString& text);

    WString& operator=(const WChar* text);

    using BText::ReplaceAt;
    /// Replaces up to `count` units from `position` on by `text`; beyond the length nothing
    /// changes.
    void ReplaceAt(const WChar* text, std::size_t position, std::size_t count);

    /// `ICmp` of the `WString` objects that the arguments point at, for `qsort`.
    [[nodiscard]] static int ICmpForQSort(const void* a, const void* b) noexcept;

    /// Whether at least one unit is 256 or above.
    [[nodiscard]] bool Includes16bitChars() const noexcept;

    using BText::Convert;
    /// Reads a decimal number and rounds it, half away from zero, to the nearest int; failing that,
    /// a hexadecimal one: "12.6" gives 13, "1e12" the largest int, "ff" 255.
    [[nodiscard]] bool Convert(int& value) const noexcept;

    /// Two units for each of `size` bytes, high nibble first: '0' plus the nibble, so that "?"
    /// is 15.
    void EncodeMemory(const void* data, std::size_t size);
    /// The inverse. False when the text is not `2 * size` units long or a unit is none of '0' to
    /// '?'; the bytes before that unit are then written.
    [[nodiscard]] bool DecodeMemory(void* out, std::size_t size) const noexcept;

    /// Conversion to the ANSI code page: look-alikes or "?" for what it lacks.
    [[nodiscard]] BString AsString() const;
    [[nodiscard]] static char AsChar(WChar unit) noexcept;

    // Unicode. What is no character becomes U+FFFD, the mark of replacement: half of a surrogate
    // pair, in a `FromUtf8` each longest beginning of a character that does not go on, else each
    // byte. `isWhole`, unless it is null, tells whether all was kept; it is false, and the result
    // empty, when memory runs out. A `WString` ends at the first 0 of what it is made from, and
    // what stood behind that is not kept either. Paths: see `core/file/StdPath.h`.

    [[nodiscard]] static WString FromUtf8(std::string_view text, bool* isWhole = nullptr);
    [[nodiscard]] static WString FromUtf8(std::u8string_view text, bool* isWhole = nullptr);
    [[nodiscard]] static WString FromUtf8(const char* text, bool* isWhole = nullptr);
    [[nodiscard]] std::string AsUtf8(bool* isWhole = nullptr) const;

    [[nodiscard]] static WString FromUtf16(std::u16string_view text, bool* isWhole = nullptr);
    [[nodiscard]] std::u16string AsUtf16(bool* isWhole = nullptr) const;

    /// `wchar_t` is UTF-16 where it has two bytes, as on Windows, and a whole character (UTF-32)
    /// where it has four.
    [[nodiscard]] static WString FromWide(std::wstring_view text, bool* isWhole = nullptr);
    [[nodiscard]] std::wstring AsWide(bool* isWhole = nullptr) const;

private:
    // A text of at most `most` units, which `write` writes; it tells their count.
    template <class Write>
    static WString Made(std::size_t most, bool isKept, bool* isWhole, Write write);
    template <class Unit>
    static WString FromUnits(std::basic_string_view<Unit> units, bool* isWhole);

    friend QD_CORE_API WString operator+(const WString& a, const WString& b);
    friend QD_CORE_API WString operator+(const WString& a, const WChar* b);
    friend QD_CORE_API WString operator+(const WChar* a, const WString& b);
};

[[nodiscard]] QD_CORE_API WString operator+(const WString& a, const WString& b);
[[nodiscard]] QD_CORE_API WString operator+(const WString& a, const WChar* b);
[[nodiscard]] QD_CORE_API WString operator+(const WChar* a, const WString& b);
/// Not this, see `BCharacter`. A unit is appended by `+=`.
template <BCharacter Unit>
WString operator+(const WString& text, Unit unit) = delete;
template <BCharacter Unit>
WString operator+(Unit unit, const WString& text) = delete;

template <>
struct std::hash<WString> {
    std::size_t operator()(const WString& text) const { return text.Hash(); }
};
