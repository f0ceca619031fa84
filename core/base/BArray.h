#pragma once

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

/// An array that grows at its end. `T` has a default constructor: all of the capacity is
/// constructed.
///
/// It grows by its grow step, which first becomes more than half of its count where it is less. A
/// copy has that, too, and no spare capacity. Growing moves the elements: references and pointers
/// to them end there. Elements are destroyed after they have left the array, so a destructor may
/// change it. Not synchronised.
template <class T>
class BArray {
public:
    static constexpr std::uint64_t kReleaseAll = (std::numeric_limits<std::uint64_t>::max)();

    explicit BArray(std::uint64_t growStep = 16) noexcept
        : m_growStep(growStep)
    {}
    BArray(const BArray& other)
        : BArray(other.m_growStep)
    {
        Reserve(other.m_count);
        std::copy(other.begin(), other.end(), begin());
        m_count = other.m_count;
    }
    BArray(BArray&& other) noexcept
        : BArray(other.m_growStep)
    {
        Swap(other);
    }
    BArray& operator=(BArray other) noexcept
    {
        Swap(other);
        return *this;
    }
    virtual ~BArray() { RemoveAll(); }

    /// Taken by value, so an element of this array can be appended to it.
    void Append(T element)
    {
        if (m_count == m_capacity)
            Grow();
        m_elements[m_count] = std::move(element);
        ++m_count;
    }

    /// Makes room for `capacity` elements; the array never shrinks, but for `kReleaseAll`, which
    /// empties it and gives its memory back.
    void Reserve(std::uint64_t capacity)
    {
        if (capacity == kReleaseAll) {
            RemoveAll();
            return;
        }
        if (capacity <= m_capacity)
            return;
        std::unique_ptr<T[]> elements(new T[capacity]);
        // A copy that throws leaves this array as it was; a move that could throw would not.
        if constexpr (std::is_nothrow_move_assignable_v<T> || !std::is_copy_assignable_v<T>)
            std::move(begin(), end(), elements.get());
        else
            std::copy(begin(), end(), elements.get());
        m_elements.swap(elements);
        m_capacity = capacity;
    }

    /// Moves the elements behind `index`, which must be below the count, down by one.
    void RemoveAt(std::uint64_t index)
    {
        assert(index < m_count);
        // It ends when the array is whole again.
        [[maybe_unused]] const T removed(std::move(m_elements[index]));
        std::move(begin() + index + 1, end(), begin() + index);
        --m_count;
        m_elements[m_count] = T(); // lets go of what the element held
    }

    /// Empties the array and gives its memory back; the grow step stays.
    void RemoveAll() noexcept
    {
        const std::unique_ptr<T[]> removed(std::move(m_elements));
        m_count = 0;
        m_capacity = 0;
    }

    /// `index` must be below the count: it is asserted, not checked.
    [[nodiscard]] T& operator[](std::uint64_t index) noexcept
    {
        assert(index < m_count);
        return m_elements[index];
    }
    [[nodiscard]] const T& operator[](std::uint64_t index) const noexcept
    {
        assert(index < m_count);
        return m_elements[index];
    }

    [[nodiscard]] std::uint64_t Count() const noexcept { return m_count; }
    [[nodiscard]] std::uint64_t Capacity() const noexcept { return m_capacity; }
    [[nodiscard]] std::uint64_t GrowStep() const noexcept { return m_growStep; }

    [[nodiscard]] T* begin() noexcept { return m_elements.get(); }
    [[nodiscard]] T* end() noexcept { return m_elements.get() + m_count; }
    [[nodiscard]] const T* begin() const noexcept { return m_elements.get(); }
    [[nodiscard]] const T* end() const noexcept { return m_elements.get() + m_count; }

private:
    void Grow()
    {
        const std::uint64_t step = (std::max)(m_growStep, m_count / 2 + 1);
        // No memory is as large as the largest number, which would release all.
        Reserve(step < kReleaseAll - m_count ? m_count + step : kReleaseAll - 1);
        m_growStep = step;
    }

    void Swap(BArray& other) noexcept
    {
        std::swap(m_elements, other.m_elements);
        std::swap(m_count, other.m_count);
        std::swap(m_growStep, other.m_growStep);
        std::swap(m_capacity, other.m_capacity);
    }

    std::unique_ptr<T[]> m_elements; // m_capacity of them, all constructed
    std::uint64_t m_count = 0;
    std::uint64_t m_growStep; // least number of elements to grow by
    std::uint64_t m_capacity = 0;
};
