#include "core/platform/SystemTime.h"

#include <chrono>

namespace platform {

namespace {

// Whether every field is one that the calendar and the clock have; some months end before the 31st.
bool IsInRange(const _SYSTEMTIME& time) noexcept
{
    return time.wYear >= 1601 && time.wYear <= 30827 && time.wMonth <= 12 && time.wDay <= 31 &&
           time.wHour < 24 && time.wMinute < 60 && time.wSecond < 60 && time.wMilliseconds < 1000;
}

} // namespace

TimeStamp ToTimeStamp(const _SYSTEMTIME& time) noexcept
{
    return {.month = time.wMonth,
            .day = time.wDay,
            .year = time.wYear,
            .hour = time.wHour,
            .minute = time.wMinute,
            .second = time.wSecond,
            .millisecond = time.wMilliseconds};
}

void SetTime(_SYSTEMTIME& time, const TimeStamp& stamp) noexcept
{
    time = {.wYear = static_cast<std::uint16_t>(stamp.year),
            .wMonth = static_cast<std::uint16_t>(stamp.month),
            .wDayOfWeek = 0,
            .wDay = static_cast<std::uint16_t>(stamp.day),
            .wHour = static_cast<std::uint16_t>(stamp.hour),
            .wMinute = static_cast<std::uint16_t>(stamp.minute),
            .wSecond = static_cast<std::uint16_t>(stamp.second),
            .wMilliseconds = static_cast<std::uint16_t>(stamp.millisecond)};
    const std::chrono::year_month_day date(std::chrono::year(time.wYear),
                                           std::chrono::month(time.wMonth),
                                           std::chrono::day(time.wDay));
    if (IsInRange(time) && date.ok())
        time.wDayOfWeek = static_cast<std::uint16_t>(std::chrono::weekday(date).c_encoding());
}

} // namespace platform
