#pragma once

#include "core/platform/WideText.h"

#include <cassert>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

class BArchive;
class BSmartObj;
class BlockReader;

// How an archive writes what more than one of its parts reads; the values of payloads stand at the
// head of BArchive.cpp.
namespace NArchive {

/// A narrow text: this tag, a 4-byte length, and that many bytes.
inline constexpr char kTextTag = 'S';
inline constexpr std::uint64_t kTagAndLengthSize = 5;

/// Up to 8 characters, the first one in the lowest byte.
struct ShortText {
    std::uint64_t bytes = 0;
    std::uint64_t size = 0;
};

/// Writes some fields of a size that is known, at once to their place in the archive's memory: to
/// hand each over takes longer than to write it. What is too much for that memory is handed over.
class FieldWriter {
public:
    /// Nothing else is written to `archive` until `End`.
    FieldWriter(BArchive& archive, std::uint64_t size)
        : m_archive(archive)
        , m_start(RoomIn(archive, size))
        , m_next(m_start)
        , m_left(size)
    {}
    FieldWriter(const FieldWriter&) = delete;
    FieldWriter& operator=(const FieldWriter&) = delete;

    template <class T>
    void Put(T number) requires std::integral<T>
    {
        assert(sizeof number <= m_left);
        m_left -= sizeof number;
        if (m_start == nullptr) {
            HandOver(m_archive, static_cast<std::uint64_t>(number), sizeof number);
            return;
        }
        std::memcpy(m_next, &number, sizeof number);
        m_next += sizeof number;
    }
    [[nodiscard]] static constexpr std::uint64_t SizeOf(std::string_view text) noexcept
    {
        return kTagAndLengthSize + text.size();
    }
    [[nodiscard]] static constexpr std::uint64_t SizeOf(ShortText text) noexcept
    {
        return kTagAndLengthSize + text.size;
    }
    /// `ThrowError()` where 32 bits do not hold the text's length.
    void PutText(std::string_view text)
    {
        if (text.size() > (std::numeric_limits<std::uint32_t>::max)())
            RefuseText(m_archive);
        // Each at once to its place: the processor waits where it is to read bytes in another
        // grouping than it has just written them in.
        Put(kTextTag);
        Put(static_cast<std::uint32_t>(text.size()));
        PutBytes(text.data(), text.size());
    }
    [[nodiscard]] static constexpr std::uint64_t SizeOf(platform::WideView text) noexcept
    {
        return sizeof(std::int32_t) + text.size() * sizeof(WChar);
    }
    /// The same for 31 bits.
    void PutText(platform::WideView text)
    {
        if (text.size() > (std::numeric_limits<std::int32_t>::max)())
            RefuseText(m_archive);
        Put(static_cast<std::int32_t>(text.size()));
        PutBytes(text.data(), text.size() * sizeof(WChar));
    }
    /// Seven bytes at least are put behind the text: it is written as one number over their place,
    /// which takes less than to copy as many characters as it has.
    void PutText(ShortText text)
    {
        Put(kTextTag);
        Put(static_cast<std::uint32_t>(text.size));
        if (m_start == nullptr) {
            HandOver(m_archive, text.bytes, text.size);
        } else {
            assert(sizeof text.bytes <= m_left);
            std::memcpy(m_next, &text.bytes, sizeof text.bytes);
            m_next += text.size;
        }
        m_left -= text.size;
    }
    /// A reference of `ReferenceSize` bytes; queues the object.
    void PutReference(const BSmartObj* object, std::uint64_t size)
    {
        const std::uint32_t index = object != nullptr ? IndexOf(m_archive, *object) : 0;
        if (size == sizeof index)
            Put(index);
        else
            Put(std::uint64_t{index});
    }
    /// To be called when all is put.
    void End()
    {
        assert(m_left == 0);
        if (m_start != nullptr)
            Fill(m_archive, static_cast<std::uint64_t>(m_next - m_start));
    }

private:
    // With the archive and not with the writer, which so has its fields in registers.
    [[nodiscard]] static char* RoomIn(BArchive& archive, std::uint64_t size); // see BArchive.cpp
    static void Fill(BArchive& archive, std::uint64_t size) noexcept;         // the same
    static std::uint32_t IndexOf(BArchive& archive, const BSmartObj& object); // the same
    static void HandOver(BArchive& archive, const void* bytes, std::uint64_t size);
    // By its value: one whose address is told stands in memory, and its function is guarded.
    static void HandOver(BArchive& archive, std::uint64_t number, std::uint64_t size);
    static void RefuseText(const BArchive& archive);

    void PutBytes(const void* bytes, std::uint64_t size)
    {
        assert(size <= m_left);
        m_left -= size;
        if (m_start == nullptr) {
            HandOver(m_archive, bytes, size);
            return;
        }
        if (size != 0)
            std::memcpy(m_next, bytes, size);
        m_next += size;
    }

    BArchive& m_archive;
    char* m_start; // null where fields are handed over
    char* m_next;
    std::uint64_t m_left;
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
