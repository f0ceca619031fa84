#pragma once

#include "core/platform/FileStream.h"

#include <cassert>
#include <cstdint>
#include <cstring>
#include <memory>

namespace NArchive {

/// Writes an archive's file: bytes gather in memory, records are patched there, and the file gets
/// large pieces of whole records' bytes.
///
/// A record too large for the memory at hand goes to the file before it is complete; its size is
/// then patched in the file. A failed write closes the file.
class RecordWriter {
public:
    /// Takes over a stream that is open for binary writing; without one nothing is written.
    explicit RecordWriter(platform::Stream stream);
    RecordWriter(const RecordWriter&) = delete;
    RecordWriter& operator=(const RecordWriter&) = delete;

    [[nodiscard]] bool IsGood() const noexcept { return m_stream != nullptr; }

    /// What the system said when the file failed; 0 as long as it is good.
    [[nodiscard]] int Error() const noexcept { return m_error; }

    void Write(const void* bytes, std::uint64_t size)
    {
        if (size <= m_capacity - m_used) {
            if (size != 0)
                std::memcpy(m_buffer.get() + m_used, bytes, size);
            m_used += size;
        } else {
            WriteBeyondBuffer(bytes, size);
        }
    }

    /// The same for a number, whose address nobody takes: so it stays in a register.
    template <class T>
    void Put(T number)
    {
        if (sizeof number <= m_capacity - m_used) {
            std::memcpy(m_buffer.get() + m_used, &number, sizeof number);
            m_used += sizeof number;
        } else {
            std::uint64_t bits = 0;
            std::memcpy(&bits, &number, sizeof number);
            PutBeyondBuffer(bits, sizeof number);
        }
    }

    /// Room in memory for the next `size` bytes, to be filled before anything else is asked of the
    /// writer; null where there is none: for more than it ever has, and when the file is not good.
    [[nodiscard]] char* Room(std::uint64_t size)
    {
        return size <= m_capacity - m_used || MakeRoom(size) ? m_buffer.get() + m_used : nullptr;
    }
    /// `size` bytes were filled.
    void Fill(std::uint64_t size) noexcept { m_used += size; }

    /// Place in the file at which the next byte will stand.
    [[nodiscard]] std::uint64_t Position() const noexcept { return m_bufferStart + m_used; }

    /// Overwrites bytes that were written before `Position()`.
    void Patch(std::uint64_t position, const void* bytes, std::uint64_t size)
    {
        assert(position <= Position() && size <= Position() - position);
        if (position >= m_bufferStart)
            std::memcpy(m_buffer.get() + (position - m_bufferStart), bytes, size);
        else
            PatchFile(position, bytes, size);
    }

    /// A record ends here: what was written so far is neither patched nor taken back any more.
    void EndRecord()
    {
        if (m_used >= kPiece)
            HandOverPieces();
    }

    /// Takes back all that was written from `position` on.
    void TakeBack(std::uint64_t position) noexcept;

    /// Hands all bytes to the system. False when the file is not good.
    bool Flush();

private:
    // File systems take what fills whole pieces of the file, from where one begins, in less time.
    static constexpr std::uint64_t kPiece = 64 * 1024;

    void HandOverPieces();
    void WriteBeyondBuffer(const void* bytes, std::uint64_t size);
    void PutBeyondBuffer(std::uint64_t bits, std::uint64_t size);
    [[nodiscard]] bool MakeRoom(std::uint64_t size);
    void PatchFile(std::uint64_t position, const void* bytes, std::uint64_t size);
    void WriteToFile(const void* bytes, std::uint64_t size);
    void Fail() noexcept;

    platform::Stream m_stream;
    std::unique_ptr<char[]> m_buffer;
    std::uint64_t m_capacity = 0;
    std::uint64_t m_used = 0;
    int m_error = 0;
    std::uint64_t m_bufferStart = 0; // place in the file of the buffer's first byte
};

} // namespace NArchive
