#pragma once

#include <windows.h>
#include <utility>

namespace platform {

/// Owns a kernel handle that `CreateFileW` or another function gave.
class Handle {
public:
    Handle() = default;
    explicit Handle(void* value) noexcept
        : m_value(value)
    {}
    Handle(Handle&& other) noexcept
        : m_value(other.Release())
    {}
    Handle& operator=(Handle&& other) noexcept
    {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~Handle()
    {
        if (IsOpen())
            ::CloseHandle(m_value);
    }

    [[nodiscard]] bool IsOpen() const noexcept
    {
        return m_value != nullptr && m_value != INVALID_HANDLE_VALUE;
    }
    [[nodiscard]] void* Get() const noexcept { return m_value; }
    void* Release() noexcept { return std::exchange(m_value, nullptr); }

private:
    void* m_value = nullptr;
};

} // namespace platform
