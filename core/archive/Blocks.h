#pragma once

#include "core/platform/Apart.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
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
    static_assert(std::is_nothrow_move_constructible_v<T>); // growing loses none half-way

public:
    Blocks() noexcept = default;
    Blocks(Blocks&& other) noexcept { Swap(other); }
    Blocks& operator=(Blocks&& other) noexcept
    {
        Blocks taken(std::move(other));
        Swap(taken);
        return *this;
    }
    ~Blocks()
    {
        for (std::size_t i = 0; i < m_count; ++i)
            std::destroy_at(Place(i));
    }

    [[nodiscard]] std::size_t Count() const noexcept { return m_count; }

    [[nodiscard]] T& operator[](std::size_t i) noexcept
    {
        assert(i < m_count);
        return *Place(i);
    }
    [[nodiscard]] const T& operator[](std::size_t i) const noexcept
    {
        assert(i < m_count);
        return *Place(i);
    }

    /// What is thrown for want of memory leaves all as it was.
    T& Append(T element)
    {
        if (m_count == m_room)
            Grow();
        T* const appended = ::new (static_cast<void*>(Place(m_count))) T(std::move(element));
        ++m_count;
        return *appended;
    }

    void RemoveLast() noexcept
    {
        assert(m_count != 0);
        std::destroy_at(Place(--m_count));
    }

private:
    // Large enough for the system to take its memory back.
    static constexpr std::size_t kBlock = std::bit_floor(256 * 1024 / sizeof(T));
    static constexpr std::size_t kFewest = 8;
    static constexpr std::size_t kGrowth = 8;

    struct Deleter {
        void operator()(T* block) const noexcept { ::operator delete(block); }
    };
    using Block = std::unique_ptr<T, Deleter>; // the memory, not the elements

    [[nodiscard]] T* Place(std::size_t i) const noexcept
    {
        return m_blocks[i / kBlock].get() + i % kBlock;
    }
    void Swap(Blocks& other) noexcept
    {
        std::swap(m_blocks, other.m_blocks);
        std::swap(m_count, other.m_count);
        std::swap(m_room, other.m_room);
    }
    QD_APART void Grow()
    {
        const bool isFirst = m_room < kBlock;
        const std::size_t places =
            isFirst ? (std::clamp)(kGrowth * m_room, kFewest, kBlock) : kBlock;
        Block block(static_cast<T*>(::operator new(places * sizeof(T))));
        if (!isFirst || m_blocks.empty()) {
            m_blocks.push_back(std::move(block));
            m_room += places;
            return;
        }
        std::uninitialized_move_n(Place(0), m_count, block.get());
        std::destroy_n(Place(0), m_count);
        m_blocks.front() = std::move(block);
        m_room = places;
    }

    std::vector<Block> m_blocks;
    std::size_t m_count = 0;
    std::size_t m_room = 0; // elements that the blocks hold
};

} // namespace NArchive
