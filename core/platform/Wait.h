#pragma once

#include "core/platform/Clock.h"

#include <algorithm>
#include <cstdint>

namespace platform {

/// Bounds a wait for others, by the clock and not by a number of pauses: one of a millisecond may
/// last sixteen, until the system's timer ticks. What passes between two looks counts for half a
/// second at most, so that a process that stood still itself does not give up at once.
class Wait {
public:
    explicit Wait(int longestMs) noexcept
        : m_leftMs(longestMs)
    {}

    [[nodiscard]] bool IsOver() noexcept
    {
        constexpr std::uint32_t mostAtOnce = 500;
        const std::uint32_t now = TickCount();
        m_leftMs -= static_cast<int>((std::min)(now - m_last, mostAtOnce));
        m_last = now;
        return m_leftMs <= 0;
    }

private:
    int m_leftMs;
    std::uint32_t m_last = TickCount();
};

} // namespace platform
