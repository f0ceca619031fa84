#pragma once

#include <cstdint>
#include <string_view>

class BlockReader;

namespace NArchive {

class RecordWriter;

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
