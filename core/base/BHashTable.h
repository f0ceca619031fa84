#pragma once

#include "core/base/BKeyTraits.h"
#include "core/platform/ObjectPages.h"
#include "core/platform/ProbeTable.h"

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
/// Entries are destroyed after they have left the table, so a destructor may use it. A table that
/// never held anything takes no memory; the memory of removed entries serves the next ones, and
/// goes when the last entry does. Not synchronised.
template <class T>
class BHashTable {
    // The address of the next entry of a bucket, or where there is none the bucket's number, which
    // only an entry at an end is asked for: twice the number and 1, as no address is.
    using Link = std::uintptr_t;

    struct Entry {
        T item;
        Link previous;
        Link next;
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
        BasicIterator(BasicIterator<U> other) noexcept requires std::is_same_v<const U, E>
            : m_table(other.m_table), m_entry(other.m_entry)
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
        const std::uint64_t hash = BKeyTraits<Key>::Seeded(item.key);
        const auto place = m_index.FindOrFree(hash, IsOf{item.key});
        if (!place.isFree) {
            (*place.entry)->item.value = std::move(item.value);
            return false;
        }
        const std::uint64_t number = item.Hash() % m_bucketCount;
        Bucket& bucket = BucketAt(number);
        const Link end = number << 1 | 1;
        const Link previous = bucket.last != nullptr ? LinkTo(bucket.last) : end;
        Entry* const entry = m_entries.Make(std::move(item), previous, end);
        if (bucket.last != nullptr)
            bucket.last->next = LinkTo(entry);
        else
            bucket.first = entry;
        bucket.last = entry;
        m_index.Fill(place, entry);
        return true;
    }

    /// The entry of `key`, good until it is removed; null when there is none.
    [[nodiscard]] T* Find(const Key& key) { return const_cast<T*>(std::as_const(*this).Find(key)); }
    [[nodiscard]] const T* Find(const Key& key) const
    {
        if (Count() == 0)
            return nullptr; // without a hash of the key
        Entry* const* const found = m_index.Find(BKeyTraits<Key>::Seeded(key), IsOf{key});
        return found != nullptr ? &(*found)->item : nullptr;
    }

    /// False when there is no entry of `key`.
    bool Remove(const Key& key)
    {
        if (Count() == 0)
            return false;
        Entry** const found = m_index.Find(BKeyTraits<Key>::Seeded(key), IsOf{key});
        if (found == nullptr)
            return false;
        Entry* const entry = *found;
        m_index.Vacate(*found);
        Entry* const previous = EntryAt(entry->previous);
        Entry* const next = EntryAt(entry->next);
        if (previous != nullptr)
            previous->next = entry->next;
        else
            BucketAt(BucketOf(entry->previous)).first = next;
        if (next != nullptr)
            next->previous = entry->previous;
        else
            BucketAt(BucketOf(entry->next)).last = previous;
        // At the very end: its destructor may use the table, and `key` may be its own.
        m_entries.Destroy(entry);
        return true;
    }

    void RemoveAll() noexcept
    {
        m_index.Clear();
        const platform::ObjectPages<Entry> entries(std::move(m_entries));
        const std::unique_ptr<std::unique_ptr<Page>[]> pages(std::move(m_pages));
        for (std::uint64_t i = 0; pages != nullptr && i < PageCount(); ++i)
            Destroy(pages[i].get());
    }

    [[nodiscard]] std::uint64_t Count() const noexcept { return m_index.Count(); }
    [[nodiscard]] std::uint64_t BucketCount() const noexcept { return m_bucketCount; }

    [[nodiscard]] Iterator begin() noexcept { return {this, First()}; }
    [[nodiscard]] Iterator end() noexcept { return {}; }
    [[nodiscard]] ConstIterator begin() const noexcept { return {this, First()}; }
    [[nodiscard]] ConstIterator end() const noexcept { return {}; }

protected:
    void DestroyEntries() noexcept
    {
        while (Count() != 0) // destructors of entries may have inserted others
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
    struct IsOf {
        const Key& key;
        bool operator()(const Entry* entry) const
        {
            return BKeyTraits<Key>::Equal(entry->item.key, key);
        }
    };

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
    [[nodiscard]] static Link LinkTo(Entry* entry) noexcept
    {
        return reinterpret_cast<std::uintptr_t>(entry);
    }
    /// Null at the end of a bucket.
    [[nodiscard]] static Entry* EntryAt(Link link) noexcept
    {
        return (link & 1) == 0 ? reinterpret_cast<Entry*>(link) : nullptr;
    }
    [[nodiscard]] static std::uint64_t BucketOf(Link end) noexcept { return end >> 1; }

    /// Ends the entries of `page`, which is no longer in the table and may be null.
    static void Destroy(const Page* page) noexcept
    {
        if (page == nullptr)
            return;
        for (const Bucket& bucket : page->buckets) {
            Entry* entry = bucket.first;
            while (entry != nullptr)
                std::destroy_at(std::exchange(entry, EntryAt(entry->next)));
        }
    }

    [[nodiscard]] Entry* First() const noexcept { return Count() != 0 ? FirstFrom(0) : nullptr; }
    [[nodiscard]] Entry* Next(const Entry* entry) const noexcept
    {
        Entry* const next = EntryAt(entry->next);
        return next != nullptr ? next : FirstFrom(BucketOf(entry->next) + 1);
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
        std::swap(m_index, other.m_index);
        std::swap(m_entries, other.m_entries);
        std::swap(m_pages, other.m_pages);
    }

    std::uint64_t m_bucketCount;
    platform::ProbeTable<Entry*> m_index; // finds entries by their seeded hash
    platform::ObjectPages<Entry> m_entries;
    std::unique_ptr<std::unique_ptr<Page>[]> m_pages; // of buckets; a page without entries is null
};
