#pragma once

#include "core/base/BSharedText.h"
#include "core/platform/Export.h"
#include "core/platform/WChar.h"

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdio>

class BString;

/// A text in UTF-16: messages, file names, keys, everything that a user may see.
///
/// A value of one pointer. Copies share their text, and the first change through one of them makes
/// a copy of its own. Lengths and positions are in code units, positions from 0; a 0 unit ends the
/// text. The length is not stored: code that needs it repeatedly keeps it.
///
///     WString path = folder + QD_W("\\") + name;
///     if (!path.IEndsWith(QD_W(".ini")))
///         path += QD_W(".ini");
///
/// Comparison is the user's collation, not unit order: "Straße" == "Strasse", and "a" < "B". Search
/// and `StartsWith` go by units. Those whose name begins with "I" ignore case.
///
/// A null pointer to text is an empty text unless a member says otherwise, and an argument may
/// point into the string's own text. Nothing throws: when memory runs out, a member leaves the
/// string as it was and gives an empty result or false. Strings that share a text may be used on
/// different threads at the same time; one string is for one thread at a time.
class QD_CORE_API WString {
public:
    /// The position that says "not found"; no static member, as MinGW exports none that is
    /// constexpr.
    enum : std::size_t { kNotFound = static_cast<std::size_t>(-1) };

    // Construction and assignment

    WString() noexcept = default;
    WString(const WChar* text);
    /// Conversion from the ANSI code page.
    WString(const BString& text);

    WString& operator=(const WChar* text);

    /// Makes the string empty.
    void Clear() noexcept { m_text = {}; }
    /// Replaces the text by `count` units `unit`. False when memory runs out.
    bool Fill(std::size_t count, WChar unit);

    // Access

    [[nodiscard]] bool IsEmpty() const noexcept { return m_text.IsEmpty(); }
    [[nodiscard]] std::size_t Length() const noexcept;

    /// The text with its terminating 0, never null; good until the string changes.
    [[nodiscard]] const WChar* CStr() const noexcept { return m_text.Text(); }
    operator const WChar*() const noexcept { return m_text.Text(); }
    /// The text from `position` on, which must not be beyond the length; null for a string that has
    /// no text block, as after construction or `Clear()`.
    [[nodiscard]] const WChar* CStr(std::size_t position) const noexcept
    {
        return m_text.IsNull() ? nullptr : m_text.Text() + position;
    }
    /// The text for writing within its length, no longer shared; good until the string is copied or
    /// changes. Null when memory runs out.
    [[nodiscard]] WChar* Str();

    /// The unit at `position`, which must not be beyond the length (where it is 0).
    [[nodiscard]] WChar GetAt(std::size_t position) const noexcept
    {
        return m_text.IsNull() ? WChar(0) : m_text.Text()[position];
    }
    [[nodiscard]] WChar operator[](std::size_t position) const noexcept { return GetAt(position); }
    /// Overwrites the unit at `position`, which must be below the length.
    void SetAt(std::size_t position, WChar unit);

    // Appending and editing

    void Append(const WString& text);
    void Append(const WChar* text);
    void Append(WChar unit);
    WString& operator+=(const WString& text);
    WString& operator+=(const WChar* text);
    WString& operator+=(WChar unit);

    void Prepend(const WString& text);
    void Prepend(const WChar* text);
    void Prepend(WChar unit);

    /// Inserts before `position`; beyond the length nothing changes.
    WString& Insert(const WChar* text, std::size_t position);
    WString& Insert(WChar unit, std::size_t position);

    /// Removes up to `count` units from `position` on.
    void Remove(std::size_t position, std::size_t count);

    /// Overwrites units from `position` on with `text`, cut where the string ends.
    void ReplaceAt(const WChar* text, std::size_t position);
    /// Replaces up to `count` units from `position` on by `text`; beyond the length nothing
    /// changes.
    void ReplaceAt(const WChar* text, std::size_t position, std::size_t count);

    /// Replaces every occurrence of `from`, left to right; what was put in is not searched again.
    /// True when there was one. An empty `from` is never found, a 0 unit as `to` removes.
    bool Replace(const WChar* from, const WChar* to, bool caseSensitive);
    bool Replace(const WString& from, const WString& to, bool caseSensitive);
    bool Replace(WChar from, WChar to, bool caseSensitive);
    bool IReplace(const WChar* from, const WChar* to);
    bool IReplace(const WString& from, const WString& to);
    bool IReplace(WChar from, WChar to);

    // Comparison by the user's collation. The other operators follow from `==` and `<=>`, and so
    // does a plain text on the left.

    /// Below 0, 0 or above 0 as this text sorts before, with or after `other`.
    [[nodiscard]] int Cmp(const WString& other) const noexcept;
    [[nodiscard]] int ICmp(const WString& other) const noexcept;
    /// `ICmp` of the `WString` objects that the arguments point at, for `qsort`.
    [[nodiscard]] static int ICmpForQSort(const void* a, const void* b) noexcept;

    [[nodiscard]] bool Equal(const WString& other) const noexcept;
    [[nodiscard]] bool Equal(const WChar* text) const noexcept;
    [[nodiscard]] bool IEqual(const WString& other) const noexcept;
    [[nodiscard]] bool IEqual(const WChar* text) const noexcept;
    [[nodiscard]] bool operator==(const WString& other) const noexcept { return Equal(other); }
    [[nodiscard]] bool operator==(const WChar* text) const noexcept { return Equal(text); }
    [[nodiscard]] std::weak_ordering operator<=>(const WString& other) const noexcept;
    [[nodiscard]] std::weak_ordering operator<=>(const WChar* text) const noexcept;

    // Search

    /// True for a null prefix; an empty string starts with no other, not even with "".
    /// `IStartsWith` ignores the case of the letters that `ToUpper` knows.
    [[nodiscard]] bool StartsWith(const WChar* prefix) const noexcept;
    [[nodiscard]] bool StartsWith(const WString& prefix) const noexcept;
    [[nodiscard]] bool IStartsWith(const WChar* prefix) const noexcept;
    [[nodiscard]] bool IStartsWith(const WString& prefix) const noexcept;
    /// The same for the end, by collation: the tail that is as long as `suffix` is compared.
    [[nodiscard]] bool EndsWith(const WChar* suffix) const noexcept;
    [[nodiscard]] bool EndsWith(const WString& suffix) const noexcept;
    [[nodiscard]] bool IEndsWith(const WChar* suffix) const noexcept;
    [[nodiscard]] bool IEndsWith(const WString& suffix) const noexcept;

    /// An empty part and the unit 0 are never found.
    [[nodiscard]] bool Includes(WChar unit) const noexcept;
    [[nodiscard]] bool Includes(const WChar* part) const noexcept;
    [[nodiscard]] bool Includes(const WString& part) const noexcept;
    [[nodiscard]] bool IIncludes(WChar unit) const noexcept;
    [[nodiscard]] bool IIncludes(const WChar* part) const noexcept;
    [[nodiscard]] bool IIncludes(const WString& part) const noexcept;
    /// `Includes` that stores where the first occurrence stands; `position` stays when there is
    /// none.
    [[nodiscard]] bool IncludesPos(WChar unit, std::size_t& position) const noexcept;
    [[nodiscard]] bool IncludesPos(const WChar* part, std::size_t& position) const noexcept;
    [[nodiscard]] bool IncludesPos(const WString& part, std::size_t& position) const noexcept;
    /// Position of the first occurrence at or after `start`, or `kNotFound`.
    [[nodiscard]] std::size_t Search(WChar unit, std::size_t start) const noexcept;
    [[nodiscard]] std::size_t Search(const WChar* part, std::size_t start) const noexcept;
    [[nodiscard]] std::size_t Search(const WString& part, std::size_t start) const noexcept;

    // Pieces and tokens

    /// Up to `count` units from `position` on.
    [[nodiscard]] WString Sub(std::size_t position, std::size_t count) const;
    [[nodiscard]] WString Sub(std::size_t position) const;
    /// From `position` up to, not including, the next `end`, or to the string's end.
    [[nodiscard]] WString SubCh(std::size_t position, WChar end) const;

    /// Takes the tail from `position` on out of the string and returns it.
    WString Cut(std::size_t position);
    /// Takes up to `count` units from `position` on out of the string and returns them.
    WString Cut(std::size_t position, std::size_t count);
    /// Ends the string at `position`; false when it is not longer than that.
    bool CutAt(std::size_t position);
    /// Ends the string behind the first or the last `unit`; false when there is none or it ends
    /// there.
    bool CutAfter(WChar unit, bool first);
    /// Ends the string before the first or the last `unit`; `rest` takes the text from there on,
    /// `unit` included. False when there is none: `rest` is then empty and this string unchanged.
    bool Split(WString& rest, WChar unit, bool first);

    /// 0 for an empty string, otherwise one more than there are separators.
    [[nodiscard]] std::size_t TokenCount(WChar separator) const noexcept;
    [[nodiscard]] std::size_t GetTokenCount(WChar separator) const noexcept
    {
        return TokenCount(separator);
    }
    /// Field `index` of the text cut at every separator; adjacent separators give empty fields.
    /// Empty when there is no such field.
    [[nodiscard]] WString Token(std::size_t index, WChar separator) const;
    [[nodiscard]] WString GetToken(std::size_t index, WChar separator) const
    {
        return Token(index, separator);
    }

    // Trimming and case

    /// Removes white space, the given unit or all units of `set` from one end. True when there was
    /// any.
    bool TrimLeft();
    bool TrimLeft(WChar unit);
    bool TrimLeft(const WChar* set);
    bool TrimRight();
    bool TrimRight(WChar unit);
    bool TrimRight(const WChar* set);

    WString& EraseLeadingChars(WChar unit);
    WString& EraseTrailingChars(WChar unit);
    WString& EraseAllChars(WChar unit);

    /// Converts this string in place and returns a copy of it: ASCII letters only, on Windows those
    /// of the application's C locale once it called `setlocale` (in the runtime that this uses).
    WString ToUpper();
    WString ToLower();
    /// A converted copy; this string stays.
    [[nodiscard]] WString Upper() const;
    [[nodiscard]] WString Lower() const;

    // Classification: whether every unit is of the class. An empty string is of every class.

    [[nodiscard]] bool IsAlpha() const noexcept;
    /// Digits of every script count, superscripts too: more than `Convert` reads.
    [[nodiscard]] bool IsDigit() const noexcept;
    [[nodiscard]] bool IsNumeric() const noexcept { return IsDigit(); }
    [[nodiscard]] bool IsPrint() const noexcept;
    [[nodiscard]] bool IsAlphaNum() const noexcept;
    [[nodiscard]] bool IsAlphaNumUnderscore() const noexcept;
    [[nodiscard]] bool IsCharSet(const WChar* set) const noexcept;
    /// Whether at least one unit is 256 or above.
    [[nodiscard]] bool Includes16bitChars() const noexcept;

    // Lines

    /// One more than there are line feeds; a line feed directly behind another one does not count.
    [[nodiscard]] std::size_t CountLines() const noexcept;
    /// Length of the longest of the lines that `CountLines` counts.
    [[nodiscard]] std::size_t LengthOfLongestLine() const noexcept;

    // Numbers

    /// The number that the text begins with, 0 when there is none.
    [[nodiscard]] int AtoI() const noexcept;
    [[nodiscard]] double AtoF() const noexcept;
    /// True when the text is one number with nothing but white space around it. When more follows,
    /// `value` may have taken the number all the same.
    [[nodiscard]] bool Convert(float& value) const noexcept;
    [[nodiscard]] bool Convert(double& value) const noexcept;
    /// Reads a decimal number and rounds it, half away from zero, to the nearest int; failing that,
    /// a hexadecimal one: "12.6" gives 13, "1e12" the largest int, "ff" 255.
    [[nodiscard]] bool Convert(int& value) const noexcept;
    /// The number's text to the base `radix`, 2 to 36; another radix leaves the string unchanged. A
    /// minus sign is for radix 10 only, the others show 64 bits unsigned.
    void ItoA(std::int64_t value, int radix);
    [[nodiscard]] static WString FromInt(std::int64_t value);

    // Formatting and escapes

    /// `printf` into this string: "%s" takes wide text, "%S" narrow text, "%I64d" 64 bits; a string
    /// object goes through `CStr()`. Its own text may be an argument. A null or faulty format and a
    /// result of 2^28 units or more leave it empty.
    void Printf(const WChar* format, ...);

    /// A copy with "\n", "\t", "\r", "\\" and "\x" with the two hexadecimal digits of the low byte
    /// for all that cannot be printed: a unit above 255 loses its high byte.
    [[nodiscard]] WString Printable() const;
    /// The inverse in place. "\x" without two digits is dropped with the two units behind it, a
    /// backslash before another unit stays, and "\x00" ends the text.
    void ResolveEsc();

    // Byte images

    /// Two units for each of `size` bytes, high nibble first: '0' plus the nibble, so that "?"
    /// is 15.
    void EncodeMemory(const void* data, std::size_t size);
    /// The inverse. False when the text is not `2 * size` units long or a unit is none of '0' to
    /// '?'; the bytes before that unit are then written.
    [[nodiscard]] bool DecodeMemory(void* out, std::size_t size) const noexcept;

    // Conversion to the ANSI code page: look-alikes or "?" for what it lacks

    [[nodiscard]] BString AsString() const;
    [[nodiscard]] static char AsChar(WChar unit) noexcept;

    // Files

    /// Reads a record that `FWrite` wrote. False when there is none, which leaves the string as it
    /// is, and when its text is cut short or does not end with a 0, which leaves it empty.
    [[nodiscard]] bool FRead(std::FILE* stream);
    /// Writes the text as a record. False for a null stream, a text above 2^32 - 1 units or an
    /// error.
    [[nodiscard]] bool FWrite(std::FILE* stream) const;
    /// Reads a line of a Unicode text stream, its line feed cut off. False for a null stream and
    /// for one already at its end or in error; so the end of the last line gives one more, empty
    /// line.
    [[nodiscard]] bool ReadLn(std::FILE* stream);

private:
    friend QD_CORE_API WString operator+(const WString& a, const WChar* b);
    friend QD_CORE_API WString operator+(const WChar* a, const WString& b);

    // False when memory runs out.
    bool TryAppend(const WChar* text);
    bool TryPrepend(const WChar* text);
    [[nodiscard]] WString Piece(BSharedText<WChar>::View own, std::size_t position,
                                std::size_t count) const;

    BSharedText<WChar> m_text;
};

[[nodiscard]] QD_CORE_API WString operator+(const WString& a, const WString& b);
[[nodiscard]] QD_CORE_API WString operator+(const WString& a, const WChar* b);
[[nodiscard]] QD_CORE_API WString operator+(const WChar* a, const WString& b);
/// Not this: the text would decay to a pointer, and the sum point beyond its end. A unit is
/// appended by `+=`.
template <std::same_as<WChar> Unit>
WString operator+(const WString& text, Unit unit) = delete;
template <std::same_as<WChar> Unit>
WString operator+(Unit unit, const WString& text) = delete;
