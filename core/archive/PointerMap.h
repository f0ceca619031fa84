#pragma once

#include "core/platform/ProbeTable.h"

#include <cstdint>

namespace NArchive {

/// What an archive knows of the objects at addresses: their indices, 1, 2, ... in order of first
/// mention (0 is null), and which are queued.
class PointerMap {
public:
    struct Entry {
        const void* pointer = nullptr;
        std::uint32_t index = 0; // 0: not mentioned yet
        bool queued = false;     // the object waits for its record or has it

        [[nodiscard]] bool IsFree() const noexcept { return pointer == nullptr; }
        // The pointer itself is told from another as fast as a hash of it.
        [[nodiscard]] bool HasHash(std::uint64_t) const noexcept { return true; }
        [[nodiscard]] std::uint64_t Hash() const noexcept;
    };

    /// The entry of `pointer`, which is not null; made without an index when there is none. Good
    /// until the next call.
    Entry& FindOrAdd(const void* pointer);

    /// Gives the entry the next index unless it has one. False when 32 bits hold no further one.
    [[nodiscard]] bool Mention(Entry& entry) noexcept;

private:
    platform::ProbeTable<Entry> m_entries;
    std::uint32_t m_lastIndex = 0;
};

} // namespace NArchive
