#include "core/base/WString.h"

#include "core/base/BString.h"
#include "core/base/text/Units.h"
#include "core/platform/CodePage.h"
#include "core/platform/FileStream.h"
#include "core/platform/ScanText.h"

#include <algorithm>
#include <limits>
#include <span>
#include <utility>

// What `WString` has beyond the members of `BText`: the way from and to narrow text, and byte
// images.
//
// A conversion goes straight into the string's own block, which is made as large as the result can
// become: to ask for the size first would be to convert twice.

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

WString operator+(const WString& a, const WString& b)
{
    WString sum(a);
    return sum.TryAppend(b.Own()) ? sum : WString();
}

WString operator+(const WString& a, const WChar* b)
{
    WString sum(a);
    return sum.TryAppend(NText::Measured(b)) ? sum : WString();
}

WString operator+(const WChar* a, const WString& b)
{
    WString sum(b);
    return sum.TryPrepend(NText::Measured(a)) ? sum : WString();
}
