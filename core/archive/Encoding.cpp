#include "core/archive/Encoding.h"

#include "core/archive/BArchive.h"
#include "core/base/BlockReader.h"

#include <utility>

namespace NArchive {

void FieldWriter::HandOver()
{
    m_archive.WriteMemoryBlock(m_bytes, std::exchange(m_used, 0));
}

// False where the bytes are too many for any room and have gone to the archive.
bool FieldWriter::MakeRoom(const void* bytes, std::uint64_t size)
{
    HandOver();
    if (size <= sizeof m_bytes)
        return true;
    m_archive.WriteMemoryBlock(bytes, size);
    return false;
}

void FieldWriter::RefuseText() const
{
    m_archive.ThrowError();
}

void WriteText(BArchive& archive, std::string_view text)
{
    FieldWriter fields(archive);
    fields.PutText(text);
    fields.HandOver();
}

std::optional<std::uint64_t> EndOfText(BlockReader& reader, std::uint64_t offset)
{
    const char* start = reader.Peek(offset + kTagAndLengthSize);
    if (start == nullptr || start[offset] != kTextTag)
        return std::nullopt;
    const std::uint64_t end = offset + kTagAndLengthSize + TextAt(start + offset).size();
    return end <= reader.Left() ? std::optional(end) : std::nullopt;
}

std::string WithKeyword(std::string_view className)
{
    return className.starts_with(kClassKeyword) ? std::string(className)
                                                : std::string(kClassKeyword).append(className);
}

} // namespace NArchive
