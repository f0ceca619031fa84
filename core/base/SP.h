#pragma once

#include "core/platform/Export.h" // asks for C++20

#include <concepts>
#include <cstddef>
#include <utility>

/// Shared pointer to a BSmartObj or a class derived from it: one raw pointer that owns a reference
/// while it is not null. The last SP to go destroys the object.
///
/// Pointers to one object may be copied and dropped on any threads at once; one SP is used by one
/// thread at a time. `T` may be incomplete where an SP is only declared.
///
///     SP<BNode> node = new BNode;
///     SP<BSmartObj> object = node; // the same object, now counted twice
template <class T>
class SP {
public:
    constexpr SP() noexcept = default;
    // A template, so that a literal 0 converts to `T*` alone.
    template <std::same_as<std::nullptr_t> Null>
    constexpr SP(Null) noexcept
    {}

    // The formatter takes a name in capitals for a macro.
    // clang-format off

    /// Takes a reference on `object`, which may be null, also as a literal 0.
    SP(T* object) noexcept
        : m_object(object)
    {
        if (m_object != nullptr)
            m_object->Ref();
    }

    SP(const SP& other) noexcept
        : SP(other.m_object)
    {}
    SP(SP&& other) noexcept
        : m_object(std::exchange(other.m_object, nullptr))
    {}

    /// From an SP of a derived class, or of the class without const.
    template <class U>
    SP(const SP<U>& other) noexcept
        requires std::convertible_to<U*, T*>
        : SP(static_cast<T*>(other.m_object))
    {}
    template <class U>
    SP(SP<U>&& other) noexcept
        requires std::convertible_to<U*, T*>
        : m_object(std::exchange(other.m_object, nullptr))
    {}

    // clang-format on

    ~SP()
    {
        if (m_object != nullptr)
            m_object->Unref();
    }

    /// The object held before is released after this pointer has taken the new one.
    SP& operator=(SP other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }

    /// Not counted: good while an SP holds the object.
    [[nodiscard]] T* Get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

private:
    template <class>
    friend class SP;

    T* m_object = nullptr;
};

template <class T, class U>
[[nodiscard]] bool operator==(const SP<T>& a, const SP<U>& b) noexcept
{
    return a.Get() == b.Get();
}

template <class T, class U>
[[nodiscard]] bool operator==(const SP<T>& a, U* b) noexcept
{
    return a.Get() == b;
}

template <class T>
[[nodiscard]] bool operator==(const SP<T>& a, std::nullptr_t) noexcept
{
    return a.Get() == nullptr;
}
