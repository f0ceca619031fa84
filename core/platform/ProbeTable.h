#pragma once

#include "core/platform/Export.h" // asks for C++20

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <ratio>
#include <type_traits>
#include <utility>

namespace platform {

// A table of our own, not a library's: what the library's indices find differs (a pointer, the
// number of a record, an entry with its texts), the entry of a dictionary stands in a list besides,
// and a public header is made of it, so that an application would need that library, too. Linear
// probing it is, as a slot that a probe looks at is next to the one before. Entries behind a
// removed one move up. Marks of removed entries would be the alternative, and a table whose entries
// come and go would fill with them.
//
// A probe looks at a byte a slot, its tag: of a hundred thousand slots these stay in the cache, and
// a key that is not there costs nothing else. Only where the tag is that of the hash, in one of 128
// other slots by chance, the entry is looked at; the hash itself serves to move entries, and is
// compared where a user asks for it.

/// Finds entries by the hash of their keys, each key once: private, under every index of the
/// library, and installed only as BHashTable is made of it.
///
/// What an entry is, is the user's. Of a hash the low 32 bits count, and its lowest ones decide.
/// Keys are compared by what the caller hands in, where the hashes may be the same.
///
/// `Allocator`, of which any two are the same, gives the entries their memory. At most `Fullness`
/// of the slots are taken, a `std::ratio`: the more, the less memory a look-up waits for, and the
/// longer is the way to a key that is not there, 5 slots at two thirds and 13 at four fifths.
///
/// Entries move when one is added or removed; a reference to one ends there. An empty table holds
/// no memory. Where memory is missing, `std::bad_alloc` leaves the table as it was. Not
/// synchronised.
template <class Entry, class Allocator = std::allocator<Entry>, class Fullness = std::ratio<2, 3>>
class ProbeTable {
public:
    /// An entry, or where one of a hash may be put.
    struct Place {
        Entry* entry;
        std::uint32_t hash;
        bool isFree; // nothing is there yet
    };

    ProbeTable() noexcept = default;
    ProbeTable(ProbeTable&& other) noexcept
        : m_groups(std::exchange(other.m_groups, nullptr))
        , m_slotCount(std::exchange(other.m_slotCount, 0))
        , m_count(std::exchange(other.m_count, 0))
    {}
    ProbeTable& operator=(ProbeTable&& other) noexcept
    {
        ProbeTable taken(std::move(other));
        std::swap(m_groups, taken.m_groups);
        std::swap(m_slotCount, taken.m_slotCount);
        std::swap(m_count, taken.m_count);
        return *this;
    }
    ~ProbeTable()
    {
        if (m_groups == nullptr)
            return;
        for (std::size_t i = 0; i != m_slotCount; ++i) {
            if (Tags()[i] != kFree)
                std::destroy_at(Entries() + i);
        }
        GroupAllocator().deallocate(m_groups, m_slotCount / kGroup);
    }

    [[nodiscard]] std::size_t Count() const noexcept { return m_count; }

    /// The entry of that hash of which `isWanted(entry)` holds; null when there is none.
    template <class IsWanted>
    [[nodiscard]] const Entry* Find(std::uint64_t hash, IsWanted isWanted) const
    {
        if (m_count == 0)
            return nullptr;
        return Probe(Cut(hash), isWanted).wanted;
    }
    template <class IsWanted>
    [[nodiscard]] Entry* Find(std::uint64_t hash, IsWanted isWanted)
    {
        return const_cast<Entry*>(std::as_const(*this).Find(hash, isWanted));
    }

    /// Whether that is the hash of `entry`, which is in the table: for an `isWanted` that may hold
    /// of entries of other hashes, too, or that takes long.
    [[nodiscard]] bool HasHash(const Entry& entry, std::uint64_t hash) const noexcept
    {
        return Hashes()[IndexOf(entry)] == Cut(hash);
    }

    /// Has the memory fetch what `Find` or `FindOrFree` of that hash will look at, while the caller
    /// does something else: a large table stands in none of the caches.
    void Expect(std::uint64_t hash) const noexcept
    {
#if defined(__GNUC__)
        if (m_slotCount != 0) {
            __builtin_prefetch(Tags() + Home(Cut(hash)));
            __builtin_prefetch(Entries() + Home(Cut(hash)));
        }
#else
        static_cast<void>(hash);
#endif
    }

    /// The same entry, or a free place, to be filled with one before anything else is asked of the
    /// table.
    template <class IsWanted>
    [[nodiscard]] Place FindOrFree(std::uint64_t hash, IsWanted isWanted)
    {
        if (m_slotCount != 0) {
            const Step last = Probe(Cut(hash), isWanted);
            if (last.wanted != nullptr || HasRoomFor(m_count + 1, m_slotCount))
                return {Entries() + last.slot, Cut(hash), last.wanted == nullptr};
        }
        Reserve(m_count + 1);
        return FreePlace(Cut(hash));
    }

    /// `free` is what `FindOrFree` gave.
    void Fill(Place free, Entry entry) noexcept
    {
        const std::size_t i = IndexOf(*free.entry);
        assert(Tags()[i] == kFree && HasRoomFor(m_count + 1, m_slotCount));
        std::construct_at(free.entry, std::move(entry));
        Hashes()[i] = free.hash;
        Tags()[i] = TagOf(free.hash);
        ++m_count;
    }

    /// Removes an entry that `Find` gave. Knuth, The Art of Computer Programming 3 (1998), 6.4,
    /// algorithm R.
    void Vacate(Entry& taken) noexcept
    {
        assert(m_count != 0);
        std::size_t hole = IndexOf(taken);
        const std::size_t mask = m_slotCount - 1;
        for (std::size_t i = (hole + 1) & mask; Tags()[i] != kFree; i = (i + 1) & mask) {
            // What stands between its home and here may move to the hole unless its home is behind.
            if (((i - Home(Hashes()[i])) & mask) < ((i - hole) & mask))
                continue;
            Entries()[hole] = std::move(Entries()[i]);
            Hashes()[hole] = Hashes()[i];
            Tags()[hole] = Tags()[i];
            hole = i;
        }
        std::destroy_at(Entries() + hole);
        Tags()[hole] = kFree;
        --m_count;
    }

    /// Makes room for `count` entries at once; a table never shrinks, but for `Clear`.
    void Reserve(std::size_t count)
    {
        if (HasRoomFor(count, m_slotCount))
            return;
        const std::size_t least = count * Fullness::den / Fullness::num + 1;
        ProbeTable larger(std::bit_ceil((std::max)(kGroup, least)));
        assert(HasRoomFor(count, larger.m_slotCount));
        for (std::size_t i = 0; i != m_slotCount; ++i) {
            if (Tags()[i] != kFree)
                larger.Fill(larger.FreePlace(Hashes()[i]), std::move(Entries()[i]));
        }
        *this = std::move(larger);
    }

    /// Gives the memory back.
    void Clear() noexcept
    {
        *this = ProbeTable();
    }

private:
    // Nothing may fail half-way through a growth or a removal.
    static_assert(std::is_nothrow_move_constructible_v<Entry>);
    static_assert(std::is_nothrow_move_assignable_v<Entry>);
    // Each way ends at a free slot.
    static_assert(0 < Fullness::num && Fullness::num < Fullness::den);

    using Tag = std::uint8_t;
    static constexpr Tag kFree = 0; // a taken slot's is odd

    // Tags, entries and hashes stand behind one another in one piece of memory, of which each group
    // of slots takes as much. Their number is a power of two, so each array begins where it may.
    static constexpr std::size_t kGroup = 16;
    struct Group {
        alignas(Entry) alignas(std::uint32_t) std::byte
            memory[sizeof(Tag[kGroup]) + sizeof(Entry[kGroup]) + sizeof(std::uint32_t[kGroup])];
    };
    static_assert(alignof(Entry) <= kGroup && alignof(std::uint32_t) <= kGroup);
    using GroupAllocator = typename std::allocator_traits<Allocator>::template rebind_alloc<Group>;

    explicit ProbeTable(std::size_t slotCount)
        : m_groups(GroupAllocator().allocate(slotCount / kGroup))
        , m_slotCount(slotCount)
    {
        std::uninitialized_fill_n(Tags(), slotCount, kFree);
    }

    [[nodiscard]] static bool HasRoomFor(std::size_t count, std::size_t slotCount) noexcept
    {
        return Fullness::den * count <= Fullness::num * slotCount;
    }
    [[nodiscard]] static std::uint32_t Cut(std::uint64_t hash) noexcept
    {
        return static_cast<std::uint32_t>(hash);
    }
    // Of all its bits, as those that decide may be all that differs (Knuth, 6.4: multiplicative).
    [[nodiscard]] static Tag TagOf(std::uint32_t hash) noexcept
    {
        return static_cast<Tag>(hash * 0x9E3779B1u >> 24 | 1);
    }
    [[nodiscard]] std::size_t Home(std::uint32_t hash) const noexcept
    {
        return hash & (m_slotCount - 1);
    }

    [[nodiscard]] Tag* Tags() const noexcept
    {
        return reinterpret_cast<Tag*>(m_groups);
    }
    [[nodiscard]] Entry* Entries() const noexcept
    {
        return reinterpret_cast<Entry*>(Tags() + m_slotCount);
    }
    [[nodiscard]] std::uint32_t* Hashes() const noexcept
    {
        return reinterpret_cast<std::uint32_t*>(Entries() + m_slotCount);
    }
    [[nodiscard]] std::size_t IndexOf(const Entry& entry) const noexcept
    {
        const auto i = static_cast<std::size_t>(&entry - Entries());
        assert(i < m_slotCount);
        return i;
    }

    struct Step {
        Entry* wanted; // null where the way ends, at a free slot
        std::size_t slot;
    };

    // The last step of the way of that hash; there always is a free slot.
    template <class IsWanted>
    [[nodiscard]] Step Probe(std::uint32_t hash, IsWanted& isWanted) const
    {
        const Tag tag = TagOf(hash);
        const Tag* const tags = Tags();
        Entry* const entries = Entries();
        const std::size_t mask = m_slotCount - 1;
        std::size_t i = Home(hash);
        for (; tags[i] != kFree; i = (i + 1) & mask) {
            if (tags[i] == tag && isWanted(std::as_const(entries[i])))
                return {entries + i, i};
        }
        return {nullptr, i};
    }
    [[nodiscard]] Place FreePlace(std::uint32_t hash) const noexcept
    {
        const auto isNone = [](const Entry&) { return false; };
        return {Entries() + Probe(hash, isNone).slot, hash, true};
    }

    Group* m_groups = nullptr;   // owned
    std::size_t m_slotCount = 0; // a power of two, or 0
    std::size_t m_count = 0;     // of the slots that are not free
};

} // namespace platform
