#include "core/archive/PointerMap.h"

#include <cassert>
#include <limits>

namespace NArchive {

// The hash is not the seeded one: nobody but the allocator chooses addresses. Objects are 16 bytes
// apart at least. Neighbours in memory stay neighbours in the table, which spares cache misses in a
// tree that was built in one go; the page number scatters the rest.
std::uint64_t PointerMap::Entry::Hash() const noexcept
{
    const std::uint64_t address = reinterpret_cast<std::uintptr_t>(pointer);
    const std::uint64_t page = (address >> 16) * 0x9E3779B97F4A7C15u;
    return (address >> 4) + (page >> 32);
}

PointerMap::Entry& PointerMap::FindOrAdd(const void* pointer)
{
    assert(pointer != nullptr);
    const Entry added{pointer};
    Entry& entry = m_entries.FindOrFree(
        added.Hash(), [pointer](const Entry& other) { return other.pointer == pointer; });
    if (entry.IsFree())
        m_entries.Fill(entry, added);
    return entry;
}

bool PointerMap::Mention(Entry& entry) noexcept
{
    assert(!entry.IsFree());
    if (entry.index != 0)
        return true;
    if (m_lastIndex == std::numeric_limits<std::uint32_t>::max())
        return false;
    entry.index = ++m_lastIndex;
    return true;
}

} // namespace NArchive
