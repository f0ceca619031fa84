#include "core/base/BString.h"

#include "core/platform/CodePage.h"

#include <string_view>

namespace {

using String = BString;
using Char = char;
using Single = int;

constexpr std::size_t kPrintfRoom = 16385;
constexpr bool kFailedPrintfEmpties = false;

// Not where the code page has characters of several bytes.
bool CharactersStandAlone(std::string_view text) noexcept
{
    return platform::AnsiToWide(text.data(), text.size(), nullptr, 0) == text.size();
}

bool ReadChunk(std::FILE* stream, char* buffer, int room) noexcept
{
    return std::fgets(buffer, room, stream) != nullptr;
}

} // namespace

#include "core/base/StringMembers.inl"

BString::BString(const char* text)
{
    m_text.Assign(Measured(text));
}

BString::BString(const WChar* text)
{
    const std::size_t length = platform::Length(text);
    std::size_t size = length; // what it takes in a code page of single bytes
    while (size > 0 && m_text.SetCapacity(size + 1)) {
        const std::size_t room = size;
        size = platform::WideToAnsi(text, length, m_text.Writable(), room);
        if (size <= room) {
            m_text.Writable()[size] = 0;
            return;
        }
    }
    m_text = Text();
}

bool BString::Convert(int& value) const noexcept
{
    return platform::ScanInt(CStr(), value) || platform::ScanHex(CStr(), value);
}
