#pragma once

#include "core/archive/Blocks.h"
#include "core/platform/ProbeTable.h"

#include <cstddef>
#include <cstdint>
#include <limits>

class BSmartObj;

namespace NArchive {

/// What an archive knows of objects: their indices, 1, 2, ... in order of first mention (0 is
/// null), and which are queued, in which order.
///
/// The entries stand in the order in which they were made, and a table of their numbers finds them:
/// where many places are free, each had better be small.
class PointerMap {
public:
    static constexpr std::uint32_t kNone = (std::numeric_limits<std::uint32_t>::max)();
    struct Entry {
        const void* pointer;
        std::uint32_t index = 0; // 0: not mentioned yet
        // 0, unless the object waits for its record or has it: then the number + 1 of the entry
        // that was queued after it, and `kNone` for the last.
        std::uint32_t next = 0;

        [[nodiscard]] bool IsQueued() const noexcept { return next != 0; }
    };

    /// The entry is good until the next one is made.
    struct Found {
        Entry* entry = nullptr;
        std::uint32_t number = kNone;
    };

    /// The entry of `object`; made without an index when there is none. Null when 32 bits hold no
    /// further number. An object that is known here lives on, unless it was not queued: then the
    /// next one at its address may have its entry.
    [[nodiscard]] Found FindOrAdd(const BSmartObj& object);
    /// The same for whatever is at `pointer`, which is not null.
    [[nodiscard]] Found FindOrAddAddress(const void* pointer);

    /// Good until the next entry is made.
    [[nodiscard]] Entry& operator[](std::uint32_t number) noexcept { return m_entries[number]; }

    /// The entry's index; it gets the next one unless it has one.
    [[nodiscard]] std::uint32_t Mention(Entry& entry) noexcept
    {
        // There are as many entries as indices at least, so 32 bits hold the next.
        if (entry.index == 0)
            entry.index = ++m_lastIndex;
        return entry.index;
    }

private:
    // Places are numbers of entries + 1, and 0 where there is none.

    static constexpr std::uint32_t kPageIds = 16;
    struct Page {
        std::uint32_t places[kPageIds] = {};
    };
    struct PageEntry {
        std::uint32_t page = 0;   // its number + 1
        std::uint32_t number = 0; // what its ids have in common
    };
    using Addresses = platform::ProbeTable<std::uint32_t>; // places

    static constexpr std::uint32_t kRecent = 8;

    [[nodiscard]] std::uint32_t* PlaceOf(std::uint32_t id);
    [[nodiscard]] std::uint32_t PageOf(std::uint32_t number);
    [[nodiscard]] bool AreIdsScattered() const noexcept;
    [[nodiscard]] Addresses::Place SlotOf(Addresses& addresses, const void* pointer) const;
    [[nodiscard]] Found Append(const void* pointer);
    void GoByAddress();

    Blocks<Entry> m_entries;
    std::uint32_t m_lastIndex = 0;
    bool m_goesByAddress = false;
    // Either finds the entries.
    platform::ProbeTable<PageEntry> m_pageIndex;
    Blocks<Page> m_pages;
    // Pages that were met with; a record mentions few, and the next one mostly the same.
    PageEntry m_recent[kRecent];
    Addresses m_addresses;
};

} // namespace NArchive
