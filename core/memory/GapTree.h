#pragma once

#include <algorithm>
#include <cstdint>

/// Finds room first fit: the first gap in a row of places that is large enough, whatever their
/// number, in logarithmic time.
///
/// The row is made of frames, one behind the other, and a frame of the places in it in the order of
/// their addresses; what closes it is a place of its own without size, the frame's end. Each place
/// knows the gap in front of it, which begins where the place before ends.
///
/// A treap (Seidel and Aragon, Algorithmica 16 (1996), 464) in which each node knows the largest
/// gaps of its subtrees. The nodes belong to the caller, who keeps them where they are while they
/// are in the tree. Not synchronised.
class GapTree {
public:
    class Place {
    public:
        Place() = default;
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;

        /// Where the gap in front begins.
        [[nodiscard]] char* GapStart() const noexcept { return m_start - m_gap; }
        [[nodiscard]] std::uint64_t Gap() const noexcept { return m_gap; }

    private:
        friend class GapTree;

        /// Of this and all below it.
        [[nodiscard]] std::uint64_t LargestGap() const noexcept
        {
            return (std::max)((std::max)(m_largestLeft, m_largestRight), m_gap);
        }

        char* m_start = nullptr;
        std::uint64_t m_size = 0;
        std::uint64_t m_gap = 0;
        std::uint64_t m_largestLeft = 0; // gap there
        std::uint64_t m_largestRight = 0;
        Place* m_parent = nullptr;
        Place* m_left = nullptr;
        Place* m_right = nullptr;
        std::uint32_t m_priority = 0; // not below that of a child
    };

    /// Adds a frame behind the others: one gap, closed by `end`.
    void AddFrame(Place& end, char* start, std::uint64_t size) noexcept;
    /// Takes out a frame in which nothing is placed.
    void RemoveFrame(Place& end) noexcept;

    /// The place behind the first gap of at least `size` bytes; null when there is none.
    [[nodiscard]] Place* FindGap(std::uint64_t size) const noexcept;
    /// Puts `place`, a new one, at the start of the gap in front of `next`, which has room for it.
    void Insert(Place& place, std::uint64_t size, Place& next) noexcept;
    /// Joins `place`, which is no frame's end, and the gaps on both its sides to one.
    void Remove(Place& place) noexcept;

private:
    void Link(Place& place, Place* parent, Place*& link) noexcept;
    void Unlink(Place& place) noexcept;
    void Raise(Place& place) noexcept;
    [[nodiscard]] Place*& LinkTo(Place& place) noexcept;
    static void TellAbove(const Place& place, std::uint64_t largest) noexcept;

    Place* m_root = nullptr;
    std::uint32_t m_random = 2463534242;
};
