#pragma once

#include <cstdint>
#include <optional>

/// The system's clocks.
namespace platform {

/// The high-resolution counter, which runs on while the machine sleeps and is not touched by
/// setting the clock (`QueryPerformanceCounter`); none when the system has no answer.
[[nodiscard]] std::optional<std::int64_t> PerformanceCounter() noexcept;

/// Its ticks in a second; the same for the life of the process.
[[nodiscard]] std::optional<std::int64_t> PerformanceFrequency() noexcept;

/// Milliseconds since the system started; begins again at 0 after 2^32 of them.
[[nodiscard]] std::uint32_t TickCount() noexcept;

/// A date and a time of day; months and days count from 1.
struct CalendarTime {
    int year = 1601;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

/// Now, in the user's time zone.
[[nodiscard]] CalendarTime LocalTime() noexcept;

} // namespace platform
