#pragma once

#include "core/platform/Export.h"

#include <cstdint>

/// A stopwatch that can pause. A value; used by one thread at a time.
class QD_CORE_API BStopWatch {
public:
    /// Starts now; with `running` false it stands at 0 until `Continue()`.
    explicit BStopWatch(bool running = true) noexcept;

    /// Starts again from 0.
    void Reset() noexcept;
    void Stop() noexcept;
    /// Runs on; the time since `Stop()` does not count.
    void Continue() noexcept;

    [[nodiscard]] bool IsRunning() const noexcept { return m_stop == 0; }

    /// Whole milliseconds measured so far.
    [[nodiscard]] unsigned long Period() const noexcept;
    /// Milliseconds with their fraction.
    [[nodiscard]] double PeriodD() const noexcept;

private:
    std::int64_t m_start; // counter value
    std::int64_t m_stop;  // counter value; 0 while running
    double m_ticksPerMillisecond;
};
