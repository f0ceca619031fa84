#pragma once

#include <windows.h>

namespace platform {

/// Bounds a wait for others, by the clock and not by a number of pauses: one of a millisecond lasts
/// until the system's timer ticks, which may be sixteen.
class Wait {
public:
    explicit Wait(int longestMs) noexcept
        : m_longestMs(longestMs > 0 ? static_cast<ULONGLONG>(longestMs) : 0)
    {}
    [[nodiscard]] bool IsOver() const noexcept
    {
        return ::GetTickCount64() - m_start >= m_longestMs;
    }

private:
    ULONGLONG m_start = ::GetTickCount64();
    ULONGLONG m_longestMs;
};

} // namespace platform
