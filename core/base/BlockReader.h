#pragma once

#include "core/platform/FileStream.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

/// Reads a file whose content is not trusted: in large blocks, and never past a limit.
///
/// The limit is the end of the file at first; a caller that knows where the piece that it reads
/// ends lowers it. A read that would pass the limit gives nothing and leaves the position at the
/// limit, so that a run of reads ends. Sizes that a file declares are to be compared with `Left()`
/// before anything is made of that size. One thread at a time.
class BlockReader {
public:
    /// Takes over a stream that is open for binary reading; without one the reader is not good.
    explicit BlockReader(platform::Stream stream);
    /// Reads a stream that stays the caller's and outlives the reader, from the start of the file
    /// on, wherever it stands; where it stands afterwards is unspecified.
    explicit BlockReader(std::FILE& stream);

    /// A file is open and none of its reads has failed. A read past the limit is no failure.
    [[nodiscard]] bool IsGood() const noexcept { return m_stream != nullptr; }

    /// What the system said of the read that failed: `IsGood` is false since then. 0 when the file
    /// ended before the size that it had; none when no read failed.
    [[nodiscard]] std::optional<int> Failure() const noexcept { return m_failure; }

    /// Lets go of the file, and closes one that was taken over; the reader is not good from then
    /// on.
    void Close() noexcept;

    [[nodiscard]] std::uint64_t Size() const noexcept { return m_size; }
    [[nodiscard]] std::uint64_t Position() const noexcept { return m_endPosition - AtHandSize(); }
    [[nodiscard]] std::uint64_t Limit() const noexcept { return m_limit; }

    /// Bytes from the position to the limit.
    [[nodiscard]] std::uint64_t Left() const noexcept { return m_limit - Position(); }

    /// Moves the limit, at most to the end of the file, and the position if it lies beyond.
    void SetLimit(std::uint64_t limit) noexcept { MoveTo(Position(), limit); }

    /// Moves the limit, at most to the end of the file, and the position, at most to the limit.
    void MoveTo(std::uint64_t position, std::uint64_t limit) noexcept
    {
        m_limit = (std::min)(limit, m_size);
        MoveTo(position);
    }
    /// Moves the position, at most to the limit.
    void MoveTo(std::uint64_t position) noexcept
    {
        position = (std::min)(position, m_limit);
        const std::uint64_t end = (std::min)(m_blockStart + m_blockSize, m_limit);
        const bool isInBlock = position >= m_blockStart && position < end;
        m_endPosition = isInBlock ? end : position;
        m_end = m_block.get() + (isInBlock ? end - m_blockStart : 0);
        m_next = m_end - (m_endPosition - position);
    }

    /// Copies `size` bytes to `out` and moves on; false, and nothing copied, when fewer are left.
    [[nodiscard]] bool Read(void* out, std::uint64_t size)
    {
        if (size > AtHandSize())
            return ReadBeyondBlock(out, size);
        if (size != 0)
            std::memcpy(out, m_next, size);
        m_next += size;
        return true;
    }

    /// The next `size` bytes where they stand in memory, good until the next call that reads; null
    /// when fewer are left. The position stays.
    [[nodiscard]] const char* Peek(std::uint64_t size)
    {
        return size <= AtHandSize() || Fetch(size) ? m_next : nullptr;
    }

    /// What stands in memory from the position up to the limit, maybe nothing, as long as with
    /// `Peek`: for who can tell from it how much is needed.
    [[nodiscard]] std::string_view AtHand() const noexcept
    {
        return std::string_view(m_next, AtHandSize());
    }

private:
    [[nodiscard]] std::uint64_t AtHandSize() const noexcept
    {
        return static_cast<std::uint64_t>(m_end - m_next);
    }
    [[nodiscard]] bool ReadBeyondBlock(void* out, std::uint64_t size);
    [[nodiscard]] bool Fetch(std::uint64_t size);
    [[nodiscard]] bool ReadAt(std::uint64_t position, char* out, std::uint64_t size);

    /// Of `m_stream`, which is let go of when its size cannot be told.
    void Measure();

    void Fail(int error) noexcept;

    platform::Stream m_owned;
    std::FILE* m_stream; // m_owned, or the caller's
    std::uint64_t m_size = 0;
    std::uint64_t m_limit = 0;
    // What is at hand, from the position on: the position itself is told by the end, so that a read
    // moves one pointer.
    const char* m_next = nullptr;
    const char* m_end = nullptr;
    std::uint64_t m_endPosition = 0; // place in the file of `m_end`, or of a position elsewhere

    std::unique_ptr<char[]> m_block;
    std::uint64_t m_blockStart = 0; // place in the file of the block's first byte
    std::uint64_t m_blockSize = 0;  // bytes of the file in the block
    std::uint64_t m_blockCapacity = 0;
    std::uint64_t m_readSize; // bytes to read ahead next time
    std::optional<int> m_failure;
    std::uint64_t m_streamPosition; // where the stream itself stands; the greatest if unknown
};
