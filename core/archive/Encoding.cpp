#include "core/archive/Encoding.h"

#include "core/archive/BArchive.h"
#include "core/base/BlockReader.h"

namespace NArchive {

void FieldWriter::HandOver(BArchive& archive, const void* bytes, std::uint64_t size)
{
    archive.WriteMemoryBlock(bytes, size);
}

void FieldWriter::HandOver(BArchive& archive, std::uint64_t number, std::uint64_t size)
{
    archive.WriteMemoryBlock(&number, size);
}

void FieldWriter::RefuseText(const BArchive& archive)
{
    archive.ThrowError();
}

void WriteText(BArchive& archive, std::string_view text)
{
    FieldWriter fields(archive, FieldWriter::SizeOf(text));
    fields.PutText(text);
    fields.End();
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
