#pragma once

#include "core/base/MItem.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <set>
#include <type_traits>
#include <utility>

/// Values by key in the order of the keys' `operator<`; keys of which neither is less are equal.
///
/// An entry stays where it is until it is removed, so references and iterators to it stay good as
/// long. Entries are destroyed after they have left the map, so a destructor may use it. Not
/// synchronised.
template <class K, class V>
class BMap {
    using Item = MItem<K, V>;
    struct ByKey {
        using is_transparent = void;
        bool operator()(const Item& a, const Item& b) const { return a.key < b.key; }
        bool operator()(const Item& a, const K& b) const { return a.key < b; }
        bool operator()(const K& a, const Item& b) const { return a < b.key; }
    };
    using Items = std::set<Item, ByKey>;

public:
    template <class E>
    class BasicIterator {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = std::remove_const_t<E>;
        using difference_type = std::ptrdiff_t;
        using pointer = E*;
        using reference = E&;

        BasicIterator() noexcept = default;
        /// An iterator over constant entries from one over changeable ones.
        template <class U>
        BasicIterator(BasicIterator<U> other) noexcept requires std::is_same_v<const U, E>
            : m_position(other.m_position)
        {}

        // The set's elements are no constants, it only hides that they can change.
        E& operator*() const noexcept { return const_cast<E&>(*m_position); }
        E* operator->() const noexcept { return &**this; }
        BasicIterator& operator++() noexcept
        {
            ++m_position;
            return *this;
        }
        BasicIterator operator++(int) noexcept { return m_position++; }
        BasicIterator& operator--() noexcept
        {
            --m_position;
            return *this;
        }
        BasicIterator operator--(int) noexcept { return m_position--; }
        friend bool operator==(BasicIterator a, BasicIterator b) noexcept
        {
            return a.m_position == b.m_position;
        }

    private:
        friend class BMap;
        template <class>
        friend class BasicIterator;

        BasicIterator(typename Items::const_iterator position) noexcept
            : m_position(position)
        {}

        typename Items::const_iterator m_position;
    };
    using Iterator = BasicIterator<Item>;
    using ConstIterator = BasicIterator<const Item>;

    BMap() = default;
    BMap(const BMap&) = default;
    BMap(BMap&&) noexcept = default;
    BMap& operator=(BMap other) noexcept
    {
        m_items.swap(other.m_items);
        return *this;
    }
    virtual ~BMap()
    {
        while (!m_items.empty()) // destructors of entries may have inserted others
            RemoveAll();
    }

    /// False when the key is there already: its entry then takes the new value.
    bool Insert(const K& key, const V& value) { return Insert(Item(key, value)); }
    bool Insert(Item item)
    {
        // Items that come in their order, as they do from a file, take one comparison each.
        const std::size_t count = m_items.size();
        const auto position = m_items.insert(m_items.end(), std::move(item));
        const bool added = m_items.size() != count;
        if (!added) {
            // The set leaves the item alone when it has the key.
            // NOLINTNEXTLINE(bugprone-use-after-move): said above
            Iterator(position)->value = std::move(item.value);
        }
        return added;
    }

    /// The entry of `key`, good until it is removed; null when there is none.
    [[nodiscard]] Item* Find(const K& key)
    {
        return const_cast<Item*>(std::as_const(*this).Find(key));
    }
    [[nodiscard]] const Item* Find(const K& key) const
    {
        const auto found = m_items.find(key);
        return found != m_items.end() ? &*found : nullptr;
    }

    /// False when there is no entry of `key`.
    bool Remove(const K& key)
    {
        const auto found = m_items.find(key);
        if (found == m_items.end())
            return false;
        const auto removed = m_items.extract(found);
        return true;
    }

    void RemoveAll() noexcept
    {
        Items removed;
        removed.swap(m_items);
    }

    [[nodiscard]] std::uint64_t Count() const noexcept { return m_items.size(); }

    [[nodiscard]] Iterator begin() noexcept { return m_items.begin(); }
    [[nodiscard]] Iterator end() noexcept { return m_items.end(); }
    [[nodiscard]] ConstIterator begin() const noexcept { return m_items.begin(); }
    [[nodiscard]] ConstIterator end() const noexcept { return m_items.end(); }

private:
    Items m_items;
};
