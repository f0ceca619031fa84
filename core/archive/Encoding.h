#pragma once

#include <cassert>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

class BArchive;
class BlockReader;

// How an archive writes what more than one of its parts reads; the values of payloads stand at the
// head of BArchive.cpp.
namespace NArchive {

/// A narrow text: this tag, a 4-byte length, and that many bytes.
inline constexpr char kTextTag = 'S';
inline constexpr std::uint64_t kTagAndLengthSize = 5;

/// Gathers short fields and hands them to an archive in one piece, as handing one over takes longer
/// than writing it. Longer ones pass through.
class FieldWriter {
public:
    explicit FieldWriter(BArchive& archive) noexcept
        : m_archive(archive)
    {}
    FieldWriter(const FieldWriter&) = delete;
    FieldWriter& operator=(const FieldWriter&) = delete;

    void Put(const void* bytes, std::uint64_t size)
    {
        if (size > sizeof m_bytes - m_used && !MakeRoom(bytes, size))
            return;
        if (size != 0)
            std::memcpy(m_bytes + m_used, bytes, size);
        m_used += size;
    }
    /// `ThrowError()` where 32 bits do not hold the text's length.
    void PutText(std::string_view text)
    {
        if (text.size() > (std::numeric_limits<std::uint32_t>::max)())
            RefuseText();
        const auto length = static_cast<std::uint32_t>(text.size());
        // Each at once to its place: the processor waits where it is to read bytes in another
        // grouping than it has just written them in.
        Put(&kTextTag, sizeof kTextTag);
        Put(&length, sizeof length);
        Put(text.data(), text.size());
    }
    /// To be called at the end.
    void HandOver();

private:
    [[nodiscard]] bool MakeRoom(const void* bytes, std::uint64_t size);
    void RefuseText() const;

    BArchive& m_archive;
    std::uint64_t m_used = 0;
    char m_bytes[192]; // an object header with names of a usual length
};

void WriteText(BArchive& archive, std::string_view text);

/// Where the narrow text that begins `offset` bytes behind the reader's position ends, counted from
/// there as well; none when the text is not there as a whole. The position stays.
[[nodiscard]] std::optional<std::uint64_t> EndOfText(BlockReader& reader, std::uint64_t offset);

/// The text that begins with its tag at `start`, where it is as a whole.
[[nodiscard]] inline std::string_view TextAt(const char* start) noexcept
{
    assert(*start == kTextTag);
    std::uint32_t length;
    std::memcpy(&length, start + 1, sizeof length);
    return {start + kTagAndLengthSize, length};
}

/// Bytes of a reference to an object, which is its index.
[[nodiscard]] constexpr std::uint64_t ReferenceSize(int archiveVersion) noexcept
{
    return archiveVersion <= 6 ? 4 : 8;
}

/// In front of each class name, but for those of old files.
inline constexpr std::string_view kClassKeyword = "class ";

[[nodiscard]] std::string WithKeyword(std::string_view className);

} // namespace NArchive
