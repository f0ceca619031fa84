#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace NArchive {

/// Many small pieces of memory that are freed together.
class Scratch {
public:
    [[nodiscard]] void* Take(std::size_t size)
    {
        if (size > (std::numeric_limits<std::size_t>::max)() - kAlignment) // rounding up would wrap
            throw std::bad_alloc();
        size = (size + kAlignment - 1) / kAlignment * kAlignment;
        if (size > m_left) {
            const std::size_t chunkSize = (std::max)(size, kChunkSize);
            m_chunks.push_back(std::make_unique_for_overwrite<std::byte[]>(chunkSize));
            m_next = m_chunks.back().get();
            m_left = chunkSize;
        }
        m_left -= size;
        return std::exchange(m_next, m_next + size);
    }

private:
    static constexpr std::size_t kAlignment = 8;
    static constexpr std::size_t kChunkSize = 64 * 1024;

    std::vector<std::unique_ptr<std::byte[]>> m_chunks;
    std::byte* m_next = nullptr;
    std::size_t m_left = 0;
};

} // namespace NArchive
