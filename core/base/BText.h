#pragma once

#include "core/base/BSharedText.h"
#include "core/platform/Export.h"
#include "core/platform/WChar.h"

#include <algorithm>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iosfwd>
#include <string_view>
#include <utility>

/// Tells `BText` what differs between the string classes; specialised beside each of them:
///
///     Char                    the class's unit
///     Single                  how some members take one unit
///     kPrintfRoom             what `Printf` formats on the stack, terminating 0 included
///     kFailedPrintfEmpties    whether a faulty format or a result too long empties the text
///     CanCutAnywhere(text)    whether each unit of `text` has a meaning of its own
///     ReadChunk               `fgets` for `Char`
template <class String>
struct BTextTraits;

class BArchive;
template <class K>
struct BKeyTraits;

/// A character of any encoding. What is added to a string must be none: the string would decay to a
/// pointer, and the sum point beyond its end.
template <class T>
concept BCharacter = std::same_as<T, char> || std::same_as<T, char8_t> ||
    std::same_as<T, char16_t> || std::same_as<T, char32_t> || std::same_as<T, wchar_t>;

/// The members that `WString` and `BString` have in common; `String` is the one or the other.
///
/// A *unit* is a `Char`: a UTF-16 code unit in a `WString`, a byte in a `BString`. Lengths and
/// positions are in units, positions from 0; a 0 unit ends the text. The length is known, but for a
/// text that was handed out by `Str`: that is measured each time, until a change takes another
/// block of memory.
///
/// Comparison is the user's collation, not unit order: "Straße" == "Strasse", and "a" < "B". Search
/// and `StartsWith` go by units. Those whose name begins with "I" ignore case.
///
/// A null pointer to text is an empty text unless a member says otherwise, and an argument may
/// point into the string's own text. Nothing throws: when memory runs out, a member leaves the
/// string as it was and gives an empty result or false. Strings that share a text may be used on
/// different threads at the same time; one string is for one thread at a time.
template <class String>
class QD_CORE_API BText {
public:
    using Char = typename BTextTraits<String>::Char;
    /// How some members take one unit: `int` in a `BString`, as `strchr` does.
    using Single = typename BTextTraits<String>::Single;

    /// The position that says "not found"; no static member, as MinGW exports none that is
    /// constexpr.
    enum : std::size_t { kNotFound = platform::kNotFound };

    // Access

    /// Makes the string empty.
    void Clear() noexcept { m_text = {}; }
    /// Replaces the text by `count` units `unit`. False when memory runs out.
    bool Fill(std::size_t count, Char unit);

    [[nodiscard]] bool IsEmpty() const noexcept { return m_text.IsEmpty(); }
    [[nodiscard]] std::size_t Length() const noexcept { return m_text.Length(); }

    /// The text with its terminating 0, never null; good until the string changes.
    [[nodiscard]] const Char* CStr() const noexcept { return m_text.Text(); }
    operator const Char*() const noexcept { return m_text.Text(); }
    /// The text from `position` on, which must not be beyond the length; null for a string that has
    /// no text block, as after construction or `Clear()`.
    [[nodiscard]] const Char* CStr(std::size_t position) const noexcept
    {
        return m_text.IsNull() ? nullptr : m_text.Text() + position;
    }
    /// The units as they stand, for the standard library; good until the string changes.
    [[nodiscard]] std::basic_string_view<Char> AsView() const noexcept { return Own(); }
    /// The text for writing within its length, no longer shared; good until the string is copied or
    /// changes. Null when memory runs out.
    [[nodiscard]] Char* Str();

    /// The unit at `position`, at most the length (where it is 0); always 0 without a text block.
    [[nodiscard]] Char GetAt(std::size_t position) const noexcept
    {
        return m_text.IsNull() ? Char(0) : m_text.Text()[position];
    }
    [[nodiscard]] Char operator[](std::size_t position) const noexcept { return GetAt(position); }
    /// Overwrites the unit at `position`, which must be below the length.
    void SetAt(std::size_t position, Char unit);

    // Appending and editing

    void Append(const String& text);
    void Append(const Char* text);
    void Append(Char unit)
    {
        if (!m_text.PushInRoom(unit)) // most units find a room that is theirs
            AppendApart(unit);
    }
    String& operator+=(const String& text);
    String& operator+=(const Char* text);
    String& operator+=(Char unit)
    {
        Append(unit);
        return Self();
    }

    void Prepend(const String& text);
    void Prepend(const Char* text);
    void Prepend(Char unit);

    /// Inserts before `position`; beyond the length nothing changes.
    String& Insert(const Char* text, std::size_t position);
    String& Insert(Char unit, std::size_t position);

    /// Removes up to `count` units from `position` on.
    void Remove(std::size_t position, std::size_t count);

    /// Overwrites units from `position` on with `text`, cut where the string ends.
    void ReplaceAt(const Char* text, std::size_t position);

    /// Replaces every occurrence of `from`, left to right; what was put in is not searched again.
    /// True when there was one. An empty `from` is never found, a 0 unit as `to` removes.
    bool Replace(const Char* from, const Char* to, bool caseSensitive);
    bool Replace(const String& from, const String& to, bool caseSensitive);
    bool Replace(Char from, Char to, bool caseSensitive);
    bool IReplace(const Char* from, const Char* to);
    bool IReplace(const String& from, const String& to);
    bool IReplace(Char from, Char to);

    // Comparison by the user's collation. The other operators follow from `==` and `<=>`, and so
    // does a plain text on the left.

    /// Below 0, 0 or above 0 as this text sorts before, with or after `other`.
    [[nodiscard]] int Cmp(const String& other) const noexcept;
    [[nodiscard]] int ICmp(const String& other) const noexcept;

    [[nodiscard]] bool Equal(const String& other) const noexcept;
    [[nodiscard]] bool Equal(const Char* text) const noexcept;
    [[nodiscard]] bool IEqual(const String& other) const noexcept;
    [[nodiscard]] bool IEqual(const Char* text) const noexcept;
    // Not members, or the class's own conversions would make a comparison with its like ambiguous.
    [[nodiscard]] friend bool operator==(const String& a, const String& b) noexcept
    {
        return a.Equal(b);
    }
    [[nodiscard]] friend bool operator==(const String& a, const Char* b) noexcept
    {
        return a.Equal(b);
    }
    [[nodiscard]] friend std::weak_ordering operator<=>(const String& a, const String& b) noexcept
    {
        return a.Cmp(b) <=> 0;
    }
    [[nodiscard]] friend std::weak_ordering operator<=>(const String& a, const Char* b) noexcept
    {
        return a.CmpText(b) <=> 0;
    }

    /// For `std::hash`: the same for texts that are equal by `==`, and another one in each process.
    /// Throws `std::bad_alloc`, alone of the members: another hash would be a wrong one.
    [[nodiscard]] std::size_t Hash() const;

    // Search

    /// True for a null prefix; an empty string starts with no other, not even with "".
    /// `IStartsWith` ignores the case of the letters that `ToUpper` knows.
    [[nodiscard]] bool StartsWith(const Char* prefix) const noexcept;
    [[nodiscard]] bool StartsWith(const String& prefix) const noexcept;
    [[nodiscard]] bool IStartsWith(const Char* prefix) const noexcept;
    [[nodiscard]] bool IStartsWith(const String& prefix) const noexcept;
    /// The same for the end, by collation: the tail that is as long as `suffix` is compared.
    [[nodiscard]] bool EndsWith(const Char* suffix) const noexcept;
    [[nodiscard]] bool EndsWith(const String& suffix) const noexcept;
    [[nodiscard]] bool IEndsWith(const Char* suffix) const noexcept;
    [[nodiscard]] bool IEndsWith(const String& suffix) const noexcept;

    /// An empty part and the unit 0 are never found.
    [[nodiscard]] bool Includes(Single unit) const noexcept;
    [[nodiscard]] bool Includes(const Char* part) const noexcept;
    [[nodiscard]] bool Includes(const String& part) const noexcept;
    [[nodiscard]] bool IIncludes(Single unit) const noexcept;
    [[nodiscard]] bool IIncludes(const Char* part) const noexcept;
    [[nodiscard]] bool IIncludes(const String& part) const noexcept;
    /// `Includes` that stores where the first occurrence stands; `position` stays when there is
    /// none.
    [[nodiscard]] bool IncludesPos(Single unit, std::size_t& position) const noexcept;
    [[nodiscard]] bool IncludesPos(const Char* part, std::size_t& position) const noexcept;
    [[nodiscard]] bool IncludesPos(const String& part, std::size_t& position) const noexcept;
    /// Position of the first occurrence at or after `start`, or `kNotFound`.
    [[nodiscard]] std::size_t Search(Char unit, std::size_t start) const noexcept;
    [[nodiscard]] std::size_t Search(const Char* part, std::size_t start) const noexcept;
    [[nodiscard]] std::size_t Search(const String& part, std::size_t start) const noexcept;

    // Pieces and tokens

    /// Up to `count` units from `position` on.
    [[nodiscard]] String Sub(std::size_t position, std::size_t count) const;
    [[nodiscard]] String Sub(std::size_t position) const;
    /// From `position` up to, not including, the next `end`, or to the string's end.
    [[nodiscard]] String SubCh(std::size_t position, Single end) const;

    /// Takes the tail from `position` on out of the string and returns it.
    String Cut(std::size_t position);
    /// Takes up to `count` units from `position` on out of the string and returns them.
    String Cut(std::size_t position, std::size_t count);
    /// Ends the string at `position`; false when it is not longer than that.
    bool CutAt(std::size_t position);
    /// Ends the string behind the first or the last `unit`; false when there is none or it ends
    /// there.
    bool CutAfter(Single unit, bool first);
    /// Ends the string before the first or the last `unit`; `rest` takes the text from there on,
    /// `unit` included. False when there is none: this string is then unchanged, and `rest`, unless
    /// it is this string, empty.
    bool Split(String& rest, Single unit, bool first);

    /// 0 for an empty string, otherwise one more than there are separators.
    [[nodiscard]] std::size_t TokenCount(Char separator) const noexcept;
    [[nodiscard]] std::size_t GetTokenCount(Char separator) const noexcept
    {
        return TokenCount(separator);
    }
    /// Field `index` of the text cut at every separator; adjacent separators give empty fields.
    /// Empty when there is no such field.
    [[nodiscard]] String Token(std::size_t index, Char separator) const;
    [[nodiscard]] String GetToken(std::size_t index, Char separator) const
    {
        return Token(index, separator);
    }

    // Trimming and case

    /// Removes white space, the given unit or all units of `set` from one end. True when there was
    /// any.
    bool TrimLeft();
    bool TrimLeft(Char unit);
    bool TrimLeft(const Char* set);
    bool TrimRight();
    bool TrimRight(Char unit);
    bool TrimRight(const Char* set);

    String& EraseLeadingChars(Char unit);
    String& EraseTrailingChars(Char unit);
    String& EraseAllChars(Char unit);

    /// Converts this string in place and returns a copy of it: ASCII letters only, on Windows those
    /// of the application's C locale once it called `setlocale` (in the runtime that this uses).
    String ToUpper();
    String ToLower();
    /// A converted copy; this string stays.
    [[nodiscard]] String Upper() const;
    [[nodiscard]] String Lower() const;

    // Classification: whether every unit is of the class. An empty string is of every class.

    [[nodiscard]] bool IsAlpha() const noexcept;
    /// In a `WString` digits of every script count, superscripts too: more than `Convert` reads.
    [[nodiscard]] bool IsDigit() const noexcept;
    [[nodiscard]] bool IsNumeric() const noexcept { return IsDigit(); }
    [[nodiscard]] bool IsPrint() const noexcept;
    [[nodiscard]] bool IsAlphaNum() const noexcept;
    [[nodiscard]] bool IsAlphaNumUnderscore() const noexcept;
    [[nodiscard]] bool IsCharSet(const Char* set) const noexcept;

    // Lines

    /// One more than there are line feeds; one directly behind a line feed that counts does not,
    /// and belongs to the next line.
    [[nodiscard]] std::size_t CountLines() const noexcept;
    /// Length of the longest of the lines that `CountLines` counts.
    [[nodiscard]] std::size_t LengthOfLongestLine() const noexcept;

    // Numbers

    /// The number that the text begins with, 0 when there is none.
    [[nodiscard]] int AtoI() const noexcept;
    [[nodiscard]] double AtoF() const noexcept;
    /// True when the text is one number with nothing but white space around it. When more follows,
    /// `value` may have taken the number all the same. Each class has its own way with an `int`.
    [[nodiscard]] bool Convert(float& value) const noexcept;
    [[nodiscard]] bool Convert(double& value) const noexcept;
    /// The number's text to the base `radix`, 2 to 36; another radix leaves the string unchanged. A
    /// minus sign is for radix 10 only, the others show 64 bits unsigned.
    void ItoA(std::int64_t value, int radix);
    [[nodiscard]] static String FromInt(std::int64_t value);

    // Formatting and escapes

    /// `printf` into this string; a string object goes through `CStr()`. In a `WString`'s format
    /// "%s" takes wide text and "%S" narrow text, in a `BString`'s the other way round; "%I64d"
    /// takes 64 bits. The string's own text may be an argument. A null format leaves it empty. A
    /// faulty format, and a result of 2^28 units or more, leave a `WString` empty and a `BString`
    /// as it was.
    void Printf(const Char* format, ...);

    /// A copy with `\n`, `\t`, `\r`, `\\` and `\x` with two hexadecimal digits, those of the low
    /// byte, for all that cannot be printed: a UTF-16 unit above 255 loses its high byte, and no
    /// byte above 127 is printed.
    [[nodiscard]] String Printable() const;
    /// The inverse in place. `\x` without two digits is dropped with the two units behind it, a
    /// backslash before another unit stays, and `\x00` ends the text.
    void ResolveEsc();

    /// Writes the text as UTF-8, also one of the ANSI code page, with what `AsUtf8` loses; that of
    /// a `BString` byte by byte goes through `CStr()`. The stream fails when memory runs out.
    template <class Traits>
    friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out,
                                                        const String& text)
    {
        const auto bytes = text.AsUtf8();
        if (bytes.empty() && !text.IsEmpty())
            out.setstate(std::basic_ostream<char, Traits>::failbit);
        return out << std::basic_string_view<char, Traits>(bytes.data(), bytes.size());
    }

    // Files

    /// Reads a record that `FWrite` wrote. False when there is none, which leaves the string as it
    /// is, and when its text is cut short or does not end with a 0, which leaves it empty.
    [[nodiscard]] bool FRead(std::FILE* stream);
    /// Writes the text as a record. False for a null stream, a text above 2^32 - 1 units or an
    /// error.
    [[nodiscard]] bool FWrite(std::FILE* stream) const;
    /// Reads a line, its line feed cut off, of a text stream: one of Unicode into a `WString`, a
    /// narrow one into a `BString`. False for a null stream and for one already at its end or in
    /// error; so the end of the last line gives one more, empty line.
    [[nodiscard]] bool ReadLn(std::FILE* stream);

protected:
    using Text = BSharedText<Char>;
    using View = typename Text::View;

    // Only as the base of its `String`.
    BText() noexcept = default;
    BText(const BText& other) noexcept = default;
    BText(BText&& other) noexcept = default;
    BText& operator=(const BText& other) noexcept = default;
    BText& operator=(BText&& other) noexcept = default;
    ~BText() = default;

    [[nodiscard]] View Own() const noexcept { return View(CStr(), Length()); }
    /// Sees to it that the text may be written to. False when memory runs out.
    bool MakePrivate() noexcept;
    /// Whether the text may be written to and has room for `length` units; if need be, it takes
    /// `capacity`.
    bool HasRoomFor(std::size_t length, std::size_t capacity) noexcept;
    void AppendApart(Char unit);
    // False when memory runs out.
    bool TryAppend(View added);
    bool TryPrepend(View added);

    Text m_text;

private:
    friend class BArchive;            // reads texts
    friend struct BKeyTraits<String>; // compares keys

    /// Replaces the text by `count` units, at least one, that `write` puts where it is told; the
    /// first 0 among them ends it. Empty when `write` says no. False when memory runs out.
    template <class Write>
    bool FillBy(std::size_t count, Write write)
    {
        auto filled = Text::WithCapacity(count);
        if (filled.IsNull())
            return false;
        const View units(filled.Text(), count);
        const bool isWritten = write(filled.Writable());
        filled.End(isWritten ? (std::min)(count, units.find(Char(0))) : 0);
        m_text = isWritten ? std::move(filled) : Text();
        return true;
    }

    [[nodiscard]] String& Self() noexcept { return static_cast<String&>(*this); }
    [[nodiscard]] const String& Self() const noexcept { return static_cast<const String&>(*this); }

    [[nodiscard]] bool IsSame(const String& other) const noexcept
    {
        return m_text.IsSame(other.m_text);
    }
    [[nodiscard]] int CmpText(const Char* text) const noexcept;
    // `count` units of the own text, which is shared when they are all of it.
    [[nodiscard]] String Piece(View own, std::size_t position, std::size_t count) const;
};
