#pragma once

#include "core/base/BKeyTraits.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

/// Entries `T` with public `key` and `value` and a `Hash()`, each key once. Iteration goes through
/// the buckets in order, `Hash() % BucketCount()` being an entry's bucket, and within a bucket in
/// the order of insertion.
///
/// Finding an entry takes the same time whatever the keys and however many share a bucket. An entry
/// stays where it is until it is removed, so references and iterators to it stay good as long.
/// Entries are destroyed after they have left the table, so a destructor may use it. An empty table
/// holds no memory. Not synchronised.
template <class T>
class BHashTable {
    struct Entry {
        T item;
        std::uint64_t bucket;
        Entry* previous; // in the bucket
        Entry* next;     // in the bucket
    };

public:
    using Key = decltype(T::key);
    static_assert(
        requires(const Key& key) { BKeyTraits<Key>::Seeded(key); },
        "keys of this type need a specialisation of BKeyTraits");

    template <class E>
    class BasicIterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = std::remove_const_t<E>;
        using difference_type = std::ptrdiff_t;
        using pointer = E*;
        using reference = E&;

        BasicIterator() noexcept = default;
        /// An iterator over constant entries from one over changeable ones.
        template <class U>
        requires std::is_same_v<const U, E> BasicIterator(BasicIterator<U> other)
        noexcept
            : m_table(other.m_table)
            , m_entry(other.m_entry)
        {}

        E& operator*() const noexcept { return m_entry->item; }
        E* operator->() const noexcept { return &m_entry->item; }
        BasicIterator& operator++() noexcept
        {
            m_entry = m_table->Next(m_entry);
            return *this;
        }
        BasicIterator operator++(int) noexcept
        {
            return std::exchange(*this, {m_table, m_table->Next(m_entry)});
        }
        friend bool operator==(BasicIterator a, BasicIterator b) noexcept
        {
            return a.m_entry == b.m_entry;
        }

    private:
        friend class BHashTable;
        template <class>
        friend class BasicIterator;

        BasicIterator(const BHashTable* table, Entry* entry) noexcept
            : m_table(table)
            , m_entry(entry)
        {}

        const BHashTable* m_table = nullptr;
        Entry* m_entry = nullptr;
    };
    using Iterator = BasicIterator<T>;
    using ConstIterator = BasicIterator<const T>;

    /// `bucketCount` is above 0.
    explicit BHashTable(std::uint64_t bucketCount) noexcept
        : m_bucketCount(bucketCount)
    {}
    BHashTable(const BHashTable& other)
        : BHashTable(other.m_bucketCount)
    {
        for (const T& item : other)
            Insert(item);
    }
    BHashTable(BHashTable&& other) noexcept
        : BHashTable(other.m_bucketCount)
    {
        Swap(other);
    }
    BHashTable& operator=(BHashTable other) noexcept
    {
        Swap(other);
        return *this;
    }
    virtual ~BHashTable() { DestroyEntries(); }

    /// False when the key is there already: its entry then takes the new value.
    bool Insert(T item)
    {
        if (4 * m_count >= 3 * m_slotCount)
            Grow();
        const std::uint64_t hash = BKeyTraits<Key>::Seeded(item.key);
        Slot& slot = m_slots[Place(item.key, hash)];
        if (slot.entry != nullptr) {
            slot.entry->item.value = std::move(item.value);
            return false;
        }
        const std::uint64_t number = item.Hash() % m_bucketCount;
        Bucket& bucket = BucketAt(number);
        Entry* const entry = new Entry{std::move(item), number, bucket.last, nullptr};
        (bucket.last != nullptr ? bucket.last->next : bucket.first) = entry;
        bucket.last = entry;
        slot = {hash, entry};
        ++m_count;
        return true;
    }

    /// The entry of `key`, good until it is removed; null when there is none.
    [[nodiscard]] T* Find(const Key& key) { return const_cast<T*>(std::as_const(*this).Find(key)); }
    [[nodiscard]] const T* Find(const Key& key) const
    {
        if (m_count == 0)
            return nullptr;
        const Entry* const entry = m_slots[Place(key, BKeyTraits<Key>::Seeded(key))].entry;
        return entry != nullptr ? &entry->item : nullptr;
    }

    /// False when there is no entry of `key`.
    bool Remove(const Key& key)
    {
        if (m_count == 0)
            return false;
        const std::size_t place = Place(key, BKeyTraits<Key>::Seeded(key));
        const std::unique_ptr<Entry> entry(m_slots[place].entry);
        if (entry == nullptr)
            return false;
        Vacate(place);
        Bucket& bucket = BucketAt(entry->bucket);
        (entry->previous != nullptr ? entry->previous->next : bucket.first) = entry->next;
        (entry->next != nullptr ? entry->next->previous : bucket.last) = entry->previous;
        --m_count;
        return true;
    }

    void RemoveAll() noexcept
    {
        m_count = 0;
        m_slotCount = 0;
        m_slots.reset();
        const std::unique_ptr<std::unique_ptr<Page>[]> pages(std::move(m_pages));
        for (std::uint64_t i = 0; pages != nullptr && i < PageCount(); ++i)
            Destroy(pages[i].get());
    }

    [[nodiscard]] std::uint64_t Count() const noexcept { return m_count; }
    [[nodiscard]] std::uint64_t BucketCount() const noexcept { return m_bucketCount; }

    [[nodiscard]] Iterator begin() noexcept { return {this, First()}; }
    [[nodiscard]] Iterator end() noexcept { return {}; }
    [[nodiscard]] ConstIterator begin() const noexcept { return {this, First()}; }
    [[nodiscard]] ConstIterator end() const noexcept { return {}; }

protected:
    void DestroyEntries() noexcept
    {
        while (m_count != 0) // destructors of entries may have inserted others
            RemoveAll();
    }

private:
    static constexpr std::uint64_t kPageSize = 32;

    struct Bucket {
        Entry* first = nullptr;
        Entry* last = nullptr;
    };
    struct Page {
        Bucket buckets[kPageSize];
    };
    struct Slot {
        std::uint64_t hash = 0;
        Entry* entry = nullptr; // null in a free slot
    };

    /// The slot of the entry of `key`, or the free one where it would stand. Linear probing.
    [[nodiscard]] std::size_t Place(const Key& key, std::uint64_t hash) const
    {
        std::size_t place = hash & (m_slotCount - 1);
        while (m_slots[place].entry != nullptr) {
            const Slot& slot = m_slots[place];
            if (slot.hash == hash && BKeyTraits<Key>::Equal(slot.entry->item.key, key))
                break;
            place = (place + 1) & (m_slotCount - 1);
        }
        return place;
    }

    void Grow()
    {
        const std::size_t slotCount = m_slotCount == 0 ? 16 : 2 * m_slotCount;
        std::unique_ptr<Slot[]> slots(new Slot[slotCount]);
        for (std::size_t i = 0; i < m_slotCount; ++i) {
            if (m_slots[i].entry == nullptr)
                continue;
            std::size_t place = m_slots[i].hash & (slotCount - 1);
            while (slots[place].entry != nullptr)
                place = (place + 1) & (slotCount - 1);
            slots[place] = m_slots[i];
        }
        m_slots = std::move(slots);
        m_slotCount = slotCount;
    }

    /// Frees a slot; slots behind it move up where that brings them nearer to their home.
    void Vacate(std::size_t place) noexcept
    {
        const std::size_t mask = m_slotCount - 1;
        for (std::size_t next = (place + 1) & mask; m_slots[next].entry != nullptr;
             next = (next + 1) & mask) {
            if (((next - m_slots[next].hash) & mask) >= ((next - place) & mask)) {
                m_slots[place] = m_slots[next];
                place = next;
            }
        }
        m_slots[place].entry = nullptr;
    }

    [[nodiscard]] Bucket& BucketAt(std::uint64_t number)
    {
        if (m_pages == nullptr)
            m_pages.reset(new std::unique_ptr<Page>[PageCount()]);
        std::unique_ptr<Page>& page = m_pages[number / kPageSize];
        if (page == nullptr)
            page = std::make_unique<Page>();
        return page->buckets[number % kPageSize];
    }

    [[nodiscard]] std::uint64_t PageCount() const noexcept
    {
        return (m_bucketCount - 1) / kPageSize + 1;
    }
    /// The entries of `page`, which is no longer in the table and may be null.
    static void Destroy(const Page* page) noexcept
    {
        if (page == nullptr)
            return;
        for (const Bucket& bucket : page->buckets) {
            Entry* entry = bucket.first;
            while (entry != nullptr)
                delete std::exchange(entry, entry->next);
        }
    }

    [[nodiscard]] Entry* First() const noexcept { return m_count != 0 ? FirstFrom(0) : nullptr; }
    [[nodiscard]] Entry* Next(const Entry* entry) const noexcept
    {
        return entry->next != nullptr ? entry->next : FirstFrom(entry->bucket + 1);
    }
    /// The first entry of the first bucket from `number` on that has one.
    [[nodiscard]] Entry* FirstFrom(std::uint64_t number) const noexcept
    {
        for (; number < m_bucketCount; ++number) {
            const Page* const page = m_pages[number / kPageSize].get();
            if (page == nullptr)
                number |= kPageSize - 1; // the last of the page
            else if (Entry* const first = page->buckets[number % kPageSize].first)
                return first;
        }
        return nullptr;
    }

    void Swap(BHashTable& other) noexcept
    {
        std::swap(m_bucketCount, other.m_bucketCount);
        std::swap(m_count, other.m_count);
        std::swap(m_slotCount, other.m_slotCount);
        std::swap(m_slots, other.m_slots);
        std::swap(m_pages, other.m_pages);
    }

    std::uint64_t m_bucketCount;
    std::uint64_t m_count = 0;
    std::size_t m_slotCount = 0;                      // a power of 2, or 0
    std::unique_ptr<Slot[]> m_slots;                  // finds entries by their seeded hash
    std::unique_ptr<std::unique_ptr<Page>[]> m_pages; // of buckets; a page without entries is null
};
