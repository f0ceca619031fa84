#include "core/archive/PointerMap.h"

#include <cassert>

namespace NArchive {

namespace {

// The hash is not the seeded one: nobody but the allocator chooses addresses. Objects are 16 bytes
// apart at least. Neighbours in memory stay neighbours in the table, which spares cache misses in a
// tree that was built in one go.
//
// So 64 KiB of memory, a page here, fill a stretch of the table, few of whose slots have an object.
// Pages in a row must take the stretches in turn: where chance lays two dozen of them one over the
// other, there are more objects than slots, and thousands of steps to a free one. A number has the
// same low bits as an odd multiple of it only where they are equal, whatever their count is, so the
// product of the page's number tells the stretch, and each GiB begins elsewhere. Higher bits of the
// product tell where in the stretch the page begins: objects at equal distances, one in each page,
// would stand in the same slot.
std::uint32_t HashOf(const void* pointer) noexcept
{
    constexpr std::uint64_t factor = 0x9E3779B97F4A7C15u;
    const std::uint64_t address = reinterpret_cast<std::uintptr_t>(pointer);
    const std::uint64_t page = (address >> 16) * factor;
    const std::uint64_t gibibyte = (address >> 30) * factor >> 32;
    const std::uint64_t stretch = page + gibibyte;
    const std::uint64_t slot = (address >> 4) + (page >> 40);
    return static_cast<std::uint32_t>(stretch << 12 | (slot & 0xFFF));
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
