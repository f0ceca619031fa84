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
        : m_state(std::exchange(other.m_state, nullptr))
    {}
    ObjectPages& operator=(ObjectPages&& other) noexcept
    {
        ObjectPages taken(std::move(other));
        std::swap(m_state, taken.m_state);
        return *this;
    }
    ~ObjectPages()
    {
        if (m_state != nullptr)
            Release(m_state);
    }

    /// A new object, `T{parts...}`. What throws leaves everything as it was.
    template <class... Parts>
    [[nodiscard]] T* Make(Parts&&... parts)
    {
        if (m_state == nullptr)
            m_state = new State;
        State& state = *m_state;
        if (state.left == nullptr && state.unused == state.end)
            state.AddPage();
        // Off the list before the object is made in it: over the link, and maybe in vain.
        Place* const place =
            state.left != nullptr ? std::exchange(state.left, state.left->link) : state.unused++;
        ++state.count;
        try {
            return ::new (static_cast<void*>(place)) T{std::forward<Parts>(parts)...};
        } catch (...) {
            TakeBack(state, place);
            throw;
        }
    }

    /// Its destructor may make and destroy others, and end, move or assign these pages: those that
    /// it stands in stay until it has returned.
    void Destroy(T* object) noexcept
    {
        State* const state = m_state;
        assert(state->count != 0);
        ++state->holders;
        std::destroy_at(object);
        TakeBack(*state, object);
        Release(state);
    }

private:
    union Place {
        Place* link; // from a place without an object to the next, from a page to the one before
        alignas(T) std::byte object[sizeof(T)];
    };
    // Apart from the owner, as a destructor that is under way may outlast it.
    struct State {
        Place* page = nullptr;   // the newest; its first place holds the link alone
        Place* left = nullptr;   // by objects that were destroyed
        Place* unused = nullptr; // from here to `end` nothing was made yet
        Place* end = nullptr;
        std::size_t count = 0;   // of objects
        std::size_t holders = 1; // the owner and each `Destroy` that is under way

        State() noexcept = default;
        State(const State&) = delete;
        State& operator=(const State&) = delete;
        ~State() { DropPages(); }

        // Pages grow with the number of objects, so that a few cost little.
        void AddPage()
        {
            constexpr std::size_t fewest = 7, most = 1023;
            const std::size_t room = (std::clamp)(count, fewest, most);
            Place* const added = new Place[room + 1];
            added->link = std::exchange(page, added);
            unused = added + 1;
            end = unused + room;
        }
        void DropPages() noexcept
        {
            while (page != nullptr)
                delete[] std::exchange(page, page->link);
            left = unused = end = nullptr;
        }
    };

    static void TakeBack(State& state, void* place) noexcept
    {
        state.left = ::new (place) Place{state.left};
        if (--state.count == 0)
            state.DropPages();
    }
    static void Release(State* state) noexcept
    {
        if (--state->holders == 0)
            delete state;
    }

    State* m_state = nullptr;
};

} // namespace platform
