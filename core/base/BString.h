#pragma once

#include "core/base/BSharedText.h"
#include "core/platform/Export.h"
#include "core/platform/WChar.h"

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdio>

/// A text of 8-bit characters in the ANSI code page: class names, archive labels, narrow keys.
///
/// A value of one pointer, the narrow twin of `WString`. Copies share their text, and the first
/// change through one of them makes a copy of its own. Lengths and positions are in bytes,
/// positions from 0; a 0 byte ends the text. The length is not stored: code that needs it
/// repeatedly keeps it.
///
///     BString label("part ");
///     label += BString(name.CStr());
///     if (label.StartsWith("part "))
///         archive.Insert(object, label);
///
/// Comparison is the user's collation, not byte order: "a" < "B". Search and `StartsWith` go by
/// bytes. Those whose name begins with "I" ignore case.
///
/// A null pointer to text is an empty text unless a member says otherwise, and an argument may
/// point into the string's own text. Nothing throws: when memory runs out, a member leaves the
/// string as it was and gives an empty result or false. Strings that share a text may be used on
/// different threads at the same time; one string is for one thread at a time.
class QD_CORE_API BString {
public:
    /// The position that says "not found"; no static member, as MinGW exports none that is
    /// constexpr.
    enum : std::size_t { kNotFound = static_cast<std::size_t>(-1) };

    // Construction and assignment

    BString() noexcept = default;
    BString(std::nullptr_t) noexcept {}
    BString(const char* text);
    /// Conversion to the ANSI code page: look-alikes or "?" for what it lacks.
    BString(const WChar* text);

    BString& operator=(const char* text);

    /// Makes the string empty.
    void Clear() noexcept { m_text = {}; }
    /// Replaces the text by `count` bytes `character`. False when memory runs out.
    bool Fill(std::size_t count, char character);

    // Access

    [[nodiscard]] bool IsEmpty() const noexcept { return m_text.IsEmpty(); }
    [[nodiscard]] std::size_t Length() const noexcept;

    /// The text with its terminating 0, never null; good until the string changes.
    [[nodiscard]] const char* CStr() const noexcept { return m_text.Text(); }
    operator const char*() const noexcept { return m_text.Text(); }
    /// The text from `position` on, which must not be beyond the length; null for a string that has
    /// no text block, as after construction or `Clear()`.
    [[nodiscard]] const char* CStr(std::size_t position) const noexcept
    {
        return m_text.IsNull() ? nullptr : m_text.Text() + position;
    }
    /// The text for writing within its length, no longer shared; good until the string is copied or
    /// changes. Null when memory runs out.
    [[nodiscard]] char* Str();

    /// The character at `position`, which must not be beyond the length (where it is 0).
    [[nodiscard]] char GetAt(std::size_t position) const noexcept
    {
        return m_text.IsNull() ? char(0) : m_text.Text()[position];
    }
    [[nodiscard]] char operator[](std::size_t position) const noexcept { return GetAt(position); }
    [[nodiscard]] char operator[](int position) const noexcept
    {
        return GetAt(static_cast<std::size_t>(position));
    }
    /// Overwrites the character at `position`, which must be below the length.
    void SetAt(std::size_t position, char character);

    // Appending and editing

    void Append(const BString& text);
    void Append(const char* text);
    void Append(char character);
    BString& operator+=(const BString& text);
    BString& operator+=(const char* text);
    BString& operator+=(char character);

    void Prepend(const BString& text);
    void Prepend(const char* text);
    void Prepend(char character);

    /// Inserts before `position`; beyond the length nothing changes.
    BString& Insert(const char* text, std::size_t position);
    BString& Insert(char character, std::size_t position);

    /// Removes up to `count` bytes from `position` on.
    void Remove(std::size_t position, std::size_t count);

    /// Overwrites bytes from `position` on with `text`, cut where the string ends.
    void ReplaceAt(const char* text, std::size_t position);

    /// Replaces every occurrence of `from`, left to right; what was put in is not searched again.
    /// True when there was one. An empty `from` is never found, a 0 byte as `to` removes.
    bool Replace(const char* from, const char* to, bool caseSensitive);
    bool Replace(const BString& from, const BString& to, bool caseSensitive);
    bool Replace(char from, char to, bool caseSensitive);
    bool IReplace(const char* from, const char* to);
    bool IReplace(const BString& from, const BString& to);
    bool IReplace(char from, char to);

    // Comparison by the user's collation. The other operators follow from `==` and `<=>`, and so
    // does a plain text on the left.

    /// Below 0, 0 or above 0 as this text sorts before, with or after `other`.
    [[nodiscard]] int Cmp(const BString& other) const noexcept;
    [[nodiscard]] int ICmp(const BString& other) const noexcept;

    [[nodiscard]] bool Equal(const BString& other) const noexcept;
    [[nodiscard]] bool Equal(const char* text) const noexcept;
    [[nodiscard]] bool IEqual(const BString& other) const noexcept;
    [[nodiscard]] bool IEqual(const char* text) const noexcept;
    [[nodiscard]] bool operator==(const BString& other) const noexcept { return Equal(other); }
    [[nodiscard]] bool operator==(const char* text) const noexcept { return Equal(text); }
    [[nodiscard]] std::weak_ordering operator<=>(const BString& other) const noexcept;
    [[nodiscard]] std::weak_ordering operator<=>(const char* text) const noexcept;

    // Search

    /// True for a null prefix; an empty string starts with no other, not even with "".
    /// `IStartsWith` ignores the case of the letters that `ToUpper` knows.
    [[nodiscard]] bool StartsWith(const char* prefix) const noexcept;
    [[nodiscard]] bool StartsWith(const BString& prefix) const noexcept;
    [[nodiscard]] bool IStartsWith(const char* prefix) const noexcept;
    [[nodiscard]] bool IStartsWith(const BString& prefix) const noexcept;
    /// The same for the end, by collation: the tail that is as long as `suffix` is compared.
    [[nodiscard]] bool EndsWith(const char* suffix) const noexcept;
    [[nodiscard]] bool EndsWith(const BString& suffix) const noexcept;
    [[nodiscard]] bool IEndsWith(const char* suffix) const noexcept;
    [[nodiscard]] bool IEndsWith(const BString& suffix) const noexcept;

    /// An empty part and the byte 0 are never found.
    [[nodiscard]] bool Includes(int character) const noexcept;
    [[nodiscard]] bool Includes(const char* part) const noexcept;
    [[nodiscard]] bool Includes(const BString& part) const noexcept;
    [[nodiscard]] bool IIncludes(int character) const noexcept;
    [[nodiscard]] bool IIncludes(const char* part) const noexcept;
    [[nodiscard]] bool IIncludes(const BString& part) const noexcept;
    /// `Includes` that stores where the first occurrence stands; `position` stays when there is
    /// none.
    [[nodiscard]] bool IncludesPos(int character, std::size_t& position) const noexcept;
    [[nodiscard]] bool IncludesPos(const char* part, std::size_t& position) const noexcept;
    [[nodiscard]] bool IncludesPos(const BString& part, std::size_t& position) const noexcept;
    /// Position of the first occurrence at or after `start`, or `kNotFound`.
    [[nodiscard]] std::size_t Search(char character, std::size_t start) const noexcept;
    [[nodiscard]] std::size_t Search(const char* part, std::size_t start) const noexcept;
    [[nodiscard]] std::size_t Search(const BString& part, std::size_t start) const noexcept;

    // Pieces and tokens

    /// Up to `count` bytes from `position` on.
    [[nodiscard]] BString Sub(std::size_t position, std::size_t count) const;
    [[nodiscard]] BString Sub(std::size_t position) const;
    /// From `position` up to, not including, the next `end`, or to the string's end.
    [[nodiscard]] BString SubCh(std::size_t position, int end) const;

    /// Takes the tail from `position` on out of the string and returns it.
    BString Cut(std::size_t position);
    /// Takes up to `count` bytes from `position` on out of the string and returns them.
    BString Cut(std::size_t position, std::size_t count);
    /// Ends the string at `position`; false when it is not longer than that.
    bool CutAt(std::size_t position);
    /// Ends the string behind the first or the last `character`; false when there is none or it
    /// ends there.
    bool CutAfter(int character, bool first);
    /// Ends the string before the first or the last `character`; `rest` takes the text from there
    /// on, `character` included. False when there is none: `rest` is then empty and this string
    /// unchanged.
    bool Split(BString& rest, int character, bool first);

    /// 0 for an empty string, otherwise one more than there are separators.
    [[nodiscard]] std::size_t TokenCount(char separator) const noexcept;
    [[nodiscard]] std::size_t GetTokenCount(char separator) const noexcept
    {
        return TokenCount(separator);
    }
    /// Field `index` of the text cut at every separator; adjacent separators give empty fields.
    /// Empty when there is no such field.
    [[nodiscard]] BString Token(std::size_t index, char separator) const;
    [[nodiscard]] BString GetToken(std::size_t index, char separator) const
    {
        return Token(index, separator);
    }

    // Trimming and case

    /// Removes white space, the given character or all characters of `set` from one end. True when
    /// there was any.
    bool TrimLeft();
    bool TrimLeft(char character);
    bool TrimLeft(const char* set);
    bool TrimRight();
    bool TrimRight(char character);
    bool TrimRight(const char* set);

    BString& EraseLeadingChars(char character);
    BString& EraseTrailingChars(char character);
    BString& EraseAllChars(char character);

    /// Converts this string in place and returns a copy of it: ASCII letters only, on Windows those
    /// of the application's C locale once it called `setlocale` (in the runtime that this uses).
    BString ToUpper();
    BString ToLower();
    /// A converted copy; this string stays.
    [[nodiscard]] BString Upper() const;
    [[nodiscard]] BString Lower() const;

    // Classification: whether every character is of the class. An empty string is of every class.

    [[nodiscard]] bool IsAlpha() const noexcept;
    [[nodiscard]] bool IsDigit() const noexcept;
    [[nodiscard]] bool IsNumeric() const noexcept { return IsDigit(); }
    [[nodiscard]] bool IsPrint() const noexcept;
    [[nodiscard]] bool IsAlphaNum() const noexcept;
    [[nodiscard]] bool IsAlphaNumUnderscore() const noexcept;
    [[nodiscard]] bool IsCharSet(const char* set) const noexcept;

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
    /// Reads a decimal integer; failing that, a hexadecimal one: "10" gives 10, "ff" 255, "2.5"
    /// fails.
    [[nodiscard]] bool Convert(int& value) const noexcept;
    /// The number's text to the base `radix`, 2 to 36; another radix leaves the string unchanged. A
    /// minus sign is for radix 10 only, the others show 64 bits unsigned.
    void ItoA(std::int64_t value, int radix);
    [[nodiscard]] static BString FromInt(std::int64_t value);

    // Formatting and escapes

    /// `printf` into this string; a string object goes through `CStr()`. Its own text may be an
    /// argument. A null format leaves it empty. With a faulty format, or a result of 2^28 bytes or
    /// more, it keeps its text.
    void Printf(const char* format, ...);

    /// A copy with "\n", "\t", "\r", "\\" and "\x" with two hexadecimal digits for all that cannot
    /// be printed; that is every byte above 127.
    [[nodiscard]] BString Printable() const;
    /// The inverse in place. "\x" without two digits is dropped with the two bytes behind it, a
    /// backslash before another character stays, and "\x00" ends the text.
    void ResolveEsc();

    // Files

    /// Reads a record that `FWrite` wrote. False when there is none, which leaves the string as it
    /// is, and when its text is cut short or does not end with a 0, which leaves it empty.
    [[nodiscard]] bool FRead(std::FILE* stream);
    /// Writes the text as a record. False for a null stream, a text above 2^32 - 1 bytes or an
    /// error.
    [[nodiscard]] bool FWrite(std::FILE* stream) const;
    /// Reads a line of a text stream, its line feed cut off. False for a null stream and for
    /// one already at its end or in error; so the end of the last line gives one more, empty line.
    [[nodiscard]] bool ReadLn(std::FILE* stream);

private:
    friend QD_CORE_API BString operator+(const BString& a, const char* b);
    friend QD_CORE_API BString operator+(const char* a, const BString& b);

    // False when memory runs out.
    bool TryAppend(const char* text);
    bool TryPrepend(const char* text);
    [[nodiscard]] BString Piece(BSharedText<char>::View own, std::size_t position,
                                std::size_t count) const;

    BSharedText<char> m_text;
};

[[nodiscard]] QD_CORE_API BString operator+(const BString& a, const BString& b);
[[nodiscard]] QD_CORE_API BString operator+(const BString& a, const char* b);
[[nodiscard]] QD_CORE_API BString operator+(const char* a, const BString& b);
/// Not this: the text would decay to a pointer, and the sum point beyond its end. A character is
/// appended by `+=`.
template <std::same_as<char> Character>
BString operator+(const BString& text, Character character) = delete;
template <std::same_as<char> Character>
BString operator+(Character character, const BString& text) = delete;
