#pragma once

#include "core/platform/Export.h" // asks for C++20

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

namespace platform {

// A table of our own, not a library's: what the library's indices keep in a slot differs (a
// pointer, the number of a record, an entry with its texts), the entry of a dictionary stands in a
// list besides, and a public header is made of it, so that an application would need that library,
// too. Linear probing it is, as a slot that a probe looks at is next to the one before; it is at
// most two thirds full, and then a key that is not there costs five steps, mostly in one line of
// the cache. Slots behind a removed one move up. Marks of removed entries would be the alternative,
// and a table whose entries come and go would fill with them.

/// Finds entries by the hash of their keys, each key once: private, under every index of the
/// library, and installed only as BHashTable is made of it.
///
/// What stands in a slot is the user's. `Slot` is a plain structure with these members:
///
///     bool IsFree() const                 true of `Slot()`, and of no entry
///     bool HasHash(std::uint64_t) const   whether it may be that of the entry's key
///     std::uint64_t Hash() const          of the entry's key, to move the entry
///
/// A hash decides by its low bits. Keys are compared by what the caller hands in, and only where
/// `HasHash` says so: a slot that keeps its hash, or as many bits of it as have room, is told from
/// another without a look at its key. A hash of fewer bits is one that was cut everywhere.
///
/// `Allocator`, of which any two are the same, gives the slots their memory.
///
/// Slots move when an entry is added or removed; a reference to one ends there. An empty table
/// holds no memory. Where memory is missing, `std::bad_alloc` leaves the table as it was. Not
/// synchronised.
template <class Slot, class Allocator = std::allocator<Slot>>
class ProbeTable {
public:
    ProbeTable() noexcept = default;
    ProbeTable(ProbeTable&& other) noexcept
        : m_slots(std::exchange(other.m_slots, nullptr))
        , m_slotCount(std::exchange(other.m_slotCount, 0))
        , m_count(std::exchange(other.m_count, 0))
    {}
    ProbeTable& operator=(ProbeTable&& other) noexcept
    {
        ProbeTable taken(std::move(other));
        std::swap(m_slots, taken.m_slots);
        std::swap(m_slotCount, taken.m_slotCount);
        std::swap(m_count, taken.m_count);
        return *this;
    }
    ~ProbeTable() { GiveSlots(m_slots, m_slotCount); }

    [[nodiscard]] std::size_t Count() const noexcept { return m_count; }

    /// The slot of that hash of which `isWanted(slot)` holds; null when there is none.
    template <class IsWanted>
    [[nodiscard]] const Slot* Find(std::uint64_t hash, IsWanted isWanted) const
    {
        if (m_count == 0)
            return nullptr;
        const Slot& slot = Probe(hash, isWanted);
        return slot.IsFree() ? nullptr : &slot;
    }
    template <class IsWanted>
    [[nodiscard]] Slot* Find(std::uint64_t hash, IsWanted isWanted)
    {
        return const_cast<Slot*>(std::as_const(*this).Find(hash, isWanted));
    }

    /// Has the memory fetch what `Find` or `FindOrFree` of that hash will look at, while the caller
    /// does something else: a large table stands in none of the caches.
    void Expect(std::uint64_t hash) const noexcept
    {
#if defined(__GNUC__)
        if (m_slotCount != 0)
            __builtin_prefetch(m_slots + Home(hash));
#else
        static_cast<void>(hash);
#endif
    }

    /// The same slot, or a free one, to be filled with an entry of that hash before anything else
    /// is asked of the table.
    template <class IsWanted>
    [[nodiscard]] Slot& FindOrFree(std::uint64_t hash, IsWanted isWanted)
    {
        if (m_slotCount != 0) {
            Slot& slot = Probe(hash, isWanted);
            if (!slot.IsFree() || HasRoomFor(m_count + 1, m_slotCount))
                return slot;
        }
        Reserve(m_count + 1);
        return FreeSlot(hash);
    }

    /// `free` is what `FindOrFree` gave.
    void Fill(Slot& free, Slot entry) noexcept
    {
        assert(free.IsFree() && !entry.IsFree() && HasRoomFor(m_count + 1, m_slotCount));
        free = std::move(entry);
        ++m_count;
    }

    /// Frees a slot that `Find` gave. Knuth, The Art of Computer Programming 3 (1998), 6.4,
    /// algorithm R.
    void Vacate(Slot& taken) noexcept
    {
        assert(!taken.IsFree() && m_count != 0);
        std::size_t hole = static_cast<std::size_t>(&taken - m_slots);
        assert(hole < m_slotCount);
        const std::size_t mask = m_slotCount - 1;
        for (std::size_t i = (hole + 1) & mask; !m_slots[i].IsFree(); i = (i + 1) & mask) {
            // What stands between its home and here may move to the hole unless its home is behind.
            if (((i - Home(m_slots[i].Hash())) & mask) < ((i - hole) & mask))
                continue;
            m_slots[hole] = std::move(m_slots[i]);
            hole = i;
        }
        m_slots[hole] = Slot();
        --m_count;
    }

    /// Makes room for `count` entries at once; a table never shrinks, but for `Clear`.
    void Reserve(std::size_t count)
    {
        if (HasRoomFor(count, m_slotCount))
            return;
        constexpr std::size_t kFewest = 16;
        const std::size_t slotCount = std::bit_ceil((std::max)(kFewest, count + count / 2 + 1));
        assert(HasRoomFor(count, slotCount));
        Slot* const slots = std::exchange(m_slots, TakeSlots(slotCount)); // throws before a change
        const std::size_t oldCount = std::exchange(m_slotCount, slotCount);
        for (std::size_t i = 0; i != oldCount; ++i) {
            if (!slots[i].IsFree())
                FreeSlot(slots[i].Hash()) = std::move(slots[i]);
        }
        GiveSlots(slots, oldCount);
    }

    /// Gives the memory back.
    void Clear() noexcept
    {
        *this = ProbeTable();
    }

private:
    // Nothing may fail half-way through a growth or a removal.
    static_assert(std::is_nothrow_move_assignable_v<Slot>);

    [[nodiscard]] static Slot* TakeSlots(std::size_t count)
    {
        static_assert(std::is_nothrow_default_constructible_v<Slot>);
        Slot* const slots = Allocator().allocate(count);
        std::uninitialized_value_construct_n(slots, count);
        return slots;
    }
    static void GiveSlots(Slot* slots, std::size_t count) noexcept
    {
        if (slots == nullptr)
            return;
        std::destroy_n(slots, count);
        Allocator().deallocate(slots, count);
    }

    [[nodiscard]] static bool HasRoomFor(std::size_t count, std::size_t slotCount) noexcept
    {
        return 3 * count <= 2 * slotCount;
    }
    [[nodiscard]] std::size_t Home(std::uint64_t hash) const noexcept
    {
        return static_cast<std::size_t>(hash) & (m_slotCount - 1);
    }

    // The slot wanted, or the free one where the way to it ends; there always is a free one.
    template <class IsWanted>
    [[nodiscard]] Slot& Probe(std::uint64_t hash, IsWanted& isWanted) const
    {
        std::size_t i = Home(hash);
        while (!m_slots[i].IsFree() &&
               !(m_slots[i].HasHash(hash) && isWanted(std::as_const(m_slots[i]))))
            i = (i + 1) & (m_slotCount - 1);
        return m_slots[i];
    }
    [[nodiscard]] Slot& FreeSlot(std::uint64_t hash) const noexcept
    {
        std::size_t i = Home(hash);
        while (!m_slots[i].IsFree())
            i = (i + 1) & (m_slotCount - 1);
        return m_slots[i];
    }

    Slot* m_slots = nullptr;     // owned
    std::size_t m_slotCount = 0; // a power of two, or 0
    std::size_t m_count = 0;     // of the slots that are not free
};

} // namespace platform
