#include "core/base/WString.h"

#include "core/base/BString.h"
#include "core/base/text/Units.h"
#include "core/platform/CodePage.h"
#include "core/platform/FileStream.h"
#include "core/platform/ScanText.h"
#include "core/platform/Unicode.h"

#include <algorithm>
#include <limits>
#include <new>
#include <span>
#include <utility>

// What `WString` has beyond the members of `BText`: the way from and to narrow text and the other
// forms of Unicode, and byte images.
//
// A conversion goes straight into the string's own block, which is made as large as the result can
// become: to ask for the size first would be to convert twice.

namespace {

// Tells who wants to know it whether a conversion kept all.
void Tell(bool* isWhole, bool isKept) noexcept
{
    if (isWhole)
        *isWhole = isKept;
}

// A text ends at its first 0.
template <class Unit>
std::basic_string_view<Unit> UpToZero(std::basic_string_view<Unit> text) noexcept
{
    return text.substr(0, text.find(Unit(0)));
}

template <class Unit>
std::basic_string<Unit> UnitsOf(platform::WideView text, bool* isWhole)
{
    bool isKept = true;
    std::basic_string<Unit> units;
    try {
        units.resize(text.size()); // no text has more characters
    } catch (const std::bad_alloc&) {
        Tell(isWhole, false);
        return {};
    }
    Unit* end = units.data();
    for (std::size_t i = 0; i < text.size();)
        end = platform::PutCharacter(platform::TakeCharacter(text, i, isKept), end);
    units.resize(static_cast<std::size_t>(end - units.data()));
    Tell(isWhole, isKept);
    return units;
}

} // namespace

// What is compared without regard to case are units, halves of surrogate pairs included.
bool BTextTraits<WString>::CanCutAnywhere(std::basic_string_view<WChar>) noexcept
{
    return true;
}

bool BTextTraits<WString>::ReadChunk(std::FILE* stream, WChar* buffer, int room) noexcept
{
    return platform::ReadText(stream, buffer, room);
}

WString::WString(const WChar* text)
{
    m_text.Assign(NText::Measured(text));
}

WString::WString(const BString& text)
{
    const std::size_t size = text.Length(); // no text has more units than bytes
    if (size == 0 || !m_text.SetCapacity(size))
        return;
    m_text.End(platform::AnsiToWide(text.CStr(), size, m_text.Writable(), size));
}

WString& WString::operator=(const WChar* text)
{
    m_text.Assign(NText::Measured(text));
    return *this;
}

void WString::ReplaceAt(const WChar* text, std::size_t position, std::size_t count)
{
    const View own = Own();
    if (position > own.size())
        return;
    const View added = NText::Measured(text);
    // Made anew even where it would fit: `text` may lie in the block.
    const View rest = own.substr(position + std::min(count, own.size() - position));
    m_text.Assemble(position + added.size() + rest.size() + 1,
                    {own.substr(0, position), added, rest});
}

int WString::ICmpForQSort(const void* a, const void* b) noexcept
{
    return static_cast<const WString*>(a)->ICmp(*static_cast<const WString*>(b));
}

bool WString::Includes16bitChars() const noexcept
{
    return !NText::All(CStr(), [](WChar unit) { return unit < 256; });
}

bool WString::Convert(int& value) const noexcept
{
    constexpr double greatest = std::numeric_limits<int>::max();
    constexpr double least = std::numeric_limits<int>::min();
    // Through a double, as users type "12.6" and "1e3" where an integer is wanted.
    double number = 0.0;
    if (!platform::ScanDouble(CStr(), number))
        return platform::ScanHex(CStr(), value);
    if (number > greatest)
        value = std::numeric_limits<int>::max();
    else if (!(number >= least)) // not-a-number, too
        value = std::numeric_limits<int>::min();
    else
        value = static_cast<int>(number < 0.0 ? number - 0.5 : number + 0.5);
    return true;
}

void WString::EncodeMemory(const void* data, std::size_t size)
{
    if (size == 0) {
        Clear();
        return;
    }
    if (!data || size > std::numeric_limits<std::size_t>::max() / 2)
        return;
    auto encoded = Text::WithCapacity(2 * size);
    if (encoded.IsNull())
        return;
    WChar* out = encoded.Writable();
    for (const unsigned char byte : std::span(static_cast<const unsigned char*>(data), size)) {
        // Intended: '0' plus the nibble, ten to fifteen being ":;<=>?" and not letters.
        *out++ = static_cast<WChar>('0' + (byte >> 4));
        *out++ = static_cast<WChar>('0' + (byte & 15));
    }
    encoded.End(2 * size);
    m_text = std::move(encoded);
}

bool WString::DecodeMemory(void* out, std::size_t size) const noexcept
{
    const View own = Own();
    if (own.size() % 2 != 0 || own.size() / 2 != size)
        return false;
    // Units are checked as they are decoded: one pass over what may be a large block.
    const auto bad = [](WChar unit) { return unit < '0' || unit > '?'; };
    auto* byte = static_cast<unsigned char*>(out);
    for (std::size_t at = 0; at < own.size(); at += 2) {
        if (bad(own[at]) || bad(own[at + 1]))
            return false;
        *byte++ = static_cast<unsigned char>((own[at] & 15) << 4 | (own[at + 1] & 15));
    }
    return true;
}

BString WString::AsString() const
{
    return BString(CStr());
}

char WString::AsChar(WChar unit) noexcept
{
    char bytes[8]; // a unit may have several, and is then no char
    return platform::WideToAnsi(&unit, 1, bytes, sizeof bytes) == 1 ? bytes[0] : '?';
}

template <class Write>
WString WString::Made(std::size_t most, bool isKept, bool* isWhole, Write write)
{
    WString made;
    if (most != 0 && made.m_text.SetCapacity(most)) {
        const std::size_t length = write(made.m_text.Writable(), isKept);
        // What the estimate was too large by is given back: Chinese takes a third of its bytes.
        if (length < most)
            made.m_text.SetCapacity(length);
        made.m_text.End(length);
    } else if (most != 0) {
        isKept = false;
    }
    Tell(isWhole, isKept);
    return made;
}

template <class Unit>
WString WString::FromUnits(std::basic_string_view<Unit> units, bool* isWhole)
{
    const auto text = UpToZero(units);
    // NOLINTNEXTLINE(bugprone-sizeof-expression): neither is a pointer
    constexpr std::size_t most = sizeof(Unit) / sizeof(WChar); // units that a unit becomes
    return Made(most * text.size(), text.size() == units.size(), isWhole,
                [text](WChar* out, bool& isKept) {
                    WChar* end = out;
                    for (std::size_t i = 0; i < text.size();)
                        end = platform::PutCharacter(platform::TakeCharacter(text, i, isKept), end);
                    return static_cast<std::size_t>(end - out);
                });
}

WString WString::FromUtf8(std::string_view bytes, bool* isWhole)
{
    const std::string_view text = UpToZero(bytes);
    return Made(
        text.size(), text.size() == bytes.size(), isWhole,
        [text](WChar* out, bool& isKept) { return platform::Utf8ToWide(text, out, isKept); });
}

WString WString::FromUtf8(std::u8string_view text, bool* isWhole)
{
    return FromUtf8(std::string_view(reinterpret_cast<const char*>(text.data()), text.size()),
                    isWhole);
}

WString WString::FromUtf8(const char* text, bool* isWhole)
{
    return FromUtf8(NText::Measured(text), isWhole);
}

std::string WString::AsUtf8(bool* isWhole) const
{
    const View own = Own();
    std::string bytes;
    try {
        bytes.resize(platform::Utf8Room(own));
    } catch (const std::bad_alloc&) {
        Tell(isWhole, false);
        return {};
    }
    bool isKept = true;
    bytes.resize(platform::WideToUtf8(own, bytes.data(), isKept));
    Tell(isWhole, isKept);
    return bytes;
}

WString WString::FromUtf16(std::u16string_view text, bool* isWhole)
{
    return FromUnits(text, isWhole);
}

std::u16string WString::AsUtf16(bool* isWhole) const
{
    return UnitsOf<char16_t>(Own(), isWhole);
}

WString WString::FromWide(std::wstring_view text, bool* isWhole)
{
    return FromUnits(text, isWhole);
}

std::wstring WString::AsWide(bool* isWhole) const
{
    return UnitsOf<wchar_t>(Own(), isWhole);
}

WString operator+(const WString& a, const WString& b)
{
    // At once: a copy that is appended to would take memory twice.
    WString sum;
    if (b.IsEmpty())
        sum = a;
    else
        sum.m_text.Assemble(a.Length() + b.Length() + 1, {a.Own(), b.Own()});
    return sum;
}

WString operator+(const WString& a, const WChar* b)
{
    const platform::WideView added = NText::Measured(b);
    WString sum;
    if (added.empty())
        sum = a;
    else
        sum.m_text.Assemble(a.Length() + added.size() + 1, {a.Own(), added});
    return sum;
}

WString operator+(const WChar* a, const WString& b)
{
    WString sum(b);
    return sum.TryPrepend(NText::Measured(a)) ? sum : WString();
}
