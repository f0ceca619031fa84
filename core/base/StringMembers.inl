// The members that WString and BString have in common, compiled once for each of them. The source
// that includes this says in its unnamed namespace
//
//     String, Char            the class and its character
//     Single                  how some members take one character
//     kPrintfRoom             what Printf formats on the stack, terminating 0 included
//     kFailedPrintfEmpties    whether a faulty format or a result too long empties the text
//     CharactersStandAlone    whether a text may be cut between any two
//     ReadChunk               fgets for Char

#include "core/platform/CharClass.h"
#include "core/platform/Collation.h"
#include "core/platform/FormatText.h"
#include "core/platform/ScanText.h"

#include <algorithm>
#include <bit>
#include <cstdarg>
#include <limits>
#include <string_view>
#include <utility>

static_assert(std::endian::native == std::endian::little, "a record is the memory as it stands");

namespace {

using View = std::basic_string_view<Char>;
using Text = BSharedText<Char>;
constexpr std::size_t kNone = View::npos;

// A longer result of Printf is a failure, terminating 0 included.
constexpr std::int64_t kPrintfLimit = std::int64_t{1} << 28;

View Measured(const Char* text) noexcept
{
    return View(text, platform::Length(text));
}

// Sees to it that `text` may be written to. False when memory runs out.
bool MakePrivate(Text& text) noexcept
{
    if (text.IsPrivate())
        return true;
    const View shared = Measured(text.Text());
    return text.Assemble(shared.size(), {shared});
}

bool EndsAs(const Char* text, const Char* suffix, platform::ECase letterCase) noexcept
{
    if (!suffix)
        return true;
    const std::size_t length = platform::Length(text);
    const std::size_t tail = platform::Length(suffix);
    return length > 0 && tail <= length &&
           platform::Collate(text + (length - tail), suffix, letterCase) == 0;
}

template <class Predicate>
bool All(const Char* text, Predicate predicate)
{
    while (*text && predicate(*text))
        ++text;
    return !*text;
}

const Char* OrEmpty(const Char* text) noexcept
{
    return text ? text : String().CStr();
}

// Where the greatest suffix of a text begins, and the period of that suffix.
struct MaximalSuffix {
    std::size_t start = 0;
    std::size_t period = 1;
};

// The greatest in the order of characters, or in the opposite one.
MaximalSuffix FindMaximalSuffix(View text, bool isOpposite) noexcept
{
    MaximalSuffix suffix;
    std::size_t rival = 1; // start of the suffix that is compared with it
    std::size_t equal = 0; // how much of it was equal
    while (rival + equal < text.size()) {
        const Char ours = text[suffix.start + equal];
        const Char theirs = text[rival + equal];
        if (ours == theirs) {
            if (++equal == suffix.period)
                rival += std::exchange(equal, 0);
        } else if ((theirs < ours) != isOpposite) {
            rival += std::exchange(equal, 0) + 1;
            suffix.period = rival - suffix.start;
        } else {
            suffix = {rival++, 1};
            equal = 0;
        }
    }
    return suffix;
}

// First position of `part` in `text` at or after `start`, which leaves room for it: the Two-Way
// algorithm of Crochemore and Perrin, J. ACM 38 (1991), 650. Linear, whatever the part.
//
// The part is cut where the shortest repetition around the cut is as long as the part's period.
// Behind the cut it is compared forwards, and a mismatch moves it on by all that was compared; then
// before the cut.
std::size_t FindTwoWay(View text, View part, std::size_t start) noexcept
{
    const MaximalSuffix one = FindMaximalSuffix(part, false);
    const MaximalSuffix other = FindMaximalSuffix(part, true);
    const auto [cut, suffixPeriod] = one.start > other.start ? one : other;
    const bool isPeriodic = part.substr(0, cut) == part.substr(suffixPeriod, cut);
    // What the part moves by when all behind the cut agreed, and how much then agrees beforehand.
    const std::size_t step = isPeriodic ? suffixPeriod : std::max(cut, part.size() - cut) + 1;
    const std::size_t overlap = isPeriodic ? part.size() - step : 0;
    std::size_t known = 0; // the front of the part that is known to agree
    while (start <= text.size() - part.size()) {
        std::size_t i = std::max(cut, known);
        while (i < part.size() && part[i] == text[start + i])
            ++i;
        if (i < part.size()) {
            start += i - cut + 1;
            known = 0;
            continue;
        }
        i = cut;
        while (i > known && part[i - 1] == text[start + i - 1])
            --i;
        if (i <= known)
            return start;
        start += step;
        known = overlap;
    }
    return kNone;
}

// First position of `part` in `text` at or after `start`.
std::size_t Find(View text, View part, std::size_t start) noexcept
{
    if (part.empty() || start >= text.size() || part.size() > text.size() - start)
        return kNone;
    const std::size_t last = text.size() - part.size();
    constexpr std::size_t patience = 1024;
    std::size_t wasted = 0; // characters of parts that were begun only
    for (std::size_t at = text.find(part[0], start); at <= last; at = text.find(part[0], at + 1)) {
        const auto [begun, end] = std::mismatch(part.begin(), part.end(), text.begin() + at);
        if (begun == part.end())
            return at;
        wasted += static_cast<std::size_t>(begun - part.begin());
        if (wasted > patience + (at - start) * 4)
            return FindTwoWay(text, part, at);
    }
    return kNone;
}

// The same without regard to case.
std::size_t FindInRest(View text, View part, std::size_t start) noexcept
{
    if (start >= text.size())
        return kNone;
    const std::size_t found = platform::FindIgnoringCase(text.data() + start, OrEmpty(part.data()));
    return found == platform::kNotFound ? kNone : start + found;
}

// The same again, a window at a time: the platform measures all that it is given before it looks,
// so that many occurrences in one text would take quadratic time.
class WindowSearch {
public:
    WindowSearch(View text, View part) noexcept
        : m_text(text)
        , m_part(part)
    {
        constexpr std::size_t least = 128;
        if (CharactersStandAlone(text))
            m_window = Text::WithCapacity(std::max(least, 2 * part.size()));
    }

    std::size_t Find(std::size_t start) noexcept
    {
        if (m_window.IsNull())
            return FindInRest(m_text, m_part, start);
        while (start < m_text.size()) {
            const std::size_t length = m_text.copy(m_window.Writable(), m_window.Capacity(), start);
            m_window.Writable()[length] = 0;
            if (const auto found = FindInRest({m_window.Text(), length}, m_part, 0); found != kNone)
                return start + found;
            start += length < m_window.Capacity() ? length : length - m_part.size() + 1;
        }
        return kNone;
    }

private:
    View m_text;
    View m_part;
    Text m_window; // null where the text is not to be cut, or for want of memory
};

// First or last position of `character`.
std::size_t FindSingle(View text, Char character, bool first) noexcept
{
    return first ? text.find(character) : text.rfind(character);
}

// Removes the characters at one end for which `predicate` holds. True when there was any.
template <class Predicate>
bool TrimFront(Text& text, Predicate predicate)
{
    const View own = Measured(text.Text());
    const auto end = std::find_if_not(own.begin(), own.end(), predicate);
    const auto count = static_cast<std::size_t>(end - own.begin());
    return count > 0 && text.Erase(own.size(), 0, count);
}

template <class Predicate>
bool TrimBack(Text& text, Predicate predicate)
{
    const View own = Measured(text.Text());
    const auto end = std::find_if_not(own.rbegin(), own.rend(), predicate);
    const auto count = static_cast<std::size_t>(end - own.rbegin());
    return count > 0 && text.Erase(own.size(), own.size() - count, count);
}

auto OneOf(View set) noexcept
{
    return [set](Char character) { return set.find(character) != kNone; };
}

auto Exactly(Char wanted) noexcept
{
    return [wanted](Char character) { return character == wanted; };
}

bool IsBlank(Char character) noexcept
{
    return platform::IsSpace(character);
}

// What stands behind the backslash in a two-character escape, 0 when `character` has none.
Char EscapeLetter(Char character) noexcept
{
    switch (character) {
    case '\n': return 'n';
    case '\t': return 't';
    case '\r': return 'r';
    case '\\': return '\\';
    default: return 0;
    }
}

// The character of a two-character escape, 0 when `letter` makes none.
Char EscapedCharacter(Char letter) noexcept
{
    switch (letter) {
    case 'n': return '\n';
    case 't': return '\t';
    case 'r': return '\r';
    case '\\': return '\\';
    default: return 0;
    }
}

// Writes `character` as it is or as its escape; gives the place behind it.
Char* WritePrintable(Char* out, Char character) noexcept
{
    constexpr char digits[] = "0123456789abcdef";
    if (const Char letter = EscapeLetter(character)) {
        *out++ = '\\';
        *out++ = letter;
    } else if (platform::IsPrint(character)) {
        *out++ = character;
    } else {
        *out++ = '\\';
        *out++ = 'x';
        *out++ = static_cast<Char>(digits[(character >> 4) & 15]);
        *out++ = static_cast<Char>(digits[character & 15]);
    }
    return out;
}

// Reads two hexadecimal digits, those of other scripts included.
bool ReadHexPair(const Char* digits, Char& character) noexcept
{
    const Char number[] = {'0', 'x', digits[0], digits[1], 0};
    const Char* end = number;
    const unsigned long value = platform::ParseHex(number, end);
    if (end != number + 4)
        return false;
    character = static_cast<Char>(value);
    return true;
}

// Calls `visit` with the length of each line.
template <class Visit>
void ForEachLine(View text, Visit visit)
{
    std::size_t start = 0;
    std::size_t found = text.find(Char('\n'));
    while (found != kNone) {
        visit(found - start);
        start = found + 1;
        // Intended: the character behind a line feed is not looked at, so "\n\n" makes two lines.
        found = text.find(Char('\n'), start + 1);
    }
    visit(text.size() - start);
}

bool StoreFound(std::size_t found, std::size_t& position) noexcept
{
    if (found == kNone)
        return false;
    position = found;
    return true;
}

} // namespace

// Construction and assignment

String& String::operator=(const Char* text)
{
    m_text.Assign(Measured(text));
    return *this;
}

bool String::Fill(std::size_t count, Char character)
{
    if (count == 0) {
        Clear();
        return true;
    }
    auto filled = Text::WithCapacity(count);
    if (filled.IsNull())
        return false;
    *std::fill_n(filled.Writable(), count, character) = 0;
    m_text = std::move(filled);
    return true;
}

// Access

std::size_t String::Length() const noexcept
{
    return platform::Length(CStr());
}

Char* String::Str()
{
    return MakePrivate(m_text) ? m_text.Writable() : nullptr;
}

void String::SetAt(std::size_t position, Char character)
{
    if (MakePrivate(m_text))
        m_text.Writable()[position] = character;
}

// Appending and editing

void String::Append(const String& text)
{
    Append(text.CStr());
}

void String::Append(const Char* text)
{
    TryAppend(text);
}

void String::Append(Char character)
{
    const View own = Measured(CStr());
    // Intended: one character of the capacity stays unused, so that a text grown character by
    // character has blocks of 64, 127, 190 ... characters.
    if (m_text.IsPrivate() && own.size() + 1 < m_text.Capacity()) {
        m_text.Writable()[own.size()] = character;
        m_text.Writable()[own.size() + 1] = 0;
    } else {
        m_text.Assemble(own.size() + 64, {own, View(&character, 1)});
    }
}

String& String::operator+=(const String& text)
{
    Append(text);
    return *this;
}

String& String::operator+=(const Char* text)
{
    Append(text);
    return *this;
}

String& String::operator+=(Char character)
{
    Append(character);
    return *this;
}

void String::Prepend(const String& text)
{
    Prepend(text.CStr());
}

void String::Prepend(const Char* text)
{
    TryPrepend(text);
}

void String::Prepend(Char character)
{
    const Char text[] = {character, 0};
    Prepend(text);
}

String& String::Insert(const Char* text, std::size_t position)
{
    const View own = Measured(CStr());
    const View added = Measured(text);
    if (!added.empty() && position <= own.size()) {
        m_text.Assemble(own.size() + added.size(),
                        {own.substr(0, position), added, own.substr(position)});
    }
    return *this;
}

String& String::Insert(Char character, std::size_t position)
{
    const Char text[] = {character, 0};
    return Insert(text, position);
}

void String::Remove(std::size_t position, std::size_t count)
{
    const std::size_t length = Length();
    if (position < length)
        m_text.Erase(length, position, std::min(count, length - position));
}

void String::ReplaceAt(const Char* text, std::size_t position)
{
    const View own = Measured(CStr());
    if (position >= own.size())
        return;
    const View written = Measured(text).substr(0, own.size() - position);
    if (m_text.IsPrivate()) {
        std::char_traits<Char>::move(m_text.Writable() + position, written.data(), written.size());
    } else {
        m_text.Assemble(own.size(),
                        {own.substr(0, position), written, own.substr(position + written.size())});
    }
}

bool String::Replace(const Char* from, const Char* to, bool caseSensitive)
{
    const View own = Measured(CStr());
    const View wanted = Measured(from);
    const View replacement = Measured(to);
    WindowSearch windows(caseSensitive ? View() : own, wanted);

    Text made;
    std::size_t length = 0;
    std::size_t copied = 0; // how much of the own text has been taken over
    for (;;) {
        const std::size_t found = caseSensitive ? Find(own, wanted, copied) : windows.Find(copied);
        if (found == kNone)
            break;
        if (!made.Push(length, own.substr(copied, found - copied)) ||
            !made.Push(length, replacement))
            return false;
        copied = found + wanted.size();
    }
    if (made.IsNull())
        return false;
    if (!made.Push(length, own.substr(copied)) || !made.SetCapacity(length + 1))
        return false;
    made.Writable()[length] = 0;
    m_text = std::move(made);
    return true;
}

bool String::Replace(const String& from, const String& to, bool caseSensitive)
{
    return Replace(from.CStr(), to.CStr(), caseSensitive);
}

bool String::Replace(Char from, Char to, bool caseSensitive)
{
    const Char fromText[] = {from, 0};
    const Char toText[] = {to, 0};
    return Replace(fromText, toText, caseSensitive);
}

bool String::IReplace(const Char* from, const Char* to)
{
    return Replace(from, to, false);
}

bool String::IReplace(const String& from, const String& to)
{
    return Replace(from, to, false);
}

bool String::IReplace(Char from, Char to)
{
    return Replace(from, to, false);
}

// Comparison

int String::Cmp(const String& other) const noexcept
{
    return platform::Collate(CStr(), other.CStr(), platform::ECase::Matters);
}

int String::ICmp(const String& other) const noexcept
{
    return platform::Collate(CStr(), other.CStr(), platform::ECase::Ignored);
}

bool String::Equal(const String& other) const noexcept
{
    return m_text.SharesWith(other.m_text) || Cmp(other) == 0;
}

bool String::Equal(const Char* text) const noexcept
{
    return platform::Collate(CStr(), OrEmpty(text), platform::ECase::Matters) == 0;
}

bool String::IEqual(const String& other) const noexcept
{
    return m_text.SharesWith(other.m_text) || ICmp(other) == 0;
}

bool String::IEqual(const Char* text) const noexcept
{
    return platform::Collate(CStr(), OrEmpty(text), platform::ECase::Ignored) == 0;
}

std::weak_ordering String::operator<=>(const String& other) const noexcept
{
    return Cmp(other) <=> 0;
}

std::weak_ordering String::operator<=>(const Char* text) const noexcept
{
    return platform::Collate(CStr(), OrEmpty(text), platform::ECase::Matters) <=> 0;
}

// Search

bool String::StartsWith(const Char* prefix) const noexcept
{
    if (!prefix)
        return true;
    // Intended: an empty string starts with nothing, not even with "".
    if (IsEmpty())
        return false;
    const Char* own = CStr();
    while (*prefix && *own == *prefix) {
        ++own;
        ++prefix;
    }
    return !*prefix;
}

bool String::StartsWith(const String& prefix) const noexcept
{
    return StartsWith(prefix.CStr());
}

bool String::IStartsWith(const Char* prefix) const noexcept
{
    if (!prefix)
        return true;
    const std::size_t length = platform::Length(prefix);
    return !IsEmpty() && platform::CompareIgnoringAsciiCase(CStr(), prefix, length) == 0;
}

bool String::IStartsWith(const String& prefix) const noexcept
{
    return IStartsWith(prefix.CStr());
}

bool String::EndsWith(const Char* suffix) const noexcept
{
    return EndsAs(CStr(), suffix, platform::ECase::Matters);
}

bool String::EndsWith(const String& suffix) const noexcept
{
    return EndsWith(suffix.CStr());
}

bool String::IEndsWith(const Char* suffix) const noexcept
{
    return EndsAs(CStr(), suffix, platform::ECase::Ignored);
}

bool String::IEndsWith(const String& suffix) const noexcept
{
    return IEndsWith(suffix.CStr());
}

bool String::Includes(Single character) const noexcept
{
    std::size_t ignored = 0;
    return IncludesPos(character, ignored);
}

bool String::Includes(const Char* part) const noexcept
{
    return Search(part, 0) != kNone;
}

bool String::Includes(const String& part) const noexcept
{
    return Includes(part.CStr());
}

bool String::IIncludes(Single character) const noexcept
{
    const auto wanted = static_cast<Char>(character);
    return wanted && platform::FindIgnoringCase(CStr(), wanted) != platform::kNotFound;
}

bool String::IIncludes(const Char* part) const noexcept
{
    return platform::FindIgnoringCase(CStr(), OrEmpty(part)) != platform::kNotFound;
}

bool String::IIncludes(const String& part) const noexcept
{
    return IIncludes(part.CStr());
}

bool String::IncludesPos(Single character, std::size_t& position) const noexcept
{
    return StoreFound(Search(static_cast<Char>(character), 0), position);
}

bool String::IncludesPos(const Char* part, std::size_t& position) const noexcept
{
    return StoreFound(Search(part, 0), position);
}

bool String::IncludesPos(const String& part, std::size_t& position) const noexcept
{
    return IncludesPos(part.CStr(), position);
}

std::size_t String::Search(Char character, std::size_t start) const noexcept
{
    return Measured(CStr()).find(character, start);
}

std::size_t String::Search(const Char* part, std::size_t start) const noexcept
{
    return Find(Measured(CStr()), Measured(part), start);
}

std::size_t String::Search(const String& part, std::size_t start) const noexcept
{
    return Search(part.CStr(), start);
}

// Pieces and tokens

String String::Sub(std::size_t position, std::size_t count) const
{
    return Piece(Measured(CStr()), position, count);
}

String String::Sub(std::size_t position) const
{
    return Sub(position, kNone);
}

String String::SubCh(std::size_t position, Single end) const
{
    const View own = Measured(CStr());
    const std::size_t found = own.find(static_cast<Char>(end), position);
    return Piece(own, position, found == kNone ? kNone : found - position);
}

String String::Cut(std::size_t position)
{
    return Cut(position, kNone);
}

String String::Cut(std::size_t position, std::size_t count)
{
    const View own = Measured(CStr());
    if (position >= own.size() || count == 0)
        return String();
    count = std::min(count, own.size() - position);
    String piece;
    if (!piece.m_text.Assign(own.substr(position, count)) ||
        !m_text.Erase(own.size(), position, count))
        return String();
    return piece;
}

bool String::CutAt(std::size_t position)
{
    const std::size_t length = Length();
    return position < length && m_text.Erase(length, position, length - position);
}

bool String::CutAfter(Single character, bool first)
{
    const View own = Measured(CStr());
    const std::size_t found = FindSingle(own, static_cast<Char>(character), first);
    if (found == kNone || found + 1 == own.size())
        return false;
    return m_text.Erase(own.size(), found + 1, own.size() - found - 1);
}

bool String::Split(String& rest, Single character, bool first)
{
    const View own = Measured(CStr());
    const std::size_t found = FindSingle(own, static_cast<Char>(character), first);
    if (found == kNone) {
        if (&rest != this)
            rest.Clear();
        return false;
    }
    String tail;
    if (!tail.m_text.Assign(own.substr(found)) ||
        !m_text.Erase(own.size(), found, own.size() - found))
        return false;
    rest = std::move(tail);
    return true;
}

std::size_t String::TokenCount(Char separator) const noexcept
{
    if (IsEmpty())
        return 0;
    const View own = Measured(CStr());
    return static_cast<std::size_t>(std::count(own.begin(), own.end(), separator)) + 1;
}

String String::Token(std::size_t index, Char separator) const
{
    const View own = Measured(CStr());
    std::size_t start = 0;
    for (; index > 0; --index) {
        const std::size_t found = own.find(separator, start);
        if (found == kNone)
            return String();
        start = found + 1;
    }
    const std::size_t end = own.find(separator, start);
    return Piece(own, start, end == kNone ? kNone : end - start);
}

// Trimming and case

bool String::TrimLeft()
{
    return TrimFront(m_text, IsBlank);
}

bool String::TrimLeft(Char character)
{
    return TrimFront(m_text, Exactly(character));
}

bool String::TrimLeft(const Char* set)
{
    return TrimFront(m_text, OneOf(Measured(set)));
}

bool String::TrimRight()
{
    return TrimBack(m_text, IsBlank);
}

bool String::TrimRight(Char character)
{
    return TrimBack(m_text, Exactly(character));
}

bool String::TrimRight(const Char* set)
{
    return TrimBack(m_text, OneOf(Measured(set)));
}

String& String::EraseLeadingChars(Char character)
{
    TrimFront(m_text, Exactly(character));
    return *this;
}

String& String::EraseTrailingChars(Char character)
{
    TrimBack(m_text, Exactly(character));
    return *this;
}

String& String::EraseAllChars(Char character)
{
    const View own = Measured(CStr());
    if (own.find(character) == kNone || !MakePrivate(m_text))
        return *this;
    Char* const text = m_text.Writable();
    *std::remove(text, text + own.size(), character) = 0;
    return *this;
}

String String::ToUpper()
{
    if (IsEmpty() || !MakePrivate(m_text))
        return String();
    for (Char* at = m_text.Writable(); *at; ++at)
        *at = platform::ToUpper(*at);
    return *this;
}

String String::ToLower()
{
    if (IsEmpty() || !MakePrivate(m_text))
        return String();
    for (Char* at = m_text.Writable(); *at; ++at)
        *at = platform::ToLower(*at);
    return *this;
}

String String::Upper() const
{
    return String(*this).ToUpper();
}

String String::Lower() const
{
    return String(*this).ToLower();
}

// Classification

bool String::IsAlpha() const noexcept
{
    return All(CStr(), [](Char character) { return platform::IsAlpha(character); });
}

bool String::IsDigit() const noexcept
{
    return All(CStr(), [](Char character) { return platform::IsDigit(character); });
}

bool String::IsPrint() const noexcept
{
    return All(CStr(), [](Char character) { return platform::IsPrint(character); });
}

bool String::IsAlphaNum() const noexcept
{
    return All(CStr(), [](Char character) { return platform::IsAlphaNum(character); });
}

bool String::IsAlphaNumUnderscore() const noexcept
{
    return All(CStr(),
               [](Char character) { return character == '_' || platform::IsAlphaNum(character); });
}

bool String::IsCharSet(const Char* set) const noexcept
{
    return All(CStr(), OneOf(Measured(set)));
}

// Lines

std::size_t String::CountLines() const noexcept
{
    std::size_t count = 0;
    ForEachLine(Measured(CStr()), [&count](std::size_t) { ++count; });
    return count;
}

std::size_t String::LengthOfLongestLine() const noexcept
{
    std::size_t longest = 0;
    ForEachLine(Measured(CStr()),
                [&longest](std::size_t length) { longest = std::max(longest, length); });
    return longest;
}

// Numbers

int String::AtoI() const noexcept
{
    return platform::ParseInt(CStr());
}

double String::AtoF() const noexcept
{
    return platform::ParseDouble(CStr());
}

bool String::Convert(float& value) const noexcept
{
    return platform::ScanFloat(CStr(), value);
}

bool String::Convert(double& value) const noexcept
{
    return platform::ScanDouble(CStr(), value);
}

void String::ItoA(std::int64_t value, int radix)
{
    Char digits[platform::kIntegerTextRoom];
    const std::size_t length = platform::IntegerText(value, radix, digits);
    if (length > 0)
        m_text.Assign(View(digits, length));
}

String String::FromInt(std::int64_t value)
{
    String text;
    text.ItoA(value, 10);
    return text;
}

// Formatting and escapes

void String::Printf(const Char* format, ...)
{
    if (!format) {
        Clear();
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    Char buffer[kPrintfRoom];
    const std::int64_t length = platform::Format(buffer, kPrintfRoom, format, arguments);
    va_end(arguments);

    if (length < 0 || length >= kPrintfLimit) {
        if constexpr (kFailedPrintfEmpties)
            Clear();
    } else if (static_cast<std::size_t>(length) < kPrintfRoom) {
        m_text.Assign(View(buffer, static_cast<std::size_t>(length)));
    } else {
        auto made = Text::WithCapacity(static_cast<std::size_t>(length));
        if (made.IsNull())
            return;
        va_start(arguments, format);
        const bool done =
            platform::Format(made.Writable(), made.Capacity() + 1, format, arguments) == length;
        va_end(arguments);
        if (done)
            m_text = std::move(made);
    }
}

String String::Printable() const
{
    const View own = Measured(CStr());
    std::size_t length = own.size();
    for (const Char character : own)
        length += EscapeLetter(character) ? 1u : platform::IsPrint(character) ? 0u : 3u;
    if (length == own.size())
        return *this;

    String printable;
    printable.m_text = Text::WithCapacity(length);
    if (printable.m_text.IsNull())
        return printable;
    Char* out = printable.m_text.Writable();
    for (const Char character : own)
        out = WritePrintable(out, character);
    *out = 0;
    return printable;
}

void String::ResolveEsc()
{
    const View own = Measured(CStr());
    if (own.find(Char('\\')) == kNone || !MakePrivate(m_text))
        return;
    Char* out = m_text.Writable();
    const Char* in = out;
    const Char* const end = out + own.size();
    while (in != end) {
        if (*in != '\\') {
            *out++ = *in++;
        } else if (const Char character = EscapedCharacter(in[1])) {
            *out++ = character;
            in += 2;
        } else if (in[1] == 'x') {
            // Intended: without its two digits all four characters go.
            if (end - in >= 4 && ReadHexPair(in + 2, *out))
                ++out;
            in += std::min<std::ptrdiff_t>(4, end - in);
        } else {
            *out++ = *in++;
        }
    }
    *out = 0;
}

// Files
//
// offset  size            field
//      0     4            length: characters, unsigned, little-endian like all of it
//      4     4            check word: the length's bitwise complement
//      8     characters   text, followed by a 0 character

bool String::FRead(std::FILE* stream)
{
    std::uint32_t head[2];
    if (!stream || std::fread(head, sizeof head, 1, stream) != 1 || head[1] != ~head[0])
        return false;

    // A damaged length must not cost memory out of proportion to what the stream holds.
    constexpr std::size_t firstPiece = 64 * 1024;
    const std::size_t length = head[0];
    Text read;
    std::size_t have = 0;
    while (have <= length) {
        const std::size_t capacity = std::min(length, std::max(firstPiece, 2 * have));
        if (!read.SetCapacity(capacity))
            return false;
        const std::size_t wanted = capacity + (capacity == length ? 1 : 0) - have;
        const std::size_t got = std::fread(read.Writable() + have, sizeof(Char), wanted, stream);
        have += got;
        if (got != wanted)
            break;
    }
    m_text = Text();
    if (have <= length || read.Writable()[length] != 0)
        return false;
    if (length > 0)
        m_text = std::move(read);
    return true;
}

bool String::FWrite(std::FILE* stream) const
{
    const View own = Measured(CStr());
    if (!stream || own.size() > std::numeric_limits<std::uint32_t>::max())
        return false;
    const auto length = static_cast<std::uint32_t>(own.size());
    const std::uint32_t head[] = {length, ~length};
    return std::fwrite(head, sizeof head, 1, stream) == 1 &&
           std::fwrite(CStr(), sizeof(Char), own.size() + 1, stream) == own.size() + 1;
}

bool String::ReadLn(std::FILE* stream)
{
    if (!stream || std::feof(stream) || std::ferror(stream))
        return false;
    constexpr int room = 512;
    Char chunk[room];
    Text line;
    std::size_t length = 0;
    View piece;
    do {
        if (!ReadChunk(stream, chunk, room))
            break;
        piece = Measured(chunk);
        if (!line.Push(length, piece))
            return false;
    } while (piece.size() == room - 1 && piece.back() != '\n');

    while (length > 0 && line.Text()[length - 1] == '\n')
        --length;
    return m_text.Assign(View(line.Text(), length));
}

// Operators

String operator+(const String& a, const String& b)
{
    return a + b.CStr();
}

String operator+(const String& a, const Char* b)
{
    String sum(a);
    return sum.TryAppend(b) ? sum : String();
}

String operator+(const Char* a, const String& b)
{
    String sum(b);
    return sum.TryPrepend(a) ? sum : String();
}

bool String::TryAppend(const Char* text)
{
    const View added = Measured(text);
    if (added.empty())
        return true;
    const View own = Measured(CStr());
    const std::size_t length = own.size() + added.size();
    if (!m_text.IsPrivate() || length >= m_text.Capacity())
        return m_text.Assemble(length + 1, {own, added});
    *std::copy(added.begin(), added.end(), m_text.Writable() + own.size()) = 0;
    return true;
}

bool String::TryPrepend(const Char* text)
{
    const View added = Measured(text);
    const View own = Measured(CStr());
    return added.empty() || m_text.Assemble(own.size() + added.size() + 1, {added, own});
}

String String::Piece(View own, std::size_t position, std::size_t count) const
{
    if (position >= own.size())
        return String();
    if (position == 0 && count >= own.size())
        return *this;
    String piece;
    piece.m_text.Assign(own.substr(position, count));
    return piece;
}
