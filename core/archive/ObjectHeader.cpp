#include "core/archive/ObjectHeader.h"

#include "core/archive/BArchive.h"
#include "core/base/BSmartObj.h"
#include "core/base/BlockReader.h"

#include <charconv>
#include <cstring>
#include <limits>

// An object header, little-endian, without padding:
//
//   index text     tag "S", 4-byte length, the index in lower-case hexadecimal
//   label          tag "S", 4-byte length, text; often empty
//   class name     tag "S", 4-byte length, text: `ArchiveName()`
//   class version  4-byte signed integer
//   payload size   unsigned integer, patched when the payload is complete:
//                  written with 4 bytes in version 6 and with 8 in any other,
//                  read with 8 bytes from version 8 on and with 4 before
//
// Intended: writer and reader test the version differently, so that files of every version that was
// ever written stay readable as they are. Only version 8 is written today.

namespace {

constexpr unsigned char kSizePlaceholder[] = {0xEA, 0xEA, 0xEA, 0xEA, 0xEA, 0xEA, 0xEA, 0xEA};

constexpr std::uint64_t WrittenSizeBytes(int archiveVersion)
{
    return archiveVersion == 6 ? 4 : 8;
}

constexpr std::uint64_t ReadSizeBytes(int archiveVersion)
{
    return archiveVersion >= 8 ? 8 : 4;
}

std::uint32_t LengthOfText(const char* text)
{
    std::uint32_t length;
    std::memcpy(&length, text + 1, sizeof length);
    return length;
}

std::string_view TakeText(const char*& at)
{
    const std::uint32_t length = LengthOfText(at);
    const std::string_view text(at + kTextPrefix, length);
    at += kTextPrefix + length;
    return text;
}

} // namespace

std::string WithKeyword(std::string_view className)
{
    return className.starts_with(kClassKeyword) ? std::string(className)
                                                : std::string(kClassKeyword).append(className);
}

void WriteText(BArchive& archive, std::string_view text)
{
    if (text.size() > std::numeric_limits<std::uint32_t>::max())
        archive.ThrowError();
    char prefix[kTextPrefix] = {kTextTag};
    const auto length = static_cast<std::uint32_t>(text.size());
    std::memcpy(prefix + 1, &length, sizeof length);
    archive.WriteMemoryBlock(prefix, sizeof prefix);
    archive.WriteMemoryBlock(text.data(), text.size());
}

bool PeekText(BlockReader& reader, std::uint64_t& offset)
{
    const char* start = reader.Peek(offset + kTextPrefix);
    if (start == nullptr || start[offset] != kTextTag)
        return false;
    const std::uint64_t end = offset + kTextPrefix + LengthOfText(start + offset);
    if (end > reader.Left())
        return false;
    offset = end;
    return true;
}

bool ReadObjectHeader(BlockReader& reader, int archiveVersion, ObjectHeader& header)
{
    std::uint64_t size = 0;
    if (!PeekText(reader, size) || !PeekText(reader, size) || !PeekText(reader, size))
        return false;
    const std::uint64_t sizeBytes = ReadSizeBytes(archiveVersion);
    size += sizeof header.version + sizeBytes;
    const char* at = reader.Peek(size);
    if (at == nullptr)
        return false;
    header.id = TakeText(at);
    header.label = TakeText(at);
    header.className = TakeText(at);
    std::memcpy(&header.version, at, sizeof header.version);
    header.size = 0;
    std::memcpy(&header.size, at + sizeof header.version, sizeBytes);
    reader.MoveTo(reader.Position() + size);
    return header.size <= reader.Left();
}

void BSmartObj::WritePrefix(BArchive& archive, BString label) const
{
    char id[16];
    const unsigned int index = archive.MapPointerToIndex(this);
    const char* idEnd = std::to_chars(id, id + sizeof id, index, 16).ptr;
    WriteText(archive, std::string_view(id, static_cast<std::size_t>(idEnd - id)));
    archive << label;
    const char* name = ArchiveName();
    WriteText(archive, name == nullptr ? std::string_view() : std::string_view(name));
    archive << Version();
    archive.WriteMemoryBlock(kSizePlaceholder, WrittenSizeBytes(archive.Version()));
}

bool BSmartObj::ReadPrefix(BArchive& archive, BString& id, BString& label, BString& className,
                           int& version, std::uint64_t& size)
{
    try {
        archive >> id >> label >> className;
    } catch (ARCHIVE_EXCEPTION) {
        return false;
    }
    std::uint64_t read = 0;
    if (!archive.ReadMemoryBlock(&version, sizeof version) ||
        !archive.ReadMemoryBlock(&read, ReadSizeBytes(archive.Version())))
        return false;
    size = read;
    return archive.IsGood();
}
