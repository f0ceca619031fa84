#include "core/archive/ObjectHeader.h"

#include "core/archive/BArchive.h"
#include "core/archive/Encoding.h"
#include "core/archive/RecordWriter.h"
#include "core/base/BSmartObj.h"
#include "core/base/BlockReader.h"

#include <cassert>
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
//
// `BSmartObj::WritePrefix` and `ReadPrefix` are defined here and not beside their class: they speak
// the archive's language, and the folder of `BSmartObj` stands below that of the archive. So all
// that knows the layout of the header stands in this file.

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

std::string_view TakeText(const char*& at)
{
    const std::string_view text = NArchive::TextAt(at);
    at = text.data() + text.size();
    return text;
}

} // namespace

namespace NArchive {

bool ReadObjectHeader(BlockReader& reader, int archiveVersion, ObjectHeader& header)
{
    const std::optional<std::uint64_t> label = EndOfText(reader, 0);
    const std::optional<std::uint64_t> className = label ? EndOfText(reader, *label) : label;
    const std::optional<std::uint64_t> end = className ? EndOfText(reader, *className) : className;
    if (!end)
        return false;
    const std::uint64_t sizeBytes = ReadSizeBytes(archiveVersion);
    const std::uint64_t size = *end + sizeof header.version + sizeBytes;
    const char* at = reader.Peek(size);
    if (at == nullptr)
        return false;
    header.indexText = TakeText(at);
    header.label = TakeText(at);
    header.className = TakeText(at);
    std::memcpy(&header.version, at, sizeof header.version);
    header.payloadSize = 0;
    std::memcpy(&header.payloadSize, at + sizeof header.version, sizeBytes);
    reader.MoveTo(reader.Position() + size);
    return header.payloadSize <= reader.Left();
}

bool PatchPayloadSize(RecordWriter& file, std::uint64_t payloadStart, int archiveVersion)
{
    assert(payloadStart <= file.Position());
    const std::uint64_t size = file.Position() - payloadStart;
    const std::uint64_t sizeBytes = WrittenSizeBytes(archiveVersion);
    if (sizeBytes == 4 && size > std::numeric_limits<std::int32_t>::max())
        return false;
    file.Patch(payloadStart - sizeBytes, &size, sizeBytes);
    return true;
}

} // namespace NArchive

void BSmartObj::WritePrefix(BArchive& archive, BString label) const
{
    char digits[16];
    const unsigned int index = archive.MapPointerToIndex(this);
    const char* end = std::to_chars(digits, digits + sizeof digits, index, 16).ptr;
    NArchive::WriteText(archive, std::string_view(digits, static_cast<std::size_t>(end - digits)));
    archive << label;
    const char* name = ArchiveName();
    NArchive::WriteText(archive, name == nullptr ? std::string_view() : std::string_view(name));
    archive << Version();
    archive.WriteMemoryBlock(kSizePlaceholder, WrittenSizeBytes(archive.Version()));
}

bool BSmartObj::ReadPrefix(BArchive& archive, BString& indexText, BString& label,
                           BString& className, int& version, std::uint64_t& payloadSize)
{
    try {
        archive >> indexText >> label >> className;
    } catch (ARCHIVE_EXCEPTION) {
        return false;
    }
    std::uint64_t read = 0;
    if (!archive.ReadMemoryBlock(&version, sizeof version) ||
        !archive.ReadMemoryBlock(&read, ReadSizeBytes(archive.Version())))
        return false;
    payloadSize = read;
    return archive.IsGood();
}
