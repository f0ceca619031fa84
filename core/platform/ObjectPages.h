#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace platform {

/// Memory for objects `T` that stay where they are, a page for many of them: each takes its size
/// alone, and those made one after another lie so. Private as ProbeTable is, and installed for the
/// same reason.
///
/// The pages go when the last object is destroyed; the destructor ends no object. Not synchronised.
template <class T>
class ObjectPages {
public:
    ObjectPages() noexcept = default;
    ObjectPages(ObjectPages&& other) noexcept
        : m_state(std::exchange(other.m_state, State()))
    {}
    ObjectPages& operator=(ObjectPages&& other) noexcept
    {
        ObjectPages taken(std::move(other));
        std::swap(m_state, taken.m_state);
        return *this;
    }
    ~ObjectPages()
    {
        while (m_state.page != nullptr)
            delete[] std::exchange(m_state.page, m_state.page->link);
    }

    /// A new object, `T{parts...}`. What throws leaves everything as it was.
    template <class... Parts>
    [[nodiscard]] T* Make(Parts&&... parts)
    {
        if (m_state.left == nullptr && m_state.unused == m_state.end)
            AddPage();
        Place*& source = m_state.left != nullptr ? m_state.left : m_state.unused;
        Place* const next = m_state.left != nullptr ? source->link : source + 1;
        T* const made = ::new (static_cast<void*>(source)) T{std::forward<Parts>(parts)...};
        source = next;
        ++m_state.count;
        return made;
    }

    /// Its destructor may make and destroy others.
    void Destroy(T* object) noexcept
    {
        assert(m_state.count != 0);
        std::destroy_at(object);
        if (--m_state.count == 0)
            *this = ObjectPages();
        else
            m_state.left = ::new (static_cast<void*>(object)) Place{m_state.left};
    }

private:
    union Place {
        Place* link; // from a place without an object to the next, from a page to the one before
        alignas(T) std::byte object[sizeof(T)];
    };
    struct State {
        Place* page = nullptr;   // the newest; its first place holds the link alone
        Place* left = nullptr;   // by objects that were destroyed
        Place* unused = nullptr; // from here to `end` nothing was made yet
        Place* end = nullptr;
        std::size_t count = 0; // of objects
    };

    // Pages grow with the number of objects, so that a few cost little.
    void AddPage()
    {
        constexpr std::size_t fewest = 7, most = 1023;
        const std::size_t count = (std::clamp)(m_state.count, fewest, most);
        Place* const page = new Place[count + 1];
        page->link = std::exchange(m_state.page, page);
        m_state.unused = page + 1;
        m_state.end = m_state.unused + count;
    }

    State m_state;
};

} // namespace platform
