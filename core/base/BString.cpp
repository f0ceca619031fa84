#include "core/base/BString.h"

#include "core/base/WString.h"
#include "core/base/text/Units.h"
#include "core/platform/CodePage.h"
#include "core/platform/ScanText.h"

#include <algorithm>

// What `BString` has beyond the members of `BText`.

// Not where the code page has characters of several bytes.
bool BTextTraits<BString>::CanCutAnywhere(std::string_view text) noexcept
{
    return platform::AnsiToWide(text.data(), text.size(), nullptr, 0) == text.size();
}

bool BTextTraits<BString>::ReadChunk(std::FILE* stream, char* buffer, int room) noexcept
{
    return std::fgets(buffer, room, stream) != nullptr;
}

BString::BString(const char* text)
{
    m_text.Assign(NText::Measured(text));
}

BString::BString(const WChar* text)
{
    const std::size_t length = platform::Length(text);
    std::size_t size = length; // what it takes in a code page of single bytes
    // Where characters take several bytes, the first try tells the size that the second one needs.
    while (size > 0 && m_text.SetCapacity(size + 1)) {
        const std::size_t room = size;
        size = platform::WideToAnsi(text, length, m_text.Writable(), room);
        if (size <= room) {
            m_text.End(size);
            return;
        }
    }
    m_text = Text();
}

BString& BString::operator=(const char* text)
{
    m_text.Assign(NText::Measured(text));
    return *this;
}

bool BString::Convert(int& value) const noexcept
{
    return platform::ScanInt(CStr(), value) || platform::ScanHex(CStr(), value);
}

BString BString::FromUtf8(std::string_view text, bool* isWhole)
{
    const WString wide = WString::FromUtf8(text, isWhole);
    BString narrow = wide.AsString();
    if (isWhole)
        *isWhole = *isWhole && std::ranges::equal(WString(narrow).AsView(), wide.AsView());
    return narrow;
}

BString BString::FromUtf8(std::u8string_view text, bool* isWhole)
{
    return FromUtf8(std::string_view(reinterpret_cast<const char*>(text.data()), text.size()),
                    isWhole);
}

BString BString::FromUtf8(const char* text, bool* isWhole)
{
    return FromUtf8(NText::Measured(text), isWhole);
}

std::string BString::AsUtf8(bool* isWhole) const
{
    const WString wide(*this);
    std::string bytes = wide.AsUtf8(isWhole);
    if (isWhole)
        *isWhole = *isWhole && std::ranges::equal(wide.AsString().AsView(), AsView());
    return bytes;
}

BString operator+(const BString& a, const BString& b)
{
    BString sum(a);
    return sum.TryAppend(b.Own()) ? sum : BString();
}

BString operator+(const BString& a, const char* b)
{
    BString sum(a);
    return sum.TryAppend(NText::Measured(b)) ? sum : BString();
}

BString operator+(const char* a, const BString& b)
{
    BString sum(b);
    return sum.TryPrepend(NText::Measured(a)) ? sum : BString();
}
