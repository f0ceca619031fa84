#include "core/platform/Clock.h"

#include <windows.h>

namespace platform {

std::optional<std::int64_t> PerformanceCounter() noexcept
{
    LARGE_INTEGER counter = {};
    if (!::QueryPerformanceCounter(&counter))
        return std::nullopt;
    return counter.QuadPart;
}

std::optional<std::int64_t> PerformanceFrequency() noexcept
{
    LARGE_INTEGER frequency = {};
    if (!::QueryPerformanceFrequency(&frequency))
        return std::nullopt;
    return frequency.QuadPart;
}

std::uint32_t TickCount() noexcept
{
    return ::GetTickCount();
}

CalendarTime LocalTime() noexcept
{
    SYSTEMTIME local = {};
    ::GetLocalTime(&local);
    return {.year = local.wYear,
            .month = local.wMonth,
            .day = local.wDay,
            .hour = local.wHour,
            .minute = local.wMinute,
            .second = local.wSecond};
}

} // namespace platform
