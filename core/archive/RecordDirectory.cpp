#include "core/archive/RecordDirectory.h"

#include "core/archive/ObjectHeader.h"
#include "core/base/BlockReader.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <limits>

// An archive has no table of its records: their headers are read once, from the first to the last,
// and the payloads between them skipped. So a file that was cut off is known as such before the
// first object is made, and an object can be rebuilt that stands behind the one that asks for it.
namespace {

constexpr std::uint64_t kSmallestRecord = 23; // three empty texts, version, four bytes of size
constexpr std::size_t kSample = 1024;         // records that tell how many there will be

} // namespace

namespace NArchive {

// `from_chars` takes capital digits and leading zeros as well, which an archive does not write: two
// texts of one index would be two records to a reader that compares texts.
std::optional<std::uint64_t> IndexOfText(std::string_view text) noexcept
{
    const bool leadingZero = text.size() > 1 && text.front() == '0';
    const auto isUpper = [](char c) { return c >= 'A' && c <= 'F'; };
    if (text.empty() || leadingZero || std::any_of(text.begin(), text.end(), isUpper))
        return std::nullopt;
    std::uint64_t index = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index, 16);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return index;
}

// The array has a place for as many indices as the file has room for records: a good file needs no
// more. A greater index must not make the array long, so its text goes into the hash table.
bool RecordDirectory::Build(BlockReader& reader, int archiveVersion)
{
    assert(m_records.empty());
    m_indexLimit = reader.Left() / kSmallestRecord + 2;
    while (reader.Left() != 0) {
        const std::uint64_t position = reader.Position();
        ObjectHeader header;
        if (!ReadObjectHeader(reader, archiveVersion, header) ||
            m_records.size() >= std::numeric_limits<std::uint32_t>::max() - 1)
            return false;
        Enter(position, header.indexText, header.label);
        if (m_records.size() == kSample) // saves moving the records again and again
            m_records.reserve(kSample *
                              (reader.Size() / (reader.Position() + header.payloadSize) + 1));
        reader.MoveTo(reader.Position() + header.payloadSize);
    }
    return reader.IsGood();
}

void RecordDirectory::Enter(std::uint64_t position, std::string_view indexText,
                            std::string_view label)
{
    const auto number = static_cast<std::uint32_t>(m_records.size());
    m_records.push_back({.position = position, .object = {}});
    if (!label.empty())
        m_byLabel.insert_or_assign(std::string(label), number);
    const std::optional<std::uint64_t> index = IndexOfText(indexText);
    if (!index || *index >= m_indexLimit) {
        m_byIndexText.insert_or_assign(std::string(indexText), number);
        return;
    }
    if (*index >= m_byIndex.size())
        m_byIndex.resize(*index + 1);
    m_byIndex[*index] = number + 1;
}

RecordDirectory::Record* RecordDirectory::FindIndex(std::uint64_t index)
{
    if (index < m_byIndex.size()) {
        const std::uint32_t number = m_byIndex[index];
        return number == 0 ? nullptr : &m_records[number - 1];
    }
    if (m_byIndexText.empty()) // it holds nothing in a good file
        return nullptr;
    char text[16];
    const char* end = std::to_chars(text, text + sizeof text, index, 16).ptr;
    return FindIndexText(std::string_view(text, static_cast<std::size_t>(end - text)));
}

RecordDirectory::Record* RecordDirectory::FindIndexText(std::string_view text)
{
    const std::optional<std::uint64_t> index = IndexOfText(text);
    if (index && *index < m_byIndex.size())
        return FindIndex(*index);
    const auto found = m_byIndexText.find(text);
    return found == m_byIndexText.end() ? nullptr : &m_records[found->second];
}

RecordDirectory::Record* RecordDirectory::FindLabel(std::string_view label)
{
    const auto found = m_byLabel.find(label);
    return found == m_byLabel.end() ? nullptr : &m_records[found->second];
}

} // namespace NArchive
