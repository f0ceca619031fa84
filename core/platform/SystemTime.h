#pragma once

#include "core/platform/Types.h"

/// The platform's `_SYSTEMTIME`, which only the seam can look into on Windows.
namespace platform {

/// What a text tells of a time; months and days count from 1.
struct TimeStamp {
    int month;
    int day;
    int year;
    int hour;
    int minute;
    int second;
    int millisecond;
};

[[nodiscard]] TimeStamp ToTimeStamp(const _SYSTEMTIME& time) noexcept;

/// Sets every field, cut to 16 bits. The day of the week is that of the date, as
/// `SystemTimeToFileTime` and back tells it: a time that does not exist, or one outside the years
/// 1601 to 30827, keeps the day 0.
void SetTime(_SYSTEMTIME& time, const TimeStamp& stamp) noexcept;

} // namespace platform
