#include "tools/qdinspect/ArchiveFile.h"

#include "core/archive/Encoding.h"
#include "core/base/BlockReader.h"
#include "core/platform/CodePage.h"
#include "core/tree/NodePayload.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

// Records are found by the archive's own directory, heads and nodes read by the functions that
// archives and nodes read them with. `BArchive` itself is of no use here: it wants to know the
// document's class beforehand, keeps all that it rebuilds, and gives nothing of a file that has one
// broken record.

namespace {

using platform::WideText;

constexpr std::uint64_t kLongestText = 1000; // units of a node's text that are taken

// The values of one payload as `BArchive` reads them, from a reader whose limit is the payload's
// end. What ends early is a fault here, where the archive would go on with what it has.
class PayloadReader {
public:
    PayloadReader(BlockReader& file, int formatVersion)
        : m_file(file)
        , m_formatVersion(formatVersion)
    {}

    [[nodiscard]] int Version() const { return m_formatVersion; }
    [[nodiscard]] std::uint64_t BytesLeft() const { return m_file.Left(); }

    void operator>>(void*& index)
    {
        std::uint64_t value = 0;
        Take(&value, NArchive::ReferenceSize(m_formatVersion));
        index = reinterpret_cast<void*>(static_cast<std::uintptr_t>(value));
    }
    void operator>>(int& value) { Take(&value, sizeof value); }
    void operator>>(char& value) { Take(&value, sizeof value); }
    void SkipText() { Skip(TextSize()); }

    /// Both tell whether it was cut.
    [[nodiscard]] bool TakeNarrow(WideText& text)
    {
        const std::uint64_t size = TextSize();
        const std::uint64_t taken = std::min(size, kLongestText);
        const char* const bytes = m_file.Peek(taken);
        text.resize(taken);
        text.resize(platform::AnsiToWide(bytes, taken, text.data(), text.size()));
        Skip(size);
        return taken < size;
    }
    [[nodiscard]] bool TakeWide(WideText& text)
    {
        int count = 0;
        *this >> count;
        const auto length = static_cast<std::uint64_t>(std::max(count, 0));
        if (length > m_file.Left() / sizeof(WChar))
            throw ArchiveFormatFault;
        text.resize(std::min(length, kLongestText));
        Take(text.data(), text.size() * sizeof(WChar));
        Skip((length - text.size()) * sizeof(WChar));
        return text.size() < length;
    }

private:
    void Take(void* out, std::uint64_t size)
    {
        if (!m_file.Read(out, size))
            throw ArchiveFormatFault;
    }
    void Skip(std::uint64_t size) { m_file.MoveTo(m_file.Position() + size); }
    // Moves to the characters, which are there as a whole.
    std::uint64_t TextSize()
    {
        const std::optional<std::uint64_t> end = NArchive::EndOfText(m_file, 0);
        if (!end)
            throw ArchiveFormatFault;
        Skip(NArchive::kTagAndLengthSize);
        return *end - NArchive::kTagAndLengthSize;
    }

    BlockReader& m_file;
    int m_formatVersion;
};

struct NodeTarget {
    NodeTarget(const BlockReader& reader, int formatVersion)
        : file(reader)
        , referenceSize(NArchive::ReferenceSize(formatVersion))
    {}

    const BlockReader& file;
    std::uint64_t referenceSize;
    NodeFields node;
    WideText narrowText;
    std::vector<std::uint64_t>* list = nullptr;
    char flags = 0;

    void Object(std::uint64_t index)
    {
        node.object = index;
        node.places.push_back(file.Position() - referenceSize);
    }
    void List(int which, std::uint32_t count)
    {
        list = &node.lists[which];
        list->reserve(count);
    }
    void Entry(std::uint64_t index)
    {
        list->push_back(index);
        node.places.push_back(file.Position() - referenceSize);
    }
    void Flags(char read)
    {
        flags = read;
        node.isActive = (flags & NNode::kActiveFlag) != 0;
        node.isLocked = (flags & NNode::kLockedFlag) != 0;
    }
    void NarrowText(PayloadReader& source) { node.isTextCut = source.TakeNarrow(node.text); }
    void Text(PayloadReader& source) { node.isTextCut = source.TakeWide(node.text); }
};

bool IsClassName(std::string_view name)
{
    const auto isVisible = [](char byte) { return byte >= ' ' || byte < 0; };
    return !name.empty() && std::ranges::all_of(name, isVisible);
}

} // namespace

bool RecordHead::Is(std::string_view name) const
{
    return className == name || NArchive::WithKeyword(className) == name;
}

bool RecordHead::HasClass() const
{
    return IsClassName(className);
}

ArchiveFile::ArchiveFile(BlockReader& file, int formatVersion)
    : m_file(file)
    , m_formatVersion(formatVersion)
{
    const std::uint64_t start = file.Position();
    // Whoever goes through the records sees where they break.
    static_cast<void>(m_directory.Build(file, formatVersion));
    file.MoveTo(start);
}

bool ArchiveFile::ReadHead(RecordHead& head)
{
    head = RecordHead();
    head.position = m_file.Position();
    NArchive::ObjectHeader header;
    const bool isWhole = NArchive::ReadObjectHeader(m_file, m_formatVersion, header);
    if (m_file.Position() == head.position)
        return false;
    head.indexText = header.indexText;
    head.label = header.label;
    head.className = header.className;
    head.version = header.version;
    head.payload = m_file.Position();
    head.payloadSize = header.payloadSize;
    return isWhole;
}

RecordHead ArchiveFile::Head(std::uint32_t number)
{
    RecordHead head;
    m_file.MoveTo(m_directory[number].position);
    static_cast<void>(ReadHead(head)); // it was read before
    return head;
}

std::optional<NodeFields> ArchiveFile::Node(const RecordHead& head)
{
    const bool isNode = head.IsNode();
    NodeTarget target(m_file, m_formatVersion);
    bool isWhole = true;
    m_file.MoveTo(head.payload, head.payload + head.payloadSize);
    try {
        PayloadReader source(m_file, m_formatVersion);
        NNode::ReadPayload(source, isNode ? head.version : NNode::kPayloadVersion, target);
        target.node.end = m_file.Position();
    } catch (ARCHIVE_EXCEPTION) {
        isWhole = false;
    }
    m_file.MoveTo(head.payload, m_file.Size());
    if (!isWhole)
        return std::nullopt;
    if (isNode)
        return std::move(target.node);
    constexpr char known = NNode::kActiveFlag | NNode::kLockedFlag;
    bool isLikely = (target.flags & ~known) == 0 &&
                    (target.node.object == 0 || Find(target.node.object) != kNone);
    for (const std::vector<std::uint64_t>& list : target.node.lists) {
        isLikely = isLikely && std::ranges::all_of(list, [this](std::uint64_t index) {
                       return index == 0 || Find(index) != kNone;
                   });
    }
    return isLikely ? std::optional(std::move(target.node)) : std::nullopt;
}

std::vector<std::string> BitPicture::Lines() const
{
    std::vector<std::string> lines = {std::to_string(width) + " x " + std::to_string(height) +
                                      " cells of " + std::to_string(cellSize) + " bytes"};
    for (std::int64_t row = 0; row < rows; ++row) {
        std::string line;
        for (std::int64_t column = 0; column < columns; ++column) {
            const bool isSet = Cell(row, column).find_first_not_of('\0') != std::string_view::npos;
            line += isSet ? '#' : '.';
        }
        lines.push_back(line);
    }
    return lines;
}

std::optional<BitPicture> ArchiveFile::Picture(const RecordHead& head, std::int64_t mostColumns,
                                               std::int64_t mostRows)
{
    std::int32_t extent[3] = {}; // width, height, bytes of a cell
    m_file.MoveTo(head.payload, head.payload + head.payloadSize);
    const bool isRead = m_file.Read(extent, sizeof extent);
    const std::uint64_t data = m_file.Position();
    const std::uint64_t left = m_file.Left();
    m_file.MoveTo(head.payload, m_file.Size());
    if (!isRead || extent[2] < 0)
        return std::nullopt;
    BitPicture picture;
    picture.width = extent[0];
    picture.height = extent[1];
    picture.cellSize = extent[2];
    if (left == 0 || extent[2] == 0) // an array without data has written none
        return picture;
    const std::int64_t width = std::max(extent[0], 0);
    const std::int64_t height = std::max(extent[1], 0);
    const auto cellSize = static_cast<std::uint64_t>(extent[2]);
    if (height != 0 && static_cast<std::uint64_t>(width * height) > left / cellSize)
        return std::nullopt;
    picture.rows = std::min(height, mostRows);
    picture.columns = std::min(width, mostColumns);
    std::string cell(picture.TakenSize(), '\0');
    for (std::int64_t row = 0; row < picture.rows; ++row) {
        for (std::int64_t column = 0; column < picture.columns; ++column) {
            const std::int64_t number =
                row * height / picture.rows * width + column * width / picture.columns;
            m_file.MoveTo(data + static_cast<std::uint64_t>(number) * cellSize);
            const bool isCellRead = m_file.Read(cell.data(), cell.size());
            picture.bytes += isCellRead ? cell : std::string(cell.size(), '\0');
        }
    }
    m_file.MoveTo(head.payload);
    return picture;
}

// With texts of the lengths that names have, so that the search takes no more than a look at each
// place.
bool ArchiveFile::BeginsRecord(std::uint64_t position)
{
    constexpr std::uint64_t longestHead = 4096; // bytes
    m_file.MoveTo(position, position + longestHead);
    NArchive::ObjectHeader header;
    static_cast<void>(NArchive::ReadObjectHeader(m_file, m_formatVersion, header));
    const std::uint64_t payload = m_file.Position();
    return payload != position && NArchive::IndexOfText(header.indexText) &&
           IsClassName(header.className) && header.payloadSize <= m_file.Size() - payload;
}

void ArchiveFile::FindNextRecord()
{
    constexpr std::string_view hexadecimal = "0123456789abcdef";
    for (std::uint64_t position = m_file.Position();; ++position) {
        m_file.MoveTo(position, m_file.Size());
        // Tag, length of the index text, its first digit.
        constexpr std::uint64_t size = NArchive::kTagAndLengthSize + 1;
        const char* const bytes = m_file.Peek(size);
        if (bytes == nullptr)
            break;
        if (*bytes != NArchive::kTextTag || hexadecimal.find(bytes[size - 1]) == hexadecimal.npos)
            continue;
        const bool isRecord = BeginsRecord(position);
        m_file.MoveTo(position, m_file.Size());
        if (isRecord)
            return;
    }
    m_file.MoveTo(m_file.Size());
}

std::string IndexText(std::uint64_t index)
{
    char digits[16];
    return {digits, std::to_chars(digits, digits + sizeof digits, index, 16).ptr};
}
