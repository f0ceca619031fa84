#pragma once

#include "core/platform/Export.h"

#include <cstdint>
#if !defined(_WIN32)
# include <mutex>
#endif

/// The platform's own structures that public signatures name. On Windows they are only declared, so
/// that no public header brings in `<windows.h>`; elsewhere those that are data have the same
/// layout.
// NOLINTBEGIN(bugprone-reserved-identifier): the names that the platform's headers have.
#if defined(_WIN32)
struct _SYSTEMTIME;
struct tagPOINT;
struct tagSIZE;
struct tagRECT;
struct _RTL_CRITICAL_SECTION;
struct HWND__;
using HWND = HWND__*;
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

/// A lock that its thread may take again; ready for use once constructed.
struct _RTL_CRITICAL_SECTION {
    std::recursive_mutex mutex;
};

/// What takes the place of a window: the application derives it and queues the messages for its
/// user interface. It must stay until nobody posts to it any more.
struct QD_CORE_API QDWindow {
    /// Queues the message and returns; called on any thread. False when it will not be delivered.
    virtual bool Post(unsigned int message, std::uint64_t first, std::int64_t second) = 0;

protected:
    ~QDWindow() = default;
};
using HWND = QDWindow*;
#endif
// NOLINTEND(bugprone-reserved-identifier)

using SYSTEMTIME = _SYSTEMTIME;
using CRITICAL_SECTION = _RTL_CRITICAL_SECTION;
