#include "core/archive/Encoding.h"

#include "core/archive/BArchive.h"
#include "core/base/BlockReader.h"

#include <cstring>
#include <limits>

namespace NArchive {

void WriteText(BArchive& archive, std::string_view text)
{
    if (text.size() > std::numeric_limits<std::uint32_t>::max())
        archive.ThrowError();
    char tagAndLength[kTagAndLengthSize] = {kTextTag};
    const auto length = static_cast<std::uint32_t>(text.size());
    std::memcpy(tagAndLength + 1, &length, sizeof length);
    archive.WriteMemoryBlock(tagAndLength, sizeof tagAndLength);
    archive.WriteMemoryBlock(text.data(), text.size());
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
