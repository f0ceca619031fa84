#pragma once

#include "core/platform/ProbeTable.h"
#include "core/platform/WideText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace platform {

/// Whether both have the same units: word by word and in place, where the view's own operator goes
/// unit by unit. A call of the C library is a jump by a pointer besides, which the processor does
/// not foresee behind a call of the system.
inline bool HasSameUnits(WideView a, WideView b) noexcept
{
    constexpr std::size_t wordUnits = sizeof(std::uint64_t) / sizeof(WChar);
    const auto isSameWord = [&](std::size_t at) {
        std::uint64_t one = 0, other = 0;
        std::memcpy(&one, a.data() + at, sizeof one);
        std::memcpy(&other, b.data() + at, sizeof other);
        return one == other;
    };
    if (a.size() != b.size())
        return false;
    if (a.size() < wordUnits)
        return std::equal(a.begin(), a.end(), b.begin());
    std::size_t at = 0;
    while (at + wordUnits < a.size() && isSameWord(at))
        at += wordUnits;
    return at + wordUnits >= a.size() && isSameWord(a.size() - wordUnits);
}

/// The text of a private profile, and where its sections and keys stand in it. Lines that a change
/// does not concern stay as they are.
///
///     line      blanks, then up to CR LF, LF, CR or the end of the text:
///               "[" name "]" any       a section; the last "]" of the line counts
///               ";" any                a comment
///               name "=" value         a key; the first "=" counts
///               name                   a key without a value
///               nothing
///
/// Blanks (" ", tab) around lines, names and values do not count, and a 0 ends a name or value; a
/// line that begins with one is nothing. What stands before the first section belongs to none.
/// Names go without regard to case; of equal ones the first counts. `Unit` is WChar, or char for
/// text in the ANSI code page. Time is linear in the text, and the index takes a few bytes a name.
/// One thread at a time, also to read.
template <class Unit>
class IniText {
public:
    using Text = std::basic_string<Unit>;
    using View = std::basic_string_view<Unit>;
    /// What a value is told as: where it stands, good until the text changes, or converted.
    using Value = std::conditional_t<std::is_same_v<Unit, WChar>, WideView, WideText>;

    /// What `text` may have at most.
    static constexpr std::size_t kMostUnits = 0x7FFFFFFF;

    explicit IniText(Text text);

    /// Takes another text in place of the whole. What is found where stays in the index as far as
    /// lines have the names that they had: so after a change of values nothing is indexed again.
    void Update(Text text);

    [[nodiscard]] const Text& Whole() const noexcept { return m_text; }

    /// The value with its quotes; none when there is no such key, or it has no value.
    [[nodiscard]] std::optional<Value> Find(WideView section, WideView key) const;
    // Lists for the callers of the profile functions: each text with a 0. They end when they have
    // `enough` units.
    [[nodiscard]] std::optional<WideText> Keys(WideView section, std::size_t enough) const;
    [[nodiscard]] std::optional<WideText> Lines(WideView section, std::size_t enough) const;
    [[nodiscard]] WideText Sections(std::size_t enough) const;

    // Each returns whether the text is another one afterwards. A value loses its leading blanks.

    bool Set(WideView section, WideView key, WideView value);
    bool RemoveKey(WideView section, WideView key);
    bool RemoveSection(WideView section);

    /// How many units at the front the last change left as they were.
    [[nodiscard]] std::size_t Kept() const noexcept { return m_kept; }

private:
    enum class EKind { Blank, Comment, Section, Key };
    struct Line {
        std::size_t end = 0;  // where its line end begins
        std::size_t next = 0; // where the next line begins
        EKind kind = EKind::Blank;
        View name;
        std::optional<View> value; // with its blanks, and what stands behind a 0
    };
    struct Key {
        std::uint32_t begin;   // of its line
        std::uint32_t nameEnd; // counted from there
    };
    static constexpr std::uint32_t kNone = 0xFFFFFFFF; // no section, no key

    void Index();
    struct Moved {
        std::uint32_t from; // where its line began
        Key to;
    };
    // Where the keys of the lines from `begin` to `end` stand when `text` has these lines up to
    // `newEnd`; none where their names, or what they are, is not the same.
    [[nodiscard]] std::optional<std::vector<Moved>> Moves(View text, std::size_t begin,
                                                          std::size_t end,
                                                          std::size_t newEnd) const;
    // What stands from `end` on moves by `growth`, modulo 2^32, and each key between as told.
    void Shift(std::size_t begin, std::size_t end, std::uint32_t growth,
               const std::vector<Moved>& moves) noexcept;
    // What begins at `begin`, which is in no section that counts.
    void IndexFrom(std::size_t begin);
    [[nodiscard]] static Line LineAt(View text, std::size_t begin) noexcept;
    [[nodiscard]] Line LineAt(std::size_t begin) const noexcept { return LineAt(m_text, begin); }
    // Of the key's line, to where its name ends: the name alone, but for blanks before it.
    [[nodiscard]] View UpToName(const Key& key) const noexcept;
    [[nodiscard]] std::optional<View> ValueOf(const Key& key) const noexcept;
    [[nodiscard]] bool IsIn(std::uint32_t section, const Key& key) const noexcept;
    // Whether the line begins with just this name. Surely so if true: in 8-bit text only ASCII is
    // looked at.
    [[nodiscard]] bool IsWritten(const Key& key, WideView name) const noexcept;
    [[nodiscard]] auto IsSection(WideView foldedName) const;
    [[nodiscard]] auto IsKey(std::uint32_t section, WideView foldedName) const;
    [[nodiscard]] std::uint32_t FindSection(WideView name) const;
    [[nodiscard]] std::uint32_t FindOtherSection(WideView name) const;
    [[nodiscard]] std::uint32_t FindKey(std::uint32_t section, WideView name) const;
    [[nodiscard]] std::uint32_t FindAnyKey(std::uint32_t section, WideView name) const;
    // The number of the section, none when its name was there before: its keys do not count.
    std::uint32_t AddSection(WideView foldedName, std::size_t begin);
    // The key on the line that begins there. Nothing when the section has such a key.
    void AddKey(std::uint32_t section, View name, std::size_t begin);
    [[nodiscard]] std::size_t SectionEnd(std::uint32_t section) const noexcept;
    [[nodiscard]] std::size_t PlaceForKey(std::uint32_t section) const;
    [[nodiscard]] std::optional<WideText> List(
        WideView section, std::size_t enough,
        const std::function<void(const Line&, WideText&)>& append) const;

    void Replace(std::size_t begin, std::size_t count, const Text& by);
    [[nodiscard]] bool ReadsAs(std::size_t begin, const Text& key, std::size_t length) const;
    void InsertKey(std::uint32_t section, const Text& key, const Text& line);
    void AppendSection(WideView name, const Text& line);
    bool Remove(std::size_t begin, std::size_t end);

    Text m_text;
    std::size_t m_kept = 0;
    std::vector<std::uint32_t> m_sections; // where each begins, in the order of the text
    std::vector<Key> m_keys; // the first of each name in the first section of each name
    ProbeTable<std::uint32_t> m_sectionIndex, m_keyIndex; // numbers, by folded names
    // What was asked for last, as programs ask for many keys of one section in turn.
    mutable struct {
        WideText name;
        std::uint32_t number = kNone;
    } m_lastSection;
    // What was found last: a program asks for its keys in the order in which it wrote them, once
    // with their defaults, so the next one is looked at first.
    mutable std::uint32_t m_lastKey = kNone;
};

extern template class IniText<char>;
extern template class IniText<WChar>;

} // namespace platform
