#include "core/platform/SystemTime.h"

#include <windows.h>

namespace platform {

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
    time = {.wYear = static_cast<WORD>(stamp.year),
            .wMonth = static_cast<WORD>(stamp.month),
            .wDayOfWeek = 0,
            .wDay = static_cast<WORD>(stamp.day),
            .wHour = static_cast<WORD>(stamp.hour),
            .wMinute = static_cast<WORD>(stamp.minute),
            .wSecond = static_cast<WORD>(stamp.second),
            .wMilliseconds = static_cast<WORD>(stamp.millisecond)};
    FILETIME fileTime = {};
    if (::SystemTimeToFileTime(&time, &fileTime))
        ::FileTimeToSystemTime(&fileTime, &time);
}

} // namespace platform
