#pragma once

#include "core/platform/Export.h" // asks for C++20

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>
#include <utility>

/// A doubly linked list. Adding, inserting and erasing cost the same whatever its length.
///
/// An iterator is one pointer and stays good until its element is erased, whatever happens around
/// it. Elements are destroyed after they have left the list, so a destructor may use the list.
/// Not synchronised.
template <class T>
class DList {
    struct Node {
        T element;
        Node* previous;
        Node* next;
    };

public:
    /// Steps both ways and is null beyond either end: `--` of the first element gives null, too,
    /// and a null iterator does not step.
    template <class E>
    class BasicIterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = std::remove_const_t<E>;
        using difference_type = std::ptrdiff_t;
        using pointer = E*;
        using reference = E&;

        constexpr BasicIterator() noexcept = default;
        /// An iterator over constant elements from one over changeable ones.
        template <class U>
        requires std::is_same_v<const U, E>
        constexpr BasicIterator(BasicIterator<U> other) noexcept
            : m_node(other.m_node)
        {}

        explicit operator bool() const noexcept { return m_node != nullptr; }
        E& operator*() const noexcept { return m_node->element; }
        E* operator->() const noexcept { return &m_node->element; }

        BasicIterator& operator++() noexcept
        {
            m_node = m_node->next;
            return *this;
        }
        BasicIterator operator++(int) noexcept
        {
            return std::exchange(*this, BasicIterator(m_node->next));
        }
        BasicIterator& operator--() noexcept
        {
            m_node = m_node->previous;
            return *this;
        }
        BasicIterator operator--(int) noexcept
        {
            return std::exchange(*this, BasicIterator(m_node->previous));
        }

        friend bool operator==(BasicIterator a, BasicIterator b) noexcept
        {
            return a.m_node == b.m_node;
        }

    private:
        friend class DList;
        template <class>
        friend class BasicIterator;

        constexpr BasicIterator(Node* node) noexcept
            : m_node(node)
        {}

        Node* m_node = nullptr;
    };
    using Iterator = BasicIterator<T>;
    using ConstIterator = BasicIterator<const T>;

    DList() noexcept = default;
    DList(const DList& other)
        : DList()
    {
        for (const T& element : other)
            Link(element, m_tail);
    }
    DList(DList&& other) noexcept { Swap(other); }
    DList& operator=(DList other) noexcept
    {
        Swap(other);
        return *this;
    }

    // The order of the virtual functions is part of the interface.

    virtual ~DList() { RemoveAll(); }
    /// Appends copies of all elements of `other`, which may be this list.
    virtual void Append(const DList& other)
    {
        DList copies(other);
        if (copies.m_head == nullptr)
            return;
        copies.m_head->previous = m_tail;
        (m_tail != nullptr ? m_tail->next : m_head) = copies.m_head;
        m_tail = std::exchange(copies.m_tail, nullptr);
        m_count += std::exchange(copies.m_count, 0);
        copies.m_head = nullptr;
    }
    virtual void AddTail(const T& element) { Link(element, m_tail); }
    virtual void AddHead(const T& element) { Link(element, nullptr); }

    /// Inserts behind `position`, before the first element when that is null. Returns the place of
    /// the new element.
    Iterator InsertAfter(Iterator position, const T& element)
    {
        return Link(element, position.m_node);
    }

    /// Returns the place of the element that followed, which the destructor of the erased one must
    /// leave alone.
    Iterator Erase(Iterator position) noexcept
    {
        Node* const node = position.m_node;
        assert(node != nullptr && m_count > 0);
        // Of this list, and not erased before.
        assert((node->previous != nullptr ? node->previous->next : m_head) == node);
        Node* const next = node->next;
        (node->previous != nullptr ? node->previous->next : m_head) = next;
        (next != nullptr ? next->previous : m_tail) = node->previous;
        --m_count;
        delete node;
        return next;
    }

    void RemoveAll() noexcept
    {
        m_tail = nullptr;
        m_count = 0;
        Node* node = std::exchange(m_head, nullptr);
        while (node != nullptr)
            delete std::exchange(node, node->next);
    }

    [[nodiscard]] int Count() const noexcept { return m_count; }

    [[nodiscard]] Iterator begin() noexcept { return m_head; }
    [[nodiscard]] Iterator end() noexcept { return {}; }
    [[nodiscard]] ConstIterator begin() const noexcept { return m_head; }
    [[nodiscard]] ConstIterator end() const noexcept { return {}; }
    /// The last element; null in an empty list.
    [[nodiscard]] Iterator Tail() noexcept { return m_tail; }
    [[nodiscard]] ConstIterator Tail() const noexcept { return m_tail; }

private:
    Node* Link(const T& element, Node* previous)
    {
        Node* const next = previous != nullptr ? previous->next : m_head;
        Node* const node = new Node{element, previous, next};
        (previous != nullptr ? previous->next : m_head) = node;
        (next != nullptr ? next->previous : m_tail) = node;
        ++m_count;
        return node;
    }

    void Swap(DList& other) noexcept
    {
        std::swap(m_head, other.m_head);
        std::swap(m_tail, other.m_tail);
        std::swap(m_count, other.m_count);
    }

    Node* m_head = nullptr;
    Node* m_tail = nullptr;
    std::int32_t m_count = 0;
};
