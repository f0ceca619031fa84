#pragma once

#include <cstdint>

/// The platform's own structures that public signatures name. On Windows they are only declared, so
/// that no public header brings in `<windows.h>`; elsewhere they have the same layout.
#if defined(_WIN32)
struct _SYSTEMTIME;
struct tagPOINT;
struct tagSIZE;
struct tagRECT;
#else
/// A date and time of day. `wDayOfWeek` counts from Sunday = 0.
struct _SYSTEMTIME {
    std::uint16_t wYear;
    std::uint16_t wMonth;
    std::uint16_t wDayOfWeek;
    std::uint16_t wDay;
    std::uint16_t wHour;
    std::uint16_t wMinute;
    std::uint16_t wSecond;
    std::uint16_t wMilliseconds;
};

struct tagPOINT {
    std::int32_t x;
    std::int32_t y;
};

struct tagSIZE {
    std::int32_t cx;
    std::int32_t cy;
};

/// `right` and `bottom` are exclusive.
struct tagRECT {
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;
};
#endif

using SYSTEMTIME = _SYSTEMTIME;
