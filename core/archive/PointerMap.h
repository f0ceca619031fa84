#pragma once

#include "core/archive/Blocks.h"
#include "core/platform/ProbeTable.h"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace NArchive {

/// What an archive knows of the objects at addresses: their indices, 1, 2, ... in order of first
/// mention (0 is null), and which are queued.
///
/// The entries stand in the order in which they were made, and a table of their numbers finds them:
/// where many slots are free, each had better be small.
class PointerMap {
public:
    struct Entry {
        const void* pointer;
        std::uint32_t index = 0; // 0: not mentioned yet
        bool queued = false;     // the object waits for its record or has it
    };
    static constexpr std::uint32_t kNone = (std::numeric_limits<std::uint32_t>::max)();

    /// The number of the entry of `pointer`, which is not null; made without an index when there is
    /// none. `kNone` when 32 bits hold no further number.
    [[nodiscard]] std::uint32_t FindOrAdd(const void* pointer);

    /// Good until the next entry is made.
    [[nodiscard]] Entry& operator[](std::uint32_t number) noexcept { return m_entries[number]; }

    /// The entry's index; it gets the next one unless it has one. 0 for `kNone`.
    [[nodiscard]] std::uint32_t Mention(std::uint32_t number) noexcept
    {
        if (number == kNone)
            return 0;
        // There are as many entries as indices at least, so 32 bits hold the next.
        Entry& entry = m_entries[number];
        if (entry.index == 0)
            entry.index = ++m_lastIndex;
        return entry.index;
    }

private:
    struct Slot {
        std::uint32_t place = 0; // number of the entry + 1
        std::uint32_t hash = 0;  // so that only the entry wanted is looked at

        [[nodiscard]] bool IsFree() const noexcept { return place == 0; }
        [[nodiscard]] bool HasHash(std::uint64_t other) const noexcept { return hash == other; }
        [[nodiscard]] std::uint64_t Hash() const noexcept { return hash; }
    };

    Blocks<Entry> m_entries;
    platform::ProbeTable<Slot> m_slots;
    std::uint32_t m_lastIndex = 0;
};

} // namespace NArchive
