#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

/// What an archive knows of the objects at addresses: their indices, 1, 2, ... in order of first
/// mention (0 is null), and which are queued.
///
/// Open addressing with linear probing, at most two thirds full.
class PointerMap {
public:
    struct Entry {
        const void* pointer; // null marks a free place
        std::uint32_t index; // 0: not mentioned yet
        bool queued;         // the object waits for its record or has it
    };

    /// The entry of `pointer`, which is not null; made without an index when there is none. Good
    /// until the next call.
    Entry& FindOrAdd(const void* pointer);

    /// Gives the entry the next index unless it has one. False when 32 bits hold no further one.
    [[nodiscard]] bool Mention(Entry& entry) noexcept;

private:
    [[nodiscard]] Entry& Place(const void* pointer) const noexcept;
    void Grow();

    std::unique_ptr<Entry[]> m_entries;
    std::size_t m_capacity = 0; // a power of two, or 0
    std::size_t m_count = 0;
    std::uint32_t m_lastIndex = 0;
};
