#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class BArchive;
class BlockReader;

namespace NArchive {

class RecordWriter;

/// A narrow text in a file: this tag, a 4-byte length, and that many bytes.
inline constexpr char kTextTag = 'S';
inline constexpr std::uint64_t kTagAndLengthSize = 5;

/// In front of each class name, but for those of old files.
inline constexpr std::string_view kClassKeyword = "class ";

[[nodiscard]] std::string WithKeyword(std::string_view className);

/// Writes a narrow text; `ThrowError()` where 32 bits do not hold its length.
void WriteText(BArchive& archive, std::string_view text);

/// Where the narrow text that begins `offset` bytes behind the reader's position ends, counted from
/// there as well; none when the text is not there as a whole. The position stays.
[[nodiscard]] std::optional<std::uint64_t> EndOfText(BlockReader& reader, std::uint64_t offset);

/// What stands in front of an object's payload. The texts lie in the reader's block and are good
/// until its next read.
struct ObjectHeader {
    std::string_view indexText; // the index in hexadecimal
    std::string_view label;
    std::string_view className;
    int version = 0;               // of the class's payload
    std::uint64_t payloadSize = 0; // bytes
};

/// Reads the header at the reader's position and moves behind it. False when it ends early, a text
/// lacks its tag, or the payload would not end before the reader's limit.
[[nodiscard]] bool ReadObjectHeader(BlockReader& reader, int archiveVersion, ObjectHeader& header);

/// Puts the size of the payload, which goes from `payloadStart` to the writer's position, into the
/// header in front of it. False, and nothing is written, where that version's headers have no room
/// for the size.
[[nodiscard]] bool PatchPayloadSize(RecordWriter& file, std::uint64_t payloadStart,
                                    int archiveVersion);

} // namespace NArchive
