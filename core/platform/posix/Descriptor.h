#pragma once

#include <unistd.h>
#include <utility>

namespace platform {

/// Owns a file descriptor.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int value) noexcept
        : m_value(value)
    {}
    Descriptor(Descriptor&& other) noexcept
        : m_value(other.Release())
    {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~Descriptor()
    {
        if (IsOpen())
            ::close(m_value);
    }

    [[nodiscard]] bool IsOpen() const noexcept { return m_value >= 0; }
    [[nodiscard]] int Get() const noexcept { return m_value; }
    int Release() noexcept { return std::exchange(m_value, -1); }

private:
    int m_value = -1;
};

} // namespace platform
