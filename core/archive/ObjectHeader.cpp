#include "core/archive/ObjectHeader.h"

#include "core/archive/BArchive.h"
#include "core/archive/Encoding.h"
#include "core/archive/RecordWriter.h"
#include "core/base/BSmartObj.h"
#include "core/base/BlockReader.h"

#include <cassert>
#include <cstring>
#include <limits>
#include <utility>

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

constexpr std::uint64_t kSizePlaceholder = 0xEAEA'EAEA'EAEA'EAEA;

constexpr std::uint64_t WrittenSizeBytes(int archiveVersion)
{
    return archiveVersion == 6 ? 4 : 8;
}

// Lower-case digits without leading zeros.
NArchive::ShortText HexDigits(std::uint32_t number) noexcept
{
    NArchive::ShortText digits;
    do {
        const char digit = "0123456789abcdef"[number & 0xF];
        digits.bytes = digits.bytes << 8 | static_cast<unsigned char>(digit);
        ++digits.size;
        number >>= 4;
    } while (number != 0);
    return digits;
}

constexpr std::uint64_t ReadSizeBytes(int archiveVersion)
{
    return archiveVersion >= 8 ? 8 : 4;
}

// Takes the text that stands `size` bytes behind the start, and makes `size` where it ends. False
// where there are fewer bytes than it takes to tell, which `size` is then, and where the text lacks
// its tag, with `size` 0.
bool TakeText(std::string_view bytes, std::uint64_t& size, std::string_view& text)
{
    size += NArchive::kTagAndLengthSize;
    if (size > bytes.size())
        return false;
    const char* const start = bytes.data() + (size - NArchive::kTagAndLengthSize);
    if (*start != NArchive::kTextTag) {
        size = 0;
        return false;
    }
    text = NArchive::TextAt(start);
    size += text.size();
    return true;
}

// The size of the header that `bytes` begin with, which is taken into `header`; more bytes than
// there are where it takes more to tell, and 0 where they begin with none.
std::uint64_t TakeHeader(std::string_view bytes, int archiveVersion, NArchive::ObjectHeader& header)
{
    std::uint64_t size = 0;
    if (!TakeText(bytes, size, header.indexText) || !TakeText(bytes, size, header.label) ||
        !TakeText(bytes, size, header.className))
        return size;
    const std::uint64_t sizeBytes = ReadSizeBytes(archiveVersion);
    const std::uint64_t numbers = std::exchange(size, size + sizeof header.version + sizeBytes);
    if (size > bytes.size())
        return size;
    const char* const at = bytes.data() + numbers;
    std::memcpy(&header.version, at, sizeof header.version);
    std::uint32_t halves[2] = {};
    std::memcpy(&halves[0], at + sizeof header.version, sizeof halves[0]);
    if (sizeBytes == sizeof halves)
        std::memcpy(&halves[1], at + sizeof header.version + sizeof halves[0], sizeof halves[1]);
    header.payloadSize = std::uint64_t{halves[1]} << 32 | halves[0];
    return size;
}

} // namespace

namespace NArchive {

// Nearly always the header stands in the reader's block as a whole; otherwise it is fetched text by
// text, as each tells how much follows.
bool ReadObjectHeader(BlockReader& reader, int archiveVersion, ObjectHeader& header)
{
    std::string_view bytes = reader.AtHand();
    std::uint64_t size = TakeHeader(bytes, archiveVersion, header);
    while (size > bytes.size()) {
        const char* const more = reader.Peek(size);
        if (more == nullptr)
            return false;
        bytes = {more, size};
        size = TakeHeader(bytes, archiveVersion, header);
    }
    if (size == 0)
        return false;
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
    if (sizeBytes == sizeof size) // nearly always, and the compiler then knows how many bytes
        file.Patch(payloadStart - sizeof size, &size, sizeof size);
    else
        file.Patch(payloadStart - sizeBytes, &size, sizeBytes);
    return true;
}

} // namespace NArchive

void BSmartObj::WritePrefix(BArchive& archive, BString label) const
{
    using NArchive::FieldWriter;
    const NArchive::ShortText index = HexDigits(archive.MapPointerToIndex(this));
    const std::string_view labelText(label.CStr(), label.Length());
    const char* const name = ArchiveName();
    const std::string_view nameText = name == nullptr ? std::string_view() : name;
    const int version = Version();
    const std::uint64_t sizeBytes = WrittenSizeBytes(archive.Version());
    FieldWriter fields(archive, FieldWriter::SizeOf(index) + FieldWriter::SizeOf(labelText) +
                                    FieldWriter::SizeOf(nameText) + sizeof version + sizeBytes);
    fields.PutText(index);
    fields.PutText(labelText);
    fields.PutText(nameText);
    fields.Put(version);
    if (sizeBytes == sizeof kSizePlaceholder)
        fields.Put(kSizePlaceholder);
    else
        fields.Put(static_cast<std::uint32_t>(kSizePlaceholder));
    fields.End();
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
