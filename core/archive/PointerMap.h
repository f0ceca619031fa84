#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

/// Numbers that an archive gives to addresses: null is 0, then 1, 2, ... in order of first mention.
///
/// Open addressing with linear probing, at most two thirds full.
class PointerMap {
public:
    struct Entry {
        const void* pointer; // null marks a free place
        std::uint32_t index;
        bool queued; // the object waits for its record or has it
    };

    /// The entry of `pointer`, which is not null; made with the next index when there is none.
    /// Good until the next call. `Count()` tells whether one was made.
    Entry& FindOrAdd(const void* pointer);

    /// Entries, that of null included: also the index that the next one gets.
    [[nodiscard]] std::uint64_t Count() const noexcept { return m_count; }

private:
    [[nodiscard]] Entry& Place(const void* pointer) const noexcept;
    void Grow();

    std::unique_ptr<Entry[]> m_entries;
    std::size_t m_capacity = 0; // a power of two, or 0
    std::uint64_t m_count = 1;
};
