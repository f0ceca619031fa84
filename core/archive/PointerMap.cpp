#include "core/archive/PointerMap.h"

#include <cassert>

namespace NArchive {

namespace {

// The hash is not the seeded one: nobody but the allocator chooses addresses. Objects are 16 bytes
// apart at least. Those of a group, 256 bytes of memory, stand side by side, which spares cache
// misses in a tree that was built in one go; the product tells where, and spreads groups that
// follow one another evenly.
//
// Larger groups would spare more, and lie one over the other: pages with blocks of one size make
// some of them dense and others empty, and where chance lays a few dense ones of 64 KiB over each
// other there are thousands of steps to a free slot. Of two common factors this one had by far
// fewer steps for objects at equal distances, from 16 bytes to a MiB.
std::uint32_t HashOf(const void* pointer) noexcept
{
    constexpr std::uint64_t factor = 0xD1B54A32D192ED03u;
    const std::uint64_t address = reinterpret_cast<std::uintptr_t>(pointer);
    const std::uint64_t group = (address >> 8) * factor >> 32;
    return static_cast<std::uint32_t>(group + ((address >> 4) & 0xF));
}

} // namespace

std::uint32_t PointerMap::FindOrAdd(const void* pointer)
{
    assert(pointer != nullptr);
    const std::uint32_t hash = HashOf(pointer);
    Slot& slot = m_slots.FindOrFree(hash, [this, pointer](const Slot& other) {
        return m_entries[other.place - 1].pointer == pointer;
    });
    if (!slot.IsFree())
        return slot.place - 1;
    if (m_entries.Count() >= kNone - 1)
        return kNone;
    const auto number = static_cast<std::uint32_t>(m_entries.Count());
    m_entries.Append({pointer});
    m_slots.Fill(slot, {number + 1, hash});
    return number;
}

} // namespace NArchive
