#pragma once

#include <cstdint>
#include <vector>

/// Which slots of an array are taken, and which of them is the i-th.
///
/// One bit a slot, and the counts of 64 slots each in a Fenwick tree (Software: Practice and
/// Experience 24 (1994), 327), so that all takes O(log n) steps at most.
class TakenSlots {
public:
    /// The slots from `first` up to `end` are taken, `end` not included.
    TakenSlots(int capacity, int first, int end);

    /// To be called for a free slot.
    void Take(int slot) noexcept;
    /// To be called for a taken slot.
    void Free(int slot) noexcept;

    /// The slot that is taken as number `index`, from 0; there must be so many.
    [[nodiscard]] int At(int index) const noexcept;
    /// The first taken slot from `slot` on; there must be one.
    [[nodiscard]] int From(int slot) const noexcept;
    /// The last taken slot before `slot`; there must be one.
    [[nodiscard]] int Before(int slot) const noexcept;

private:
    void Count(int word, int change) noexcept;
    [[nodiscard]] int CountBefore(int word) const noexcept;

    std::vector<std::uint64_t> m_words;
    std::vector<std::int32_t> m_counts; // of the words that each place of a Fenwick tree covers
};
