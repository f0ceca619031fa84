#include "core/profile/VariantBytes.h"

#include "core/platform/WChar.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <new>
#include <utility>

// A record is made in memory and written by one call, so that its size need not be known before.
// What is read is a file that anyone may have written: no length is believed that goes beyond it.
static_assert(std::endian::native == std::endian::little, "a record is the memory as it stands");

namespace {

template <class Text>
void AppendRecord(VariantBytes& bytes, const Text& text)
{
    const std::size_t length = text.Length();
    const auto word = static_cast<std::uint32_t>(length);
    bytes.Append(word);
    bytes.Append(~word);
    bytes.Append(text.CStr(), (length + 1) * sizeof *text.CStr());
}

template <class Char, class Text>
bool ReadRecord(VariantSource& source, Text& text)
{
    std::uint32_t head[2];
    if (!source.Read(head, sizeof head) || head[1] != ~head[0])
        return false;
    const std::size_t length = head[0];
    text.Clear();
    // Before the text is made: a damaged length must not ask for gigabytes.
    if (!source.Has((std::uint64_t{length} + 1) * sizeof(Char)))
        return false;
    text.Fill(length, Char{' '});
    if (length != 0 && text.IsEmpty())
        throw std::bad_alloc(); // the text is there, and must not count as damaged
    Char end = 0;
    if ((length == 0 || source.Read(text.Str(), length * sizeof(Char))) &&
        source.Read(&end, sizeof end) && end == 0)
        return true;
    text.Clear();
    return false;
}

} // namespace

void VariantBytes::AppendText(const BString& text)
{
    AppendRecord(*this, text);
}

void VariantBytes::AppendText(const WString& text)
{
    AppendRecord(*this, text);
}

bool VariantBytes::MoveTo(std::FILE* stream) noexcept
{
    const std::size_t size = std::exchange(m_size, 0);
    return std::fwrite(m_bytes.get(), 1, size, stream) == size;
}

void VariantBytes::Grow(std::size_t size)
{
    constexpr std::size_t smallest = 64;
    // Doubled, so that a byte is moved about once on the average.
    const std::size_t capacity = std::max({smallest, 2 * m_capacity, m_size + size});
    auto larger = std::make_unique_for_overwrite<char[]>(capacity);
    if (m_size != 0)
        std::memcpy(larger.get(), m_bytes.get(), m_size);
    m_bytes = std::move(larger);
    m_capacity = capacity;
}

bool VariantSource::ReadText(BString& text)
{
    return ReadRecord<char>(*this, text);
}

bool VariantSource::ReadText(WString& text)
{
    return ReadRecord<WChar>(*this, text);
}

bool VariantSource::Has(std::uint64_t size)
{
    if (size <= m_reader.Left())
        return true;
    m_reader.MoveTo(m_reader.Limit());
    m_isCut = true;
    return false;
}
