#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class BArchive;
class BlockReader;

/// A narrow text in a file: this tag, a 4-byte length, and that many bytes.
inline constexpr char kTextTag = 'S';
inline constexpr std::uint64_t kTextPrefix = 5; // tag and length

/// In front of each class name, but for those of old files.
inline constexpr std::string_view kClassKeyword = "class ";

[[nodiscard]] std::string WithKeyword(std::string_view className);

/// Writes a narrow text; `ThrowError()` where 32 bits do not hold its length.
void WriteText(BArchive& archive, std::string_view text);

/// What stands in front of an object's payload. The texts lie in the reader's block and are good
/// until its next read.
struct ObjectHeader {
    std::string_view id; // the index in hexadecimal
    std::string_view label;
    std::string_view className;
    int version = 0;        // of the class's payload
    std::uint64_t size = 0; // bytes of the payload
};

/// Reads the header at the reader's position and moves behind it. False when it ends early, a text
/// lacks its tag, or the payload would not end before the reader's limit.
[[nodiscard]] bool ReadObjectHeader(BlockReader& reader, int archiveVersion, ObjectHeader& header);

/// Moves `offset`, counted from the reader's position, behind the narrow text that stands there.
/// False when the text is not there as a whole. The position stays.
[[nodiscard]] bool PeekText(BlockReader& reader, std::uint64_t& offset);
