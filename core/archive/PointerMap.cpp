#include "core/archive/PointerMap.h"

#include <limits>

PointerMap::Entry& PointerMap::FindOrAdd(const void* pointer)
{
    if (3 * (m_count + 1) > 2 * m_capacity)
        Grow();
    Entry& entry = Place(pointer);
    if (entry.pointer == nullptr) {
        entry.pointer = pointer;
        ++m_count;
    }
    return entry;
}

bool PointerMap::Mention(Entry& entry) noexcept
{
    if (entry.index != 0)
        return true;
    if (m_lastIndex == std::numeric_limits<std::uint32_t>::max())
        return false;
    entry.index = ++m_lastIndex;
    return true;
}

PointerMap::Entry& PointerMap::Place(const void* pointer) const noexcept
{
    // Objects are 16 bytes apart at least. Neighbours in memory stay neighbours in the table, which
    // spares cache misses in a tree that was built in one go; the page number scatters the rest.
    const auto address = reinterpret_cast<std::uintptr_t>(pointer);
    const std::uint64_t page = (address >> 16) * 0x9E3779B97F4A7C15u;
    std::size_t at = static_cast<std::size_t>((address >> 4) + (page >> 32)) & (m_capacity - 1);
    while (m_entries[at].pointer != nullptr && m_entries[at].pointer != pointer)
        at = (at + 1) & (m_capacity - 1);
    return m_entries[at];
}

void PointerMap::Grow()
{
    const std::size_t oldCapacity = m_capacity;
    const std::size_t capacity = oldCapacity == 0 ? 16 : 2 * oldCapacity;
    auto old = std::make_unique<Entry[]>(capacity); // what throws comes first
    old.swap(m_entries);
    m_capacity = capacity;
    for (std::size_t i = 0; i < oldCapacity; ++i) {
        if (old[i].pointer != nullptr)
            Place(old[i].pointer) = old[i];
    }
}
