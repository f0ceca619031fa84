#include "core/archive/RecordWriter.h"

#include "core/platform/SystemError.h"

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <utility>

// The bytes gather here and not in the stream, as a stream would write its buffer at each step back
// to patch a record's size: two system calls a record, for records of some hundred bytes. Bytes go
// to the file when their records are complete, or a size would be patched there in each piece.

namespace {

// A small archive keeps a small buffer; enlarged twice it holds a piece and a record of a usual
// size, and past the largest size the file takes the bytes.
constexpr std::uint64_t kSmallestBuffer = 5 * 1024;
constexpr std::uint64_t kLargestBuffer = 256 * 1024;

} // namespace

namespace NArchive {

RecordWriter::RecordWriter(platform::Stream stream)
    : m_stream(std::move(stream))
{
    if (m_stream)
        std::setvbuf(m_stream.get(), nullptr, _IONBF, 0); // the gathered bytes are the buffer
    else
        Fail();
}

void RecordWriter::HandOverPieces()
{
    const std::uint64_t end = Position() / kPiece * kPiece;
    const std::uint64_t size = end - std::exchange(m_bufferStart, end);
    if (m_stream)
        WriteToFile(m_buffer.get(), size);
    m_used -= size;
    std::memmove(m_buffer.get(), m_buffer.get() + size, m_used);
}

void RecordWriter::WriteBeyondBuffer(const void* bytes, std::uint64_t size)
{
    if (MakeRoom(size)) {
        std::memcpy(m_buffer.get() + m_used, bytes, size);
        m_used += size;
    } else if (m_stream) {
        WriteToFile(bytes, size);
        m_bufferStart += size;
    }
}

void RecordWriter::PutBeyondBuffer(std::uint64_t bits, std::uint64_t size)
{
    WriteBeyondBuffer(&bits, size);
}

// False where the file is not good, and where the bytes are too many: then the memory is empty.
bool RecordWriter::MakeRoom(std::uint64_t size)
{
    if (!m_stream || (size >= kLargestBuffer - m_used && (!Flush() || size >= kLargestBuffer)))
        return false;
    if (size <= m_capacity - m_used)
        return true;
    const std::uint64_t capacity =
        std::min(std::max({kSmallestBuffer, 4 * m_capacity, m_used + size}), kLargestBuffer);
    auto larger = std::make_unique_for_overwrite<char[]>(capacity);
    if (m_used != 0)
        std::memcpy(larger.get(), m_buffer.get(), m_used);
    m_buffer = std::move(larger);
    m_capacity = capacity;
    return true;
}

void RecordWriter::PatchFile(std::uint64_t position, const void* bytes, std::uint64_t size)
{
    Flush();
    if (!m_stream)
        return;
    if (!platform::Seek(m_stream.get(), position)) {
        Fail();
        return;
    }
    WriteToFile(bytes, size);
    if (m_stream && !platform::Seek(m_stream.get(), m_bufferStart))
        Fail();
}

void RecordWriter::TakeBack(std::uint64_t position) noexcept
{
    assert(position <= Position());
    if (position >= m_bufferStart) {
        m_used = position - m_bufferStart;
        return;
    }
    m_used = 0;
    m_bufferStart = position;
    if (m_stream && !platform::Truncate(m_stream.get(), position))
        Fail();
}

bool RecordWriter::Flush()
{
    const std::uint64_t size = std::exchange(m_used, 0);
    m_bufferStart += size;
    if (m_stream && size != 0)
        WriteToFile(m_buffer.get(), size);
    return IsGood();
}

// A file that did not take all bytes is not written any further: what follows would stand in the
// wrong place.
void RecordWriter::WriteToFile(const void* bytes, std::uint64_t size)
{
    if (std::fwrite(bytes, 1, size, m_stream.get()) != size)
        Fail();
}

void RecordWriter::Fail() noexcept
{
    m_error = platform::LastErrorCode();
    m_stream.reset();
}

} // namespace NArchive
