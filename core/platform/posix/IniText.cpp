#include "core/platform/posix/IniText.h"

#include "core/platform/CodePage.h"
#include "core/platform/SeededHash.h"
#include "core/platform/UnitBlock.h"
#include "core/platform/posix/FoldCase.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

// The text is kept as it was read, and a change replaces units in the middle of it. A tree of
// sections and values that is written anew would be simpler, but it would lose what users and other
// programs put into such a file by hand: comments, lines that are no keys, the order, the blanks,
// the second key of a name. For the same reason narrow text stays narrow: bytes that the code page
// does not know would not come back from UTF-16.
//
// Beside the text stands an index, as profiles of thousands of keys are asked key by key. It holds
// where lines begin, where the names of keys end, and hashes of folded names, but no names: those
// are read in the text again where a byte of the hash agrees. So it stays small, and a change moves
// numbers alone. A change that may turn other lines into something else (a value with a line end in
// it, a section's name) has the whole text indexed again, which is rare and cannot go wrong.
namespace platform {

namespace {

template <class Unit>
constexpr bool IsBlank(Unit unit)
{
    // Most units are none, and one look tells it.
    return unit <= Unit(' ') && (unit == Unit(' ') || unit == Unit('\t') || unit == Unit('\r'));
}

template <class Unit>
constexpr bool IsLineEnd(Unit unit)
{
    return unit <= Unit('\r') && (unit == Unit('\n') || unit == Unit('\r'));
}

// Whether the units are the same and, in text of 8 bits, are ASCII, so that they stand for the
// same.
bool IsSamePlain(WideView written, WideView name)
{
    return HasSameUnits(written, name);
}

bool IsSamePlain(std::string_view written, WideView name)
{
    // A byte beyond ASCII is negative, and so no unit.
    return std::ranges::equal(written, name, {},
                              [](char byte) { return static_cast<signed char>(byte); });
}

// Whether it ends a value.
template <class Unit>
constexpr bool IsEnd(Unit unit)
{
    return unit <= Unit('\r') && (unit == Unit(0) || IsLineEnd(unit));
}

template <class Unit, class IsEnd>
std::size_t LengthUntil(std::basic_string_view<Unit> text, IsEnd isEnd)
{
    std::size_t length = 0;
    for (const Unit unit : text) { // plain, as builds that inline little do it often
        if (isEnd(unit))
            break;
        ++length;
    }
    return length;
}

template <class Unit>
inline std::basic_string_view<Unit> TrimLeft(std::basic_string_view<Unit> text)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    return text;
}

template <class Unit>
inline std::basic_string_view<Unit> Trim(std::basic_string_view<Unit> text)
{
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return TrimLeft(text);
}

// How many units stand before the next end of a line, or the end of the text.
std::size_t LineLength(WideView text)
{
    std::size_t length = 0;
    while (text.size() - length >= kBlockUnits) {
        length += UnitsWithin(text.data() + length, u'\r' + 1, 0xFFFF);
        if (length == text.size() || IsLineEnd(text[length]))
            return length;
        if (text[length] <= u'\r')
            ++length; // a tab, say
    }
    return length + LengthUntil(text.substr(length), IsLineEnd<WChar>);
}

std::size_t LineLength(std::string_view text)
{
    return LengthUntil(text, IsLineEnd<char>);
}

// How many units at the front of both are the same: compared as blocks of memory.
template <class Unit>
std::size_t SharedFront(std::basic_string_view<Unit> a, std::basic_string_view<Unit> b)
{
    constexpr std::size_t block = 256;
    const std::size_t most = std::min(a.size(), b.size());
    std::size_t shared = 0;
    while (most - shared >= block &&
           std::equal(a.data() + shared, a.data() + shared + block, b.data() + shared))
        shared += block;
    while (shared != most && a[shared] == b[shared])
        ++shared;
    return shared;
}

// How many units at the end of both are the same whole lines, behind a line feed.
template <class Unit>
std::size_t SharedLines(std::basic_string_view<Unit> a, std::basic_string_view<Unit> b)
{
    constexpr std::size_t block = 256;
    const Unit *const endOfA = a.data() + a.size(), *const endOfB = b.data() + b.size();
    const std::size_t most = std::min(a.size(), b.size());
    std::size_t shared = 0;
    while (most - shared >= block &&
           std::equal(endOfA - shared - block, endOfA - shared, endOfB - shared - block))
        shared += block;
    while (shared != most && endOfA[-1 - static_cast<std::ptrdiff_t>(shared)] ==
                                 endOfB[-1 - static_cast<std::ptrdiff_t>(shared)])
        ++shared;
    const std::size_t feed = a.find(Unit('\n'), a.size() - shared);
    return feed != a.npos ? a.size() - feed - 1 : 0;
}

// A name or a value as callers with 0-ended texts can tell it.
template <class Unit>
std::basic_string_view<Unit> TrimName(std::basic_string_view<Unit> text)
{
    return Trim(text.substr(0, text.find(Unit(0))));
}

// Into the room of as many units as `text` has; the result is the length.
std::size_t Widen(WideView text, WChar* wide)
{
    return text.copy(wide, text.size());
}

std::size_t Widen(std::string_view text, WChar* wide)
{
    return AnsiToWide(text.data(), text.size(), wide, text.size());
}

template <class Unit>
WideText Widen(std::basic_string_view<Unit> text)
{
    WideText wide(text.size(), 0);
    wide.resize(Widen(text, wide.data()));
    return wide;
}

void Narrow(WideView text, WideText& narrowed)
{
    narrowed = text;
}

void Narrow(WideView text, std::string& narrowed)
{
    narrowed.resize(text.size() * kMostAnsiBytesPerUnit);
    narrowed.resize(WideToAnsi(text.data(), text.size(), narrowed.data(), narrowed.size()));
}

template <class Unit>
std::basic_string<Unit> Narrow(WideView text)
{
    std::basic_string<Unit> narrowed;
    Narrow(text, narrowed);
    return narrowed;
}

// A name as names are compared: folded, and from its wide form whatever the file's, so that a key
// is the same one in both. Most are short and take no memory, and plain ASCII.
class FoldedName {
public:
    template <class Unit>
    explicit FoldedName(std::basic_string_view<Unit> name)
    {
        const std::size_t room = name.size() + kBlockUnits - name.size() % kBlockUnits;
        WChar* units = m_short;
        if (room > std::size(m_short))
            units = (m_long = std::make_unique<WChar[]>(room)).get();
        // What stands behind the name is plain and folded. Of bytes there may be fewer units.
        const std::size_t behind = std::is_same_v<Unit, WChar> ? kBlockUnits : room;
        std::fill_n(units + room - behind, behind, u'A');
        m_units = WideView(units, Widen(name, units));
        if (!FoldAscii(units, room))
            std::transform(m_units.begin(), m_units.end(), units, FoldCase);
    }
    FoldedName(const FoldedName&) = delete;
    FoldedName& operator=(const FoldedName&) = delete;

    operator WideView() const noexcept { return m_units; }

private:
    static constexpr std::size_t kBlockUnits = 8;

    // As FoldCase, of ASCII; false when there are other units. Without a branch, over whole blocks:
    // so compilers make a few instructions for eight units of it.
    bool FoldAscii(WChar* units, std::size_t room)
    {
        constexpr std::uint16_t beyondAscii = 0xFF80;
        std::uint16_t seen = 0;
        for (std::size_t i = 0; i < room / kBlockUnits * kBlockUnits; ++i) {
            const std::uint16_t unit = units[i];
            const bool isSmall = static_cast<std::uint16_t>(unit - u'a') <= u'z' - u'a';
            seen = static_cast<std::uint16_t>(seen | unit);
            units[i] = static_cast<WChar>(unit - (isSmall ? u'a' - u'A' : 0));
        }
        return (seen & beyondAscii) == 0;
    }

    WChar m_short[64];
    std::unique_ptr<WChar[]> m_long;
    WideView m_units; // in one of the two
};

bool IsSame(WideView name, WideView foldedName)
{
    return std::ranges::equal(name, foldedName, {}, FoldCase);
}

bool IsSame(std::string_view name, WideView foldedName)
{
    return HasSameUnits(FoldedName(name), foldedName);
}

std::uint32_t HashOf(WideView foldedName)
{
    return static_cast<std::uint32_t>(SeededHash(foldedName));
}

// Keys of one name stand in many sections.
std::uint32_t HashOf(WideView foldedName, std::uint32_t section)
{
    constexpr std::uint32_t spread = 0x9E3779B9; // odd: the same name is elsewhere in each section
    return HashOf(foldedName) + section * spread;
}

template <class Unit>
std::basic_string<Unit> LineEnd()
{
    return {Unit('\r'), Unit('\n')};
}

} // namespace

template <class Unit>
IniText<Unit>::IniText(Text text)
    : m_text(std::move(text))
{
    assert(m_text.size() <= kMostUnits);
    IndexFrom(0);
}

template <class Unit>
void IniText<Unit>::Update(Text text)
{
    assert(text.size() <= kMostUnits);
    const View before = m_text, after = text;
    // Behind a line feed, which ends a line whatever stands around it; 0 where there is none.
    const std::size_t begin = before.substr(0, SharedFront(before, after)).rfind(Unit('\n')) + 1;
    const std::size_t tail = SharedLines(before.substr(begin), after.substr(begin));
    const std::size_t end = before.size() - tail;
    const auto moves = Moves(after, begin, end, after.size() - tail);
    if (!moves) {
        *this = IniText(std::move(text));
        return;
    }
    const auto growth = static_cast<std::uint32_t>(after.size() - before.size()); // modulo 2^32
    if (growth != 0 || !moves->empty())
        Shift(begin, end, growth, *moves);
    m_text = std::move(text);
    m_kept = 0;
}

template <class Unit>
void IniText<Unit>::Shift(std::size_t begin, std::size_t end, std::uint32_t growth,
                          const std::vector<Moved>& moves) noexcept
{
    for (std::uint32_t& section : m_sections) {
        if (section >= end)
            section += growth;
    }
    for (Key& key : m_keys) {
        if (key.begin >= end)
            key.begin += growth;
        else if (key.begin >= begin)
            key = std::ranges::lower_bound(moves, key.begin, {}, &Moved::from)->to;
    }
}

template <class Unit>
auto IniText<Unit>::Moves(View text, std::size_t begin, std::size_t end, std::size_t newEnd) const
    -> std::optional<std::vector<Moved>>
{
    std::vector<Moved> moves;
    std::size_t newBegin = begin;
    while (begin < end && newBegin < newEnd) {
        const Line line = LineAt(begin), other = LineAt(text, newBegin);
        if (line.kind != other.kind || line.kind == EKind::Section || line.name != other.name)
            return std::nullopt;
        if (line.kind == EKind::Key) {
            const Unit* const nameEnd = other.name.data() + other.name.size();
            moves.push_back({.from = static_cast<std::uint32_t>(begin),
                             .to = {.begin = static_cast<std::uint32_t>(newBegin),
                                    .nameEnd = static_cast<std::uint32_t>(
                                        nameEnd - (text.data() + newBegin))}});
        }
        begin = line.next;
        newBegin = other.next;
    }
    return begin == end && newBegin == newEnd ? std::optional(std::move(moves)) : std::nullopt;
}

template <class Unit>
auto IniText<Unit>::Find(WideView section, WideView key) const -> std::optional<Value>
{
    const std::uint32_t found = FindKey(FindSection(section), key);
    if (found == kNone)
        return std::nullopt;
    if constexpr (std::is_same_v<View, WideView>) {
        return ValueOf(m_keys[found]);
    } else {
        const std::optional<View> value = ValueOf(m_keys[found]);
        return value ? std::optional(Widen(*value)) : std::nullopt;
    }
}

template <class Unit>
std::optional<WideText> IniText<Unit>::Keys(WideView section, std::size_t enough) const
{
    return List(section, enough, [](const Line& line, WideText& list) {
        if (line.value)
            list.append(Widen(line.name)).push_back(0);
    });
}

template <class Unit>
std::optional<WideText> IniText<Unit>::Lines(WideView section, std::size_t enough) const
{
    return List(section, enough, [](const Line& line, WideText& list) {
        list += Widen(line.name);
        if (line.value)
            list.append(1, u'=').append(Widen(TrimName(*line.value)));
        list.push_back(0);
    });
}

template <class Unit>
WideText IniText<Unit>::Sections(std::size_t enough) const
{
    WideText list;
    for (std::size_t i = 0; i < m_sections.size() && list.size() < enough; ++i) {
        const Line line = LineAt(m_sections[i]);
        if (!line.name.empty())
            list.append(Widen(line.name)).push_back(0);
    }
    return list;
}

template <class Unit>
bool IniText<Unit>::Set(WideView section, WideView key, WideView value)
{
    m_kept = m_text.size();
    const Text written = Narrow<Unit>(TrimLeft(value));
    Text name = Narrow<Unit>(Trim(key));
    const std::uint32_t inSection = FindSection(section);
    const std::uint32_t found = FindKey(inSection, key);
    if (found == kNone) {
        const Text line = name + Unit('=') + written + LineEnd<Unit>();
        if (inSection != kNone)
            InsertKey(inSection, name, line);
        else
            AppendSection(Trim(section), line);
        return true;
    }
    const std::size_t begin = m_keys[found].begin;
    const Line old = LineAt(begin);
    // The file need not be written for what it holds already.
    if (old.value && TrimName(*old.value) == View(written))
        return false;
    // The line keeps the spelling of its name and its line end, but not the blanks around "=".
    name = old.name;
    Text line = name + Unit('=') + written;
    line += old.end < old.next ? m_text.substr(old.end, old.next - old.end) : LineEnd<Unit>();
    Replace(begin, old.next - begin, line);
    m_keys[found].nameEnd = static_cast<std::uint32_t>(name.size());
    if (!ReadsAs(begin, name, line.size()))
        Index();
    return true;
}

template <class Unit>
bool IniText<Unit>::RemoveKey(WideView section, WideView key)
{
    const std::uint32_t found = FindKey(FindSection(section), key);
    if (found == kNone)
        return false;
    const std::size_t begin = m_keys[found].begin;
    return Remove(begin, LineAt(begin).next);
}

template <class Unit>
bool IniText<Unit>::RemoveSection(WideView section)
{
    const std::uint32_t found = FindSection(section);
    return found != kNone && Remove(m_sections[found], SectionEnd(found));
}

template <class Unit>
void IniText<Unit>::Index()
{
    m_sections.clear();
    m_keys.clear();
    m_sectionIndex.Clear();
    m_keyIndex.Clear();
    m_lastSection.number = m_lastKey = kNone;
    IndexFrom(0);
}

template <class Unit>
void IniText<Unit>::IndexFrom(std::size_t begin)
{
    // Keys before the first section, and those of a section whose name was there before, are found
    // by nobody and so not indexed.
    std::uint32_t section = kNone;
    while (begin < m_text.size()) {
        const Line line = LineAt(begin);
        if (line.kind == EKind::Section) {
            section = AddSection(FoldedName(line.name), begin);
        } else if (line.kind == EKind::Key && section != kNone) {
            AddKey(section, line.name, begin);
        }
        begin = line.next;
    }
}

// Lines are parsed where they stand whenever they are asked for: a line is short, and what is not
// kept cannot be wrong after a change. Values may be long, and are not looked at before they are
// asked for. A section's name ends at the last "]", as a name may hold one, and what stands behind
// it counts as a remark.
template <class Unit>
auto IniText<Unit>::LineAt(View whole, std::size_t begin) noexcept -> Line
{
    assert(begin <= whole.size());
    Line line;
    line.end = begin + LineLength(whole.substr(begin));
    const View end = whole.substr(line.end, 2);
    const bool isPair = end.size() == 2 && end[0] == Unit('\r') && end[1] == Unit('\n');
    line.next = line.end + (isPair ? 2 : std::min<std::size_t>(end.size(), 1));
    const View text = Trim(whole.substr(begin, line.end - begin));
    if (text.empty() || text.front() == Unit(0))
        return line;
    const std::size_t close = text.front() == Unit('[') ? text.rfind(Unit(']')) : View::npos;
    if (close != View::npos) {
        line.kind = EKind::Section;
        line.name = TrimName(text.substr(1, close - 1));
    } else if (text.front() == Unit(';')) {
        line.kind = EKind::Comment;
    } else {
        line.kind = EKind::Key;
        const std::size_t nameEnd =
            LengthUntil(text, [](Unit unit) { return unit == Unit('=') || unit == Unit(0); });
        line.name = Trim(text.substr(0, nameEnd));
        const std::size_t equals = text.find(Unit('='), nameEnd);
        if (equals != View::npos)
            line.value = text.substr(equals + 1);
    }
    return line;
}

// What is `inline`, here and below, is what each look-up runs through, in one piece with it.
template <class Unit>
inline auto IniText<Unit>::UpToName(const Key& key) const noexcept -> View
{
    assert(key.begin <= m_text.size() && key.nameEnd <= m_text.size() - key.begin);
    return {m_text.data() + key.begin, key.nameEnd};
}

template <class Unit>
inline auto IniText<Unit>::ValueOf(const Key& key) const noexcept -> std::optional<View>
{
    const View rest = View(m_text).substr(key.begin + key.nameEnd);
    const std::size_t equals =
        LengthUntil(rest, [](Unit unit) { return unit == Unit('=') || IsLineEnd(unit); });
    if (equals == rest.size() || rest[equals] != Unit('='))
        return std::nullopt;
    const View value = rest.substr(equals + 1);
    return Trim(value.substr(0, LengthUntil(value, IsEnd<Unit>)));
}

template <class Unit>
inline bool IniText<Unit>::IsIn(std::uint32_t section, const Key& key) const noexcept
{
    return key.begin > m_sections[section] && key.begin < SectionEnd(section);
}

template <class Unit>
inline bool IniText<Unit>::IsWritten(const Key& key, WideView name) const noexcept
{
    return IsSamePlain(UpToName(key), name);
}

template <class Unit>
auto IniText<Unit>::IsSection(WideView foldedName) const
{
    return [this, foldedName](std::uint32_t number) {
        return IsSame(LineAt(m_sections[number]).name, foldedName);
    };
}

template <class Unit>
auto IniText<Unit>::IsKey(std::uint32_t section, WideView foldedName) const
{
    return [this, section, foldedName](std::uint32_t number) {
        const Key& key = m_keys[number];
        return IsIn(section, key) && IsSame(TrimLeft(UpToName(key)), foldedName);
    };
}

template <class Unit>
inline std::uint32_t IniText<Unit>::FindSection(WideView name) const
{
    return m_lastSection.number != kNone && HasSameUnits(m_lastSection.name, name)
               ? m_lastSection.number
               : FindOtherSection(name);
}

template <class Unit>
std::uint32_t IniText<Unit>::FindOtherSection(WideView name) const
{
    const FoldedName foldedName(Trim(name));
    const std::uint32_t* const found =
        m_sectionIndex.Find(HashOf(foldedName), IsSection(foldedName));
    m_lastSection.number = kNone;
    m_lastSection.name = name;
    return m_lastSection.number = found != nullptr ? *found : kNone;
}

template <class Unit>
inline std::uint32_t IniText<Unit>::FindKey(std::uint32_t section, WideView name) const
{
    if (section == kNone)
        return kNone;
    const std::uint32_t next = m_lastKey + 1; // of `kNone` it is the first
    if (next < m_keys.size() && IsIn(section, m_keys[next]) && IsWritten(m_keys[next], name))
        return m_lastKey = next;
    return FindAnyKey(section, name);
}

template <class Unit>
std::uint32_t IniText<Unit>::FindAnyKey(std::uint32_t section, WideView name) const
{
    const WideView trimmed = Trim(name);
    const FoldedName foldedName(trimmed);
    const auto isFolded = IsKey(section, foldedName);
    // Most ask for a key as it was written.
    const auto isWritten = [&](std::uint32_t number) {
        const Key& key = m_keys[number];
        return IsIn(section, key) && IsWritten(key, trimmed);
    };
    const std::uint32_t* const found =
        m_keyIndex.Find(HashOf(foldedName, section), [&](std::uint32_t number) {
            return isWritten(number) || isFolded(number);
        });
    return found != nullptr ? m_lastKey = *found : kNone;
}

template <class Unit>
std::uint32_t IniText<Unit>::AddSection(WideView foldedName, std::size_t begin)
{
    const auto place = m_sectionIndex.FindOrFree(HashOf(foldedName), IsSection(foldedName));
    // The second of a name is listed, too: it ends the section before it.
    const auto number = static_cast<std::uint32_t>(m_sections.size());
    m_sections.push_back(static_cast<std::uint32_t>(begin));
    if (!place.isFree)
        return kNone;
    m_sectionIndex.Fill(place, number);
    return number;
}

template <class Unit>
void IniText<Unit>::AddKey(std::uint32_t section, View name, std::size_t begin)
{
    assert(section < m_sections.size());
    const FoldedName foldedName(name);
    const auto place =
        m_keyIndex.FindOrFree(HashOf(foldedName, section), IsKey(section, foldedName));
    if (!place.isFree)
        return;
    const auto number = static_cast<std::uint32_t>(m_keys.size());
    const Unit* const line = m_text.data() + begin;
    m_keys.push_back({.begin = static_cast<std::uint32_t>(begin),
                      .nameEnd = static_cast<std::uint32_t>(name.data() + name.size() - line)});
    m_keyIndex.Fill(place, number);
}

template <class Unit>
inline std::size_t IniText<Unit>::SectionEnd(std::uint32_t section) const noexcept
{
    assert(section < m_sections.size());
    return section + 1 < m_sections.size() ? m_sections[section + 1] : m_text.size();
}

// Behind the last line that is not blank, so that blank lines still part the sections.
template <class Unit>
std::size_t IniText<Unit>::PlaceForKey(std::uint32_t section) const
{
    const auto isNothing = [](Unit unit) {
        return IsBlank(unit) || IsLineEnd(unit) || unit == Unit(0);
    };
    std::size_t place = SectionEnd(section);
    while (isNothing(m_text[place - 1])) // its own line is something
        --place;
    return LineAt(place - 1).next;
}

template <class Unit>
std::optional<WideText> IniText<Unit>::List(
    WideView section, std::size_t enough,
    const std::function<void(const Line&, WideText&)>& append) const
{
    const std::uint32_t found = FindSection(section);
    if (found == kNone)
        return std::nullopt;
    WideText list;
    const std::size_t end = SectionEnd(found);
    for (std::size_t begin = m_sections[found]; begin < end && list.size() < enough;) {
        const Line line = LineAt(begin);
        if (line.kind == EKind::Key)
            append(line, list);
        begin = line.next;
    }
    return list;
}

// What begins behind the replaced units moves. The hashes lead to numbers of sections and keys, not
// to places, and stay.
template <class Unit>
void IniText<Unit>::Replace(std::size_t begin, std::size_t count, const Text& by)
{
    assert(begin <= m_text.size() && count <= m_text.size() - begin);
    m_kept = std::min(m_kept, begin);
    m_text.replace(begin, count, by);
    if (begin + by.size() == m_text.size())
        return; // nothing stands behind, which lets a profile of many keys be filled in linear time
    const auto end = static_cast<std::uint32_t>(begin + count);
    const auto growth = static_cast<std::uint32_t>(by.size() - count); // modulo 2^32
    Shift(end, end, growth, {});
}

// A value may hold line ends, a name what begins a section: such a line changes more than itself.
template <class Unit>
bool IniText<Unit>::ReadsAs(std::size_t begin, const Text& key, std::size_t length) const
{
    const Line line = LineAt(begin);
    return line.kind == EKind::Key && line.name == key && line.next == begin + length;
}

template <class Unit>
void IniText<Unit>::InsertKey(std::uint32_t section, const Text& key, const Text& line)
{
    std::size_t place = PlaceForKey(section);
    // The last line of a text may lack its end, and the key would become a part of it.
    if (!IsLineEnd(m_text[place - 1])) {
        Replace(m_text.size(), 0, LineEnd<Unit>());
        place = m_text.size();
    }
    Replace(place, 0, line);
    if (ReadsAs(place, key, line.size()))
        AddKey(section, View(m_text).substr(place, key.size()), place);
    else
        Index();
}

template <class Unit>
void IniText<Unit>::AppendSection(WideView name, const Text& line)
{
    if (!m_text.empty() && !IsLineEnd(m_text.back()))
        Replace(m_text.size(), 0, LineEnd<Unit>());
    const std::size_t begin = m_text.size();
    Replace(begin, 0, Unit('[') + Narrow<Unit>(name) + Unit(']') + LineEnd<Unit>() + line);
    // A name with a line end in it begins with another line than its own.
    if (LineAt(begin).kind == EKind::Section)
        IndexFrom(begin);
    else
        Index();
}

// Numbers of later keys change, so everything is indexed again; the text behind moves anyway.
template <class Unit>
bool IniText<Unit>::Remove(std::size_t begin, std::size_t end)
{
    assert(begin <= end && end <= m_text.size());
    m_kept = begin;
    m_text.erase(begin, end - begin);
    Index();
    return begin != end;
}

template class IniText<char>;
template class IniText<WChar>;

} // namespace platform
