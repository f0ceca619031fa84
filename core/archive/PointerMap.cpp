#include "core/archive/PointerMap.h"

#include "core/base/BSmartObj.h"

#include <bit>
#include <cassert>
#include <utility>

// Objects are found by their unique ids, as these follow one another where a document was built or
// loaded in one go: a page has the places of 16 ids in a row, so that a look-up touches what the
// one before has touched, and a table with a slot for each page stays small. By their addresses,
// which a hash has to spread, a tree of millions of nodes missed the cache with each child.
//
// An id that two objects have, as copies all have 0, and an address of which nobody says that an
// object is there, are beyond that; and where few ids of a page are met with, as the objects were
// made in another order or with many others between them, it is slower and takes more memory. With
// the first of these all goes by address, at the cost of building that table once.

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
std::uint32_t HashOfAddress(const void* pointer) noexcept
{
    constexpr std::uint64_t factor = 0xD1B54A32D192ED03u;
    const std::uint64_t address = reinterpret_cast<std::uintptr_t>(pointer);
    const std::uint64_t group = (address >> 8) * factor >> 32;
    return static_cast<std::uint32_t>(group + ((address >> 4) & 0xF));
}

// Numbers in a row stand side by side, too, a line of the cache full.
std::uint32_t HashOfPage(std::uint32_t number) noexcept
{
    constexpr std::uint32_t side = 8;
    const std::uint32_t line = std::rotl(number / side * 0x9E3779B1u, 16);
    return line * side + number % side;
}

} // namespace

PointerMap::Found PointerMap::FindOrAdd(const BSmartObj& object)
{
    std::uint32_t* const place =
        m_goesByAddress ? nullptr : PlaceOf(static_cast<std::uint32_t>(object.UniqueID()));
    if (place == nullptr)
        return FindOrAddAddress(&object);
    if (*place == 0) {
        const Found added = Append(&object);
        *place = added.number + 1; // none again for `kNone`
        return added;
    }
    Entry& entry = m_entries[*place - 1];
    return entry.pointer == &object ? Found{&entry, *place - 1} : FindOrAddAddress(&object);
}

PointerMap::Found PointerMap::FindOrAddAddress(const void* pointer)
{
    assert(pointer != nullptr);
    if (!m_goesByAddress)
        GoByAddress();
    const auto slot = SlotOf(m_addresses, pointer);
    if (!slot.isFree)
        return {&m_entries[*slot.entry - 1], *slot.entry - 1};
    const Found added = Append(pointer);
    if (added.entry != nullptr)
        m_addresses.Fill(slot, added.number + 1);
    return added;
}

// Null where ids are no way to find objects.
std::uint32_t* PointerMap::PlaceOf(std::uint32_t id)
{
    const std::uint32_t number = id / kPageIds;
    PageEntry& recent = m_recent[number % kRecent];
    if (recent.number != number || recent.page == 0)
        recent = {PageOf(number), number};
    return recent.page != 0 ? &m_pages[recent.page - 1].places[id % kPageIds] : nullptr;
}

std::uint32_t PointerMap::PageOf(std::uint32_t number)
{
    const auto slot = m_pageIndex.FindOrFree(
        HashOfPage(number), [number](const PageEntry& other) { return other.number == number; });
    if (!slot.isFree)
        return slot.entry->page;
    if (AreIdsScattered())
        return 0;
    m_pages.Append({});
    const auto page = static_cast<std::uint32_t>(m_pages.Count());
    m_pageIndex.Fill(slot, {page, number});
    return page;
}

bool PointerMap::AreIdsScattered() const noexcept
{
    constexpr std::size_t enoughToTell = 256, fewOfPage = 3;
    return m_pages.Count() >= enoughToTell && m_entries.Count() < fewOfPage * m_pages.Count();
}

PointerMap::Addresses::Place PointerMap::SlotOf(Addresses& addresses, const void* pointer) const
{
    return addresses.FindOrFree(HashOfAddress(pointer), [this, pointer](std::uint32_t place) {
        return m_entries[place - 1].pointer == pointer;
    });
}

PointerMap::Found PointerMap::Append(const void* pointer)
{
    if (m_entries.Count() >= kNone - 1)
        return {};
    Entry& entry = m_entries.Append({pointer});
    return {&entry, static_cast<std::uint32_t>(m_entries.Count() - 1)};
}

void PointerMap::GoByAddress()
{
    Addresses addresses;
    addresses.Reserve(m_entries.Count());
    for (std::uint32_t place = 1; place <= m_entries.Count(); ++place) {
        const auto slot = SlotOf(addresses, m_entries[place - 1].pointer);
        if (slot.isFree)
            addresses.Fill(slot, place);
        else // the former object there was not queued, and is gone
            *slot.entry = place;
    }
    m_addresses = std::move(addresses);
    m_pageIndex.Clear();
    m_pages = {};
    m_goesByAddress = true;
}

} // namespace NArchive
