#pragma once

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstddef>
#include <utility>
#include <vector>

namespace NArchive {

/// An array for what an archive keeps of each object, of which nobody knows how many there will be.
///
/// It grows block by block: an array in one piece would be there twice while it grows, and be empty
/// for a half afterwards. The first block grows as it is filled, so that a small archive stays
/// small, and only within it do elements move: seldom, as it grows by a lot, of which the system
/// gives what is used.
template <class T>
class Blocks {
public:
    [[nodiscard]] std::size_t Count() const noexcept { return m_count; }

    [[nodiscard]] T& operator[](std::size_t i) noexcept
    {
        assert(i < m_count);
        return m_blocks[i / kBlock][i % kBlock];
    }
    [[nodiscard]] const T& operator[](std::size_t i) const noexcept
    {
        return const_cast<Blocks&>(*this)[i];
    }

    /// What is thrown for want of memory leaves all as it was.
    void Append(T element)
    {
        if (m_count % kBlock == 0)
            AddBlock();
        std::vector<T>& block = m_blocks.back();
        if (block.size() == block.capacity())
            block.reserve((std::min)(kGrowth * block.size(), kBlock));
        block.push_back(std::move(element));
        ++m_count;
    }

    void RemoveLast() noexcept
    {
        assert(m_count != 0);
        --m_count;
        m_blocks.back().pop_back();
        if (m_blocks.back().empty())
            m_blocks.pop_back();
    }

private:
    // Large enough for the system to take its memory back.
    static constexpr std::size_t kBlock = std::bit_floor(256 * 1024 / sizeof(T));
    static constexpr std::size_t kFewest = 8;
    static constexpr std::size_t kGrowth = 8;

    void AddBlock()
    {
        std::vector<T> block;
        block.reserve(m_count == 0 ? kFewest : kBlock);
        m_blocks.push_back(std::move(block));
    }

    std::vector<std::vector<T>> m_blocks; // none is empty
    std::size_t m_count = 0;
};

} // namespace NArchive
