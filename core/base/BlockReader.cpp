#include "core/base/BlockReader.h"

#include "core/platform/SystemError.h"

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <limits>
#include <utility>

// A block of our own in front of the stream, and none of the stream's.
//
// The pieces of an archive or a profile are a few bytes each. A call of `fread` for each takes a
// lock and as long as all the rest of reading, and each seek throws away what the stream had
// buffered. So small reads are copies within the block, `Read` inline up to there, and the file is
// asked for 4 to 256 KiB at once. A block is never larger than what the file has: a file that
// declares sizes it does not hold costs no memory.

namespace {

// A reader that jumps reads little ahead; one that goes straight on reads four times as much each
// time: each block is memory that is touched anew. To leave out less than a small block is to go
// on: reading that much costs no more than a call.
constexpr std::uint64_t kSmallestBlock = 4 * 1024;
constexpr std::uint64_t kLargestBlock = 256 * 1024;

constexpr std::uint64_t kUnknown = std::numeric_limits<std::uint64_t>::max();

} // namespace

BlockReader::BlockReader(platform::Stream stream)
    : m_owned(std::move(stream))
    , m_stream(m_owned.get())
    , m_readSize(kSmallestBlock)
    , m_streamPosition(0)
{
    Measure();
    if (m_stream != nullptr)
        std::setvbuf(m_stream, nullptr, _IONBF, 0); // the block is the buffer
}

BlockReader::BlockReader(std::FILE& stream)
    : m_stream(&stream)
    , m_readSize(kSmallestBlock)
    , m_streamPosition(kUnknown)
{
    Measure();
}

void BlockReader::Close() noexcept
{
    m_owned.reset();
    m_stream = nullptr;
    m_size = m_limit = 0;
    m_blockSize = 0;
    MoveTo(0);
}

bool BlockReader::ReadBeyondBlock(void* out, std::uint64_t size)
{
    const std::uint64_t position = Position();
    assert(position <= m_limit && m_limit <= m_size);
    if (size > Left()) {
        MoveTo(m_limit);
        return false;
    }
    auto* bytes = static_cast<char*>(out);
    if (size < kSmallestBlock) {
        const char* found = Peek(size);
        if (found == nullptr)
            return false;
        std::memcpy(bytes, found, size);
        m_next += size;
        return true;
    }
    // Large pieces go straight to their place: first what the block has, then the rest.
    const std::uint64_t had = AtHandSize();
    if (had != 0)
        std::memcpy(bytes, m_next, had);
    if (!ReadAt(position + had, bytes + had, size - had))
        return false;
    MoveTo(position + size);
    return true;
}

// Puts a block in place that begins at the position and holds at least `size` bytes.
bool BlockReader::Fetch(std::uint64_t size)
{
    if (size > Left())
        return false;
    const std::uint64_t position = Position();
    const std::uint64_t blockEnd = m_blockStart + m_blockSize;
    const bool goesOn =
        m_blockSize != 0 && position >= m_blockStart && position < blockEnd + kSmallestBlock;
    m_readSize = goesOn ? std::min(4 * m_readSize, kLargestBlock) : kSmallestBlock;
    const std::uint64_t kept = goesOn && position < blockEnd ? blockEnd - position : 0;
    const std::uint64_t wanted = std::min(std::max(size, m_readSize), m_size - position);

    if (wanted > m_blockCapacity) {
        auto larger = std::make_unique_for_overwrite<char[]>(wanted);
        if (kept != 0)
            std::memcpy(larger.get(), m_block.get() + (position - m_blockStart), kept);
        m_block = std::move(larger);
        m_blockCapacity = wanted;
    } else if (kept != 0) {
        std::memmove(m_block.get(), m_block.get() + (position - m_blockStart), kept);
    }
    m_blockStart = position;
    m_blockSize = kept;
    if (wanted > kept && !ReadAt(position + kept, m_block.get() + kept, wanted - kept))
        return false;
    m_blockSize = std::max(wanted, kept);
    MoveTo(position);
    return true;
}

bool BlockReader::ReadAt(std::uint64_t position, char* out, std::uint64_t size)
{
    assert(m_stream != nullptr); // without a file nothing is left to read
    const bool there = (position == m_streamPosition || platform::Seek(m_stream, position)) &&
                       std::fread(out, 1, size, m_stream) == size;
    m_streamPosition = position + size;
    // One failure is for good: what a second try would read is not what stands at the place.
    if (!there)
        Fail(std::feof(m_stream) != 0 ? 0 : platform::LastErrorCode());
    return there;
}

void BlockReader::Fail(int error) noexcept
{
    assert(!m_failure);
    m_failure = error;
    Close();
}

void BlockReader::Measure()
{
    const std::optional<std::uint64_t> size =
        m_stream != nullptr ? platform::FileSize(m_stream) : std::nullopt;
    if (!size)
        Fail(platform::LastErrorCode());
    m_size = m_limit = size.value_or(0);
}
