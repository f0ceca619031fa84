#include "core/archive/RecordDirectory.h"

#include "core/archive/ObjectHeader.h"
#include "core/base/BlockReader.h"

#include <cassert>
#include <charconv>
#include <numeric>

// An archive has no table of its records: their headers are read once, from the first to the last,
// and the payloads between them skipped. So a file that was cut off is known as such before the
// first object is made, and an object can be rebuilt that stands behind the one that asks for it.
namespace {

constexpr std::uint64_t kSmallestRecord = 23; // three empty texts, version, four bytes of size

} // namespace

namespace NArchive {

// Strictly as an archive writes it: with capital digits or leading zeros, two texts of one index
// would be two records to a reader that compares texts.
std::optional<std::uint64_t> IndexOfText(std::string_view text) noexcept
{
    if (text.empty() || text.size() > 16 || (text.size() > 1 && text.front() == '0'))
        return std::nullopt;
    std::uint64_t index = 0;
    for (const char c : text) {
        const bool isLetter = c >= 'a' && c <= 'f';
        if (!isLetter && (c < '0' || c > '9'))
            return std::nullopt;
        index = index << 4 | static_cast<std::uint64_t>(isLetter ? c - 'a' + 10 : c - '0');
    }
    return index;
}

bool RecordDirectory::Build(BlockReader& reader, int archiveVersion)
{
    assert(m_records.Count() == 0);
    m_indexLimit = reader.Left() / kSmallestRecord + 2;
    while (reader.Left() != 0) {
        const std::uint64_t position = reader.Position();
        ObjectHeader header;
        if (!ReadObjectHeader(reader, archiveVersion, header) || m_records.Count() == kNone - 1) {
            reader.MoveTo(position);
            return false;
        }
        Enter(position, header.indexText, header.label);
        reader.MoveTo(reader.Position() + header.payloadSize);
    }
    return reader.IsGood();
}

void RecordDirectory::Enter(std::uint64_t position, std::string_view indexText,
                            std::string_view label)
{
    const auto number = static_cast<std::uint32_t>(m_records.Count());
    m_records.Append({.position = position, .object = {}});
    if (!label.empty())
        m_byLabel.insert_or_assign(std::string(label), number);
    const std::optional<std::uint64_t> index = IndexOfText(indexText);
    if (m_isInOrder && index == number + 1)
        return;
    LeaveOrder(number);
    if (!index || *index >= m_indexLimit) {
        m_byIndexText.insert_or_assign(std::string(indexText), number);
        return;
    }
    if (*index >= m_byIndex.size())
        m_byIndex.resize(*index + 1);
    m_byIndex[*index] = number + 1;
}

// The array has a place for as many indices as the file has room for records: a good file needs no
// more. A greater index must not make the array long, so its text goes into the hash table.
void RecordDirectory::LeaveOrder(std::uint32_t count)
{
    if (!m_isInOrder)
        return;
    m_isInOrder = false;
    m_byIndex.resize(count + 1);
    std::iota(m_byIndex.begin(), m_byIndex.end(), std::uint32_t{0});
}

std::uint32_t RecordDirectory::FindElsewhere(std::uint64_t index) const
{
    if (index < m_byIndex.size())
        return m_byIndex[index] - 1; // 0 becomes kNone
    if (m_byIndexText.empty())       // it holds nothing in a good file
        return kNone;
    char text[16];
    const char* end = std::to_chars(text, text + sizeof text, index, 16).ptr;
    return FindIndexText(std::string_view(text, static_cast<std::size_t>(end - text)));
}

std::uint32_t RecordDirectory::FindIndexText(std::string_view text) const
{
    const std::optional<std::uint64_t> index = IndexOfText(text);
    if (index && (m_isInOrder || *index < m_byIndex.size()))
        return FindIndex(*index);
    const auto found = m_byIndexText.find(text);
    return found == m_byIndexText.end() ? kNone : found->second;
}

std::uint32_t RecordDirectory::FindLabel(std::string_view label) const
{
    const auto found = m_byLabel.find(label);
    return found == m_byLabel.end() ? kNone : found->second;
}

} // namespace NArchive
