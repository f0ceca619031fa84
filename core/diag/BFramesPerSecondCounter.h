#pragma once

#include "core/base/BArray.h"
#include "core/platform/Export.h"

#include <cstdint>

/// Frames per second over a window that slides along with the latest frame. A value; used by one
/// thread at a time.
class QD_CORE_API BFramesPerSecondCounter {
public:
    /// `windowRate` windows make a second: 1.0 measures over one second, 2.0 over half of one.
    explicit BFramesPerSecondCounter(double windowRate = 1.0);

    /// Tells of a frame that is shown now.
    void AddFrame();
    /// 0.0 until there are two frames.
    [[nodiscard]] double Fps() const noexcept;
    /// Forgets all frames.
    void Restart() noexcept { m_timeStamps.RemoveAll(); }

protected:
    /// Tells of a frame at a value of the performance counter, not before that of the last one.
    void AddFrameAt(std::int64_t counter);

private:
    std::int64_t m_frequency;          // counter ticks in a second
    BArray<std::int64_t> m_timeStamps; // counter values, oldest first
    std::int64_t m_window;             // counter ticks
};
