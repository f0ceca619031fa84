#include "core/platform/Clock.h"

#include <ctime>

namespace platform {

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

} // namespace

std::optional<std::int64_t> PerformanceCounter() noexcept
{
    timespec now = {};
    if (::clock_gettime(CLOCK_BOOTTIME, &now) != 0)
        return std::nullopt;
    return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

std::optional<std::int64_t> PerformanceFrequency() noexcept
{
    return kNanosecondsPerSecond;
}

std::uint32_t TickCount() noexcept
{
    constexpr std::int64_t perMillisecond = kNanosecondsPerSecond / 1000;
    return static_cast<std::uint32_t>(PerformanceCounter().value_or(0) / perMillisecond);
}

CalendarTime LocalTime() noexcept
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    if (::localtime_r(&now, &local) == nullptr)
        return {};
    return {.year = local.tm_year + 1900,
            .month = local.tm_mon + 1,
            .day = local.tm_mday,
            .hour = local.tm_hour,
            .minute = local.tm_min,
            .second = local.tm_sec};
}

} // namespace platform
