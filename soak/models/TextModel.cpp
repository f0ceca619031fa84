// Both string classes against `std::basic_string`. Texts share blocks, arguments may lie in the
// text that changes, and a text that grows by `Append` stays in its block as long as there is room,
// so that the promised capacities show.

#include "core/base/BString.h"
#include "core/base/WString.h"

#include "soak/models/Model.h"
#include "soak/models/PlainText.h"

#include <compare>
#include <cstdio>
#include <memory>
#include <type_traits>
#include <utility>

namespace {

using plain::kNone;

template <class String>
struct World {
    using Unit = typename String::Char;
    using Single = typename String::Single;
    using Plain = plain::Text<Unit>;

    static constexpr bool kIsWide = std::is_same_v<String, WString>;
    static constexpr std::size_t kLongest = 4000;
    static constexpr std::size_t kLong = 1024; // from here on blocks have room to spare

    struct Both {
        String ours;
        Plain twin;
        // The capacity of the block, `kNone` where it is not promised. Strings that share it share
        // this, too.
        std::shared_ptr<std::size_t> capacity = std::make_shared<std::size_t>(0);

        /// The text has a new block.
        void Replaced(Plain text, std::size_t newCapacity = kNone)
        {
            twin = std::move(text);
            capacity = std::make_shared<std::size_t>(newCapacity);
        }
        /// The text changed in its block, unless that is shared.
        void Changed(Plain text)
        {
            const bool isShared = capacity.use_count() > 1;
            if (isShared && text == twin)
                *capacity = kNone; // nothing says whether it is shared still
            if (isShared)
                capacity = std::make_shared<std::size_t>(kNone);
            twin = std::move(text);
        }
        /// `added` was appended, which asked for that capacity if there was no room.
        void Appended(const Plain& added, std::size_t needed, std::size_t asked, bool isSameBlock)
        {
            const bool isShared = capacity.use_count() > 1;
            if (*capacity != kNone && *capacity < kLong && asked < kLong)
                Same("same block", isSameBlock, !isShared && needed < *capacity);
            Changed(twin + added);
            if (!isSameBlock || asked >= kLong)
                *capacity = asked < kLong ? asked : kNone;
        }
    };
    Both texts[4];

    Both& operator[](std::uint32_t number) { return texts[number % 4]; }

    void Compare(bool)
    {
        for (Both& text : texts) {
            Same("length", text.ours.Length(), text.twin.size());
            Same("text", Plain(text.ours.CStr()), text.twin);
            Same("empty", text.ours.IsEmpty(), text.twin.empty());
            if (text.twin.size() > kLongest) {
                text.ours.Clear();
                text.Replaced({}, 0);
            }
        }
    }

    static Unit SomeUnit(std::uint32_t number)
    {
        constexpr int units[] = {'a',  'b',  'A',  'B',  '1',  '0',    'a',   'b',    'x',   ' ',
                                 '_',  '/',  '%',  '\n', '\\', '\t',   'n',   7,      'Z',   'z',
                                 '\r', 0xE4, 0xFF, 0x80, 0xD7, 0x3042, 0x100, 0xD83D, 0xDE00};
        constexpr std::uint32_t count = kIsWide ? 29 : 25;
        return static_cast<Unit>(units[number % 2 == 0 ? number / 2 % 8 : number / 2 % count]);
    }
    /// A unit or, now and then, 0.
    static Unit UnitOrEnd(std::uint32_t number)
    {
        return number % 16 == 15 ? Unit(0) : SomeUnit(number / 16);
    }
    static Plain OfUnit(Unit unit) { return unit == 0 ? Plain() : Plain(1, unit); }

    /// What a member takes as text: null, a text, or a part of one of the world's texts. A text
    /// that is longer than `longest` is none of these.
    struct Argument {
        Plain twin;
        const Unit* pointer;
        Plain memory; // of the pointer, perhaps

        Argument(World& world, std::uint32_t number, std::size_t longest = 3000)
        {
            const Both& other = world[number / 8];
            const std::size_t start = number / 32 % (other.twin.size() + 1);
            if (number % 8 < 2 && other.twin.size() - start <= longest) {
                twin = other.twin.substr(start);
                pointer = other.ours.CStr() + start;
                return;
            }
            const std::size_t length = number % 8 == 7 ? number / 8 % 200 : number / 8 % 5;
            for (std::uint32_t seed = number; memory.size() < length; seed = seed * 69069 + 1)
                memory += SomeUnit(seed >> 9);
            twin = memory;
            pointer = memory.empty() && number % 2 == 0 ? nullptr : memory.c_str();
        }
        Argument(const Argument&) = delete;
        Argument& operator=(const Argument&) = delete;
    };

    /// Perhaps beyond the end.
    static std::size_t Place(std::uint32_t number, const Plain& text)
    {
        return number % (text.size() + 3);
    }
    static std::size_t Count(std::uint32_t number, const Plain& text)
    {
        return number % 16 == 15 ? kNone : number / 16 % (text.size() + 3);
    }
    static std::size_t Found(std::size_t place)
    {
        return place == kNone ? std::size_t{String::kNotFound} : place;
    }
    static Plain Sub(const Plain& text, std::size_t place, std::size_t count = kNone)
    {
        return place >= text.size() ? Plain() : text.substr(place, count);
    }
    static void SameText(const char* what, const String& ours, const Plain& twin)
    {
        Same(what, Plain(ours.CStr()), twin);
    }
};

// --- access, appending and editing
// ----------------------------------------------------------------

template <class String>
void Assign(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const typename World<String>::Argument argument(world, step.b);
    if (argument.pointer != nullptr && *argument.pointer != 0 && argument.memory.empty())
        text.ours = String(argument.pointer);
    else
        text.ours = argument.pointer;
    text.Replaced(argument.twin, argument.twin.size());
}

template <class String>
void Copy(World<String>& world, const Step& step)
{
    auto& [ours, twin, capacity] = world[step.a];
    auto& from = world[step.b];
    if (step.c % 4 == 0 && &from != &world[step.a]) {
        ours = std::move(from.ours);
        capacity = from.capacity;
        twin = from.twin;
        from.Replaced({}, 0);
        return;
    }
    ours = from.ours;
    twin = from.twin;
    capacity = from.capacity;
}

template <class String>
void Fill(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const auto unit = World<String>::UnitOrEnd(step.b);
    const std::size_t count = step.c % (step.c % 2 == 0 ? 10 : 300);
    Same("filled", text.ours.Fill(count, unit), true);
    text.Replaced(plain::Text<typename String::Char>(unit == 0 ? 0 : count, unit), count);
}

template <class String>
void SetAt(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const auto unit = World<String>::UnitOrEnd(step.b);
    if (text.twin.empty())
        return;
    const std::size_t place = step.c % text.twin.size();
    auto changed = text.twin;
    changed[place] = unit;
    if (step.b % 3 == 0)
        text.ours.Str()[place] = unit;
    else
        text.ours.SetAt(place, unit);
    text.Changed(changed.substr(0, changed.find(typename String::Char(0))));
}

template <class String>
void GetAt(World<String>& world, const Step& step)
{
    const auto& [ours, twin, capacity] = world[step.a];
    const std::size_t place = step.b % (twin.size() + 1);
    Same("GetAt", ours.GetAt(place), place < twin.size() ? twin[place] : typename String::Char(0));
    Same("[]", ours[place], ours.GetAt(place));
    if (!twin.empty())
        Same("CStr", ours.CStr(place) == ours.CStr() + place, true);
    Same("AsView", ours.AsView() == twin, true);
    Same("Hash", ours.Hash(), String(twin.c_str()).Hash());
}

template <class String>
void AppendUnit(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const auto unit = World<String>::UnitOrEnd(step.b);
    const auto* const before = text.ours.CStr();
    if (step.c % 2 == 0)
        text.ours.Append(unit);
    else
        text.ours += unit;
    const std::size_t length = text.twin.size();
    text.Appended(World<String>::OfUnit(unit), length + 1, length + 64, text.ours.CStr() == before);
}

template <class String>
void AppendText(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const typename World<String>::Argument argument(world, step.b);
    const auto* const before = text.ours.CStr();
    if (step.c % 3 == 0)
        text.ours.Append(argument.pointer);
    else if (step.c % 3 == 1)
        text.ours += argument.pointer;
    else
        text.ours += String(argument.pointer);
    if (argument.twin.empty())
        return;
    const std::size_t length = text.twin.size() + argument.twin.size();
    text.Appended(argument.twin, length, length + 1, text.ours.CStr() == before);
}

template <class String>
void AppendItself(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    if (text.twin.empty())
        return;
    const auto* const before = text.ours.CStr();
    text.ours += text.ours;
    const auto added = text.twin;
    text.Appended(added, 2 * added.size(), 2 * added.size() + 1, text.ours.CStr() == before);
}

template <class String>
void Prepend(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    if (step.c % 3 == 0) {
        const auto unit = World<String>::UnitOrEnd(step.b);
        text.ours.Prepend(unit);
        text.Changed(World<String>::OfUnit(unit) + text.twin);
        *text.capacity = kNone;
        return;
    }
    const typename World<String>::Argument argument(world, step.b, 300);
    if (step.c % 3 == 1)
        text.ours.Prepend(argument.pointer);
    else
        text.ours.Prepend(String(argument.pointer));
    text.Changed(argument.twin + text.twin);
    *text.capacity = kNone;
}

template <class String>
void Insert(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const std::size_t place = World<String>::Place(step.c, text.twin);
    auto changed = text.twin;
    if (step.b % 3 == 0) {
        const auto unit = World<String>::UnitOrEnd(step.b / 3);
        Same("itself", &text.ours.Insert(unit, place) == &text.ours, true);
        if (place <= changed.size())
            changed.insert(place, World<String>::OfUnit(unit));
    } else {
        const typename World<String>::Argument argument(world, step.b / 3, 300);
        text.ours.Insert(argument.pointer, place);
        if (place <= changed.size())
            changed.insert(place, argument.twin);
    }
    text.Changed(changed);
    *text.capacity = kNone;
}

template <class String>
void Remove(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const std::size_t place = World<String>::Place(step.b, text.twin);
    const std::size_t count = World<String>::Count(step.c, text.twin);
    text.ours.Remove(place, count);
    auto changed = text.twin;
    if (place < changed.size())
        changed.erase(place, count);
    text.Changed(changed);
}

template <class String>
void ReplaceAt(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const std::size_t place = World<String>::Place(step.c, text.twin);
    const typename World<String>::Argument argument(world, step.b, 500);
    const std::size_t count = World<String>::Count(step.c / 7, text.twin);
    auto changed = text.twin;
    if constexpr (World<String>::kIsWide) {
        if (step.c % 2 == 0) {
            text.ours.ReplaceAt(argument.pointer, place, count);
            if (place <= changed.size())
                changed.replace(place, count, argument.twin);
            text.Changed(changed);
            *text.capacity = kNone;
            return;
        }
    }
    text.ours.ReplaceAt(argument.pointer, place);
    if (place < changed.size())
        changed.replace(place, argument.twin.size(),
                        argument.twin.substr(0, changed.size() - place));
    text.Changed(changed);
}

template <class String>
void Replace(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const bool isCaseIgnored = step.c % 2 == 1 && plain::IsAscii(text.twin);
    auto changed = text.twin;
    bool isReplaced = false;
    bool expected = false;
    if (step.c % 3 == 0) {
        const auto from = World<String>::UnitOrEnd(step.b);
        const auto to = World<String>::UnitOrEnd(step.b / 256);
        isReplaced =
            isCaseIgnored ? text.ours.IReplace(from, to) : text.ours.Replace(from, to, true);
        expected = plain::Replace(changed, World<String>::OfUnit(from), World<String>::OfUnit(to),
                                  isCaseIgnored);
    } else {
        const typename World<String>::Argument from(world, step.b, 300);
        const typename World<String>::Argument to(world, step.c / 6, 20);
        if (step.c % 3 == 1 && isCaseIgnored)
            isReplaced = text.ours.IReplace(from.pointer, to.pointer);
        else if (step.c % 3 == 1)
            isReplaced = text.ours.Replace(from.pointer, to.pointer, true);
        else
            isReplaced =
                text.ours.Replace(String(from.pointer), String(to.pointer), !isCaseIgnored);
        expected = plain::Replace(changed, from.twin, to.twin, isCaseIgnored);
    }
    Same("replaced", isReplaced, expected);
    if (expected)
        text.Replaced(changed, changed.size() < World<String>::kLong ? changed.size() + 1 : kNone);
}

template <class String>
void Sum(World<String>& world, const Step& step)
{
    const auto& [a, twinA, capacityA] = world[step.a];
    const auto& [b, twinB, capacityB] = world[step.b];
    const typename World<String>::Argument argument(world, step.c, 300);
    World<String>::SameText("sum", a + b, twinA + twinB);
    World<String>::SameText("sum", a + argument.pointer, twinA + argument.twin);
    World<String>::SameText("sum", argument.pointer + a, argument.twin + twinA);
}

// --- comparison and search
// ------------------------------------------------------------------------

template <class String>
void Compare(World<String>& world, const Step& step)
{
    const auto& [ours, twin, capacity] = world[step.a];
    const typename World<String>::Argument argument(world, step.b);
    const String other(argument.pointer);
    if (twin == argument.twin)
        Same("equal", ours == other && ours.IEqual(argument.pointer) && ours.Cmp(other) == 0, true);
    if (!plain::IsSimple(twin) || !plain::IsSimple(argument.twin))
        return;
    const int order = plain::Order(twin, argument.twin, false);
    const int loose = plain::Order(twin, argument.twin, true);
    Same("Cmp", plain::Sign(ours.Cmp(other)), order);
    Same("ICmp", plain::Sign(ours.ICmp(other)), loose);
    Same("==", ours == other, order == 0);
    Same("== pointer", ours == argument.pointer, order == 0);
    Same("<", ours < other, order < 0);
    Same("> pointer", ours > argument.pointer, order > 0);
    Same("Equal", ours.Equal(argument.pointer) && ours.Equal(other), order == 0);
    Same("IEqual", ours.IEqual(argument.pointer), loose == 0);
    if constexpr (World<String>::kIsWide)
        Same("ICmpForQSort", plain::Sign(WString::ICmpForQSort(&ours, &other)), loose);
}

template <class String>
void StartsAndEnds(World<String>& world, const Step& step)
{
    const auto& [ours, twin, capacity] = world[step.a];
    const typename World<String>::Argument argument(world, step.b);
    const bool isNull = argument.pointer == nullptr;
    const auto& part = argument.twin;
    const bool fits = !twin.empty() && part.size() <= twin.size();
    Same("StartsWith", ours.StartsWith(argument.pointer),
         isNull || (fits && twin.starts_with(part)));
    if (!isNull)
        Same("StartsWith", ours.StartsWith(String(part.c_str())), fits && twin.starts_with(part));
    if (!plain::IsSimple(twin) || !plain::IsSimple(part))
        return;
    const auto low = plain::Low(twin);
    Same("IStartsWith", ours.IStartsWith(argument.pointer),
         isNull || (fits && low.starts_with(plain::Low(part))));
    Same("EndsWith", ours.EndsWith(argument.pointer), isNull || (fits && twin.ends_with(part)));
    Same("IEndsWith", ours.IEndsWith(argument.pointer),
         isNull || (fits && low.ends_with(plain::Low(part))));
}

template <class String>
void Search(World<String>& world, const Step& step)
{
    const auto& [ours, twin, capacity] = world[step.a];
    const typename World<String>::Argument argument(world, step.b);
    const std::size_t start = World<String>::Place(step.c, twin);
    const auto& part = argument.twin;
    const auto unit = World<String>::UnitOrEnd(step.b);
    const auto single = static_cast<typename String::Single>(unit);
    const auto asText = World<String>::OfUnit(unit);
    const auto found = World<String>::Found;
    Same("Search", ours.Search(argument.pointer, start), found(plain::Find(twin, part, start)));
    Same("Search", ours.Search(String(part.c_str()), 0), found(plain::Find(twin, part, 0)));
    Same("Search", ours.Search(unit, start), found(plain::Find(twin, asText, start)));
    std::size_t position = 4711;
    const std::size_t first = plain::Find(twin, part, 0);
    Same("IncludesPos", ours.IncludesPos(argument.pointer, position), first != kNone);
    Same("position", position, first != kNone ? first : 4711);
    Same("Includes", ours.Includes(single), plain::Find(twin, asText, 0) != kNone);
    Same("IncludesPos", ours.IncludesPos(single, position), ours.Includes(single));
    if (!plain::IsAscii(twin) || !plain::IsAscii(part) || !plain::IsAscii(asText))
        return;
    Same("IIncludes", ours.IIncludes(argument.pointer),
         plain::Find(plain::Low(twin), plain::Low(part), 0) != kNone);
    Same("IIncludes", ours.IIncludes(single),
         plain::Find(plain::Low(twin), plain::Low(asText), 0) != kNone);
}

// --- pieces, trimming, case
// -----------------------------------------------------------------------

template <class String>
void Pieces(World<String>& world, const Step& step)
{
    const auto& [ours, twin, capacity] = world[step.a];
    const std::size_t place = World<String>::Place(step.b, twin);
    const std::size_t count = World<String>::Count(step.c, twin);
    const auto unit = World<String>::SomeUnit(step.c);
    const auto sub = World<String>::Sub;
    World<String>::SameText("Sub", ours.Sub(place, count), sub(twin, place, count));
    World<String>::SameText("Sub", ours.Sub(place), sub(twin, place, kNone));
    const auto rest = sub(twin, place, kNone);
    World<String>::SameText("SubCh", ours.SubCh(place, unit), rest.substr(0, rest.find(unit)));
    const auto tokens = plain::Tokens(twin, unit);
    Same("TokenCount", ours.TokenCount(unit), tokens.size());
    const std::size_t index = step.b % (tokens.size() + 2);
    World<String>::SameText("Token", ours.Token(index, unit),
                            index < tokens.size() ? tokens[index] : decltype(rest)());
}

template <class String>
void Cut(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const std::size_t place = World<String>::Place(step.b, text.twin);
    const std::size_t count = World<String>::Count(step.c / 3, text.twin);
    auto changed = text.twin;
    if (step.c % 3 == 0) {
        Same("CutAt", text.ours.CutAt(place), place < changed.size());
        text.Changed(changed.substr(0, place));
        return;
    }
    const std::size_t length = step.c % 3 == 1 ? kNone : count;
    const String cut = step.c % 3 == 1 ? text.ours.Cut(place) : text.ours.Cut(place, count);
    World<String>::SameText("Cut", cut, World<String>::Sub(changed, place, length));
    if (place < changed.size())
        changed.erase(place, length);
    text.Changed(changed);
}

template <class String>
void CutAfter(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const auto unit = World<String>::SomeUnit(step.b);
    const std::size_t found = plain::FindUnit(text.twin, unit, step.c % 2 == 0);
    const bool isCut = found != kNone && found + 1 != text.twin.size();
    Same("CutAfter", text.ours.CutAfter(unit, step.c % 2 == 0), isCut);
    text.Changed(isCut ? text.twin.substr(0, found + 1) : text.twin);
}

template <class String>
void Split(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    auto& rest = world[step.b]; // perhaps the same
    const auto unit = World<String>::SomeUnit(step.b / 4);
    const std::size_t found = plain::FindUnit(text.twin, unit, step.c % 2 == 0);
    Same("Split", text.ours.Split(rest.ours, unit, step.c % 2 == 0), found != kNone);
    const auto whole = text.twin;
    if (found != kNone)
        text.Changed(whole.substr(0, found));
    if (found != kNone || &rest != &text)
        rest.Replaced(World<String>::Sub(whole, found, kNone));
}

template <class String>
void Trim(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const typename World<String>::Argument argument(world, step.b, 20);
    const auto unit = World<String>::UnitOrEnd(step.b);
    auto changed = text.twin;
    const decltype(changed) blanks{' ', '\t', '\n', '\r', '\v', '\f'};
    const bool isLeft = step.c % 2 == 0;
    bool isTrimmed = false;
    switch (step.c / 2 % 3) {
    case 0: isTrimmed = isLeft ? text.ours.TrimLeft() : text.ours.TrimRight(); break;
    case 1: isTrimmed = isLeft ? text.ours.TrimLeft(unit) : text.ours.TrimRight(unit); break;
    default:
        isTrimmed =
            isLeft ? text.ours.TrimLeft(argument.pointer) : text.ours.TrimRight(argument.pointer);
    }
    const decltype(changed) sets[] = {blanks, World<String>::OfUnit(unit), argument.twin};
    const auto& set = sets[step.c / 2 % 3];
    Same("trimmed", isTrimmed,
         isLeft ? plain::TrimLeft(changed, set) : plain::TrimRight(changed, set));
    text.Changed(changed);
}

template <class String>
void Erase(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    const auto unit = World<String>::UnitOrEnd(step.b);
    auto changed = text.twin;
    const auto set = World<String>::OfUnit(unit);
    switch (step.c % 3) {
    case 0:
        text.ours.EraseLeadingChars(unit);
        plain::TrimLeft(changed, set);
        break;
    case 1:
        text.ours.EraseTrailingChars(unit);
        plain::TrimRight(changed, set);
        break;
    default: text.ours.EraseAllChars(unit); std::erase(changed, unit);
    }
    text.Changed(changed);
}

template <class String>
void Case(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    World<String>::SameText("Upper", text.ours.Upper(), plain::High(text.twin));
    World<String>::SameText("Lower", text.ours.Lower(), plain::Low(text.twin));
    if (step.b % 2 == 0)
        return;
    const bool isUpper = step.c % 2 == 0;
    text.Changed(isUpper ? plain::High(text.twin) : plain::Low(text.twin));
    *text.capacity = kNone;
    World<String>::SameText("result", isUpper ? text.ours.ToUpper() : text.ours.ToLower(),
                            text.twin);
}

// --- classes, lines, numbers, escapes, files
// ------------------------------------------------------

template <class String>
void Classes(World<String>& world, const Step& step)
{
    const auto& [ours, twin, capacity] = world[step.a];
    const typename World<String>::Argument argument(world, step.b);
    Same("IsCharSet", ours.IsCharSet(argument.pointer),
         twin.find_first_not_of(argument.twin) == kNone);
    const auto lines = plain::Lines(twin);
    const auto longest =
        std::ranges::max(lines, {}, [](const auto& line) { return line.size(); }).size();
    Same("CountLines", ours.CountLines(), lines.size());
    Same("LengthOfLongestLine", ours.LengthOfLongestLine(), longest);
    if constexpr (World<String>::kIsWide)
        Same("Includes16bitChars", ours.Includes16bitChars(),
             std::ranges::any_of(twin, [](WChar unit) { return unit > 255; }));
    if (!plain::IsAscii(twin))
        return;
    Same("IsAlpha", ours.IsAlpha(), plain::IsAll(twin, &std::isalpha));
    Same("IsDigit", ours.IsDigit(), plain::IsAll(twin, &std::isdigit));
    Same("IsAlphaNum", ours.IsAlphaNum(), plain::IsAll(twin, &std::isalnum));
    Same("IsPrint", ours.IsPrint(), plain::IsAll(twin, &std::isprint));
    auto withoutUnderscores = twin;
    std::erase(withoutUnderscores, '_');
    Same("IsAlphaNumUnderscore", ours.IsAlphaNumUnderscore(),
         plain::IsAll(withoutUnderscores, &std::isalnum));
}

template <class String>
void Numbers(World<String>& world, const Step& step)
{
    using Unit = typename String::Char;
    auto& text = world[step.a];
    auto value = static_cast<std::int64_t>(std::uint64_t{step.b} << step.c % 33);
    value = step.b % 3 == 0 ? -value : value;
    const int radix = static_cast<int>(step.c / 33 % 40);
    text.ours.ItoA(value, radix);
    if (radix == 10)
        text.Replaced(plain::Decimal<Unit>(value));
    else if (radix >= 2 && radix <= 36)
        text.Replaced(
            plain::Number<Unit>(static_cast<std::uint64_t>(value), static_cast<unsigned>(radix)));
    World<String>::SameText("FromInt", String::FromInt(value), plain::Decimal<Unit>(value));
    const auto small = static_cast<int>(step.b);
    int converted = 0;
    Same("Convert", String::FromInt(small).Convert(converted), true);
    Same("converted", converted, small);
    Same("AtoI", String::FromInt(small).AtoI(), small);
}

template <class String>
void Printf(World<String>& world, const Step& step)
{
    using Unit = typename String::Char;
    auto& text = world[step.a];
    const auto& other = world[step.b];
    const int number = static_cast<int>(step.c);
    constexpr Unit format[] = {'%', 's', '|', '%', 'd', '|', '%', 's', 0};
    const plain::Text<Unit> bar(1, Unit('|'));
    const auto made = text.twin + bar + plain::Decimal<Unit>(number) + bar + other.twin;
    text.ours.Printf(format, text.ours.CStr(), number, other.ours.CStr());
    text.Replaced(made);
}

template <class String>
void Escapes(World<String>& world, const Step& step)
{
    auto& text = world[step.a];
    if (step.c % 2 == 0) {
        text.ours.ResolveEsc();
        text.Changed(plain::Resolved(text.twin));
        *text.capacity = kNone;
    } else if (plain::IsAscii(text.twin) || !World<String>::kIsWide) {
        const String printable = text.ours.Printable();
        World<String>::SameText("Printable", printable, plain::Printable(text.twin));
        String resolved = printable;
        resolved.ResolveEsc();
        World<String>::SameText("resolved", resolved, text.twin);
        if (printable.Length() != text.twin.size()) {
            text.ours = printable;
            text.Replaced(plain::Printable(text.twin));
        }
    }
}

template <class String>
void Record(World<String>& world, const Step& step)
{
    const auto& from = world[step.a];
    auto& to = world[step.b];
    char memory[10 + 2 * World<String>::kLongest];
    std::FILE* const stream = ::fmemopen(memory, sizeof memory, "w+");
    Same("written", from.ours.FWrite(stream), true);
    std::rewind(stream);
    Same("read", to.ours.FRead(stream), true);
    std::fclose(stream);
    to.Replaced(plain::Text<typename String::Char>(from.twin));
}

/// Narrow and wide text, and memory as text.
template <class String>
void Convert(World<String>& world, const Step& step)
{
    auto& [ours, twin, capacity] = world[step.a];
    bool isWhole = false;
    if constexpr (World<String>::kIsWide) {
        const std::u16string units = ours.AsUtf16(&isWhole);
        bool isSound = true;
        std::u16string expected = twin;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const bool isPair =
                expected[i] == 0xD83D && i + 1 < expected.size() && expected[i + 1] == 0xDE00;
            const bool isHalf = (expected[i] == 0xD83D && !isPair) || expected[i] == 0xDE00;
            isSound = isSound && !isHalf;
            expected[i] = isHalf ? u'\uFFFD' : expected[i];
            i += isPair ? 1 : 0;
        }
        Same("AsUtf16", units, expected);
        Same("whole", isWhole, isSound);
        World<String>::SameText("FromUtf8", WString::FromUtf8(ours.AsUtf8()), expected);
        World<String>::SameText("FromUtf16", WString::FromUtf16(expected, &isWhole), expected);
        Same("whole", isWhole, true);
        World<String>::SameText("FromWide", WString::FromWide(ours.AsWide()), expected);
        WString encoded;
        const std::size_t size = twin.size() * sizeof(WChar);
        encoded.EncodeMemory(ours.CStr(), size);
        Same("EncodeMemory", encoded.Length(), 2 * size);
        std::vector<WChar> decoded(twin.size() + 1);
        Same("DecodeMemory", encoded.DecodeMemory(decoded.data(), size), true);
        Same("decoded", twin == decoded.data(), true);
        if (plain::IsAscii(twin))
            World<String>::SameText("AsString", WString(ours.AsString()), twin);
    } else {
        World<String>::SameText("FromUtf8", BString::FromUtf8(ours.AsUtf8(&isWhole)), twin);
        Same("whole", isWhole, true);
        World<String>::SameText("BString", BString(WString(ours).CStr()), twin);
    }
}

template <class String>
Subject TextModel(const char* name)
{
    using W = World<String>;
    static const Operation<W> table[] = {
        {"assign", 12, &Assign<String>},
        {"Append unit", 24, &AppendUnit<String>},
        {"Append text", 16, &AppendText<String>},
        {"Append itself", 1, &AppendItself<String>},
        {"copy", 8, &Copy<String>},
        {"Clear", 2,
         [](W& world, const Step& step) {
             world[step.a].ours.Clear();
             world[step.a].Replaced({}, 0);
         }},
        {"Fill", 4, &Fill<String>},
        {"SetAt, Str", 6, &SetAt<String>},
        {"GetAt", 4, &GetAt<String>},
        {"Prepend", 3, &Prepend<String>},
        {"Insert", 4, &Insert<String>},
        {"Remove", 6, &Remove<String>},
        {"ReplaceAt", 4, &ReplaceAt<String>},
        {"Replace", 6, &Replace<String>},
        {"+", 2, &Sum<String>},
        {"comparison", 6, &Compare<String>},
        {"StartsWith, EndsWith", 4, &StartsAndEnds<String>},
        {"Search, Includes", 6, &Search<String>},
        {"Sub, SubCh, Token", 6, &Pieces<String>},
        {"Cut, CutAt", 4, &Cut<String>},
        {"CutAfter", 2, &CutAfter<String>},
        {"Split", 4, &Split<String>},
        {"Trim", 4, &Trim<String>},
        {"Erase", 3, &Erase<String>},
        {"case", 2, &Case<String>},
        {"classes, lines", 4, &Classes<String>},
        {"numbers", 2, &Numbers<String>},
        {"Printf", 1, &Printf<String>},
        {"Printable, ResolveEsc", 3, &Escapes<String>},
        {"FWrite, FRead", 1, &Record<String>},
        {"conversion", 2, &Convert<String>},
    };
    return MakeSubject(name, table);
}

} // namespace

Subject NarrowTextModel()
{
    return TextModel<BString>("narrow text");
}

Subject WideTextModel()
{
    return TextModel<WString>("wide text");
}
