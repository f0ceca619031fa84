#include "core/diag/BFramesPerSecondCounter.h"

#include "core/platform/Clock.h"

namespace {

constexpr std::uint64_t kGrowStep = 128;

// A rate of 0 or not-a-number has a window without end.
std::int64_t WindowTicks(std::int64_t frequency, double windowRate) noexcept
{
    const double ticks = static_cast<double>(frequency) / windowRate;
    if (ticks < 0.0)
        return 0;
    return ticks < 9.2e18 ? static_cast<std::int64_t>(ticks) : INT64_MAX;
}

} // namespace

BFramesPerSecondCounter::BFramesPerSecondCounter(double windowRate)
    : m_frequency(platform::PerformanceFrequency().value_or(0))
    , m_timeStamps(kGrowStep)
    , m_window(WindowTicks(m_frequency, windowRate))
{}

void BFramesPerSecondCounter::AddFrame()
{
    if (const std::optional<std::int64_t> now = platform::PerformanceCounter())
        AddFrameAt(*now);
}

double BFramesPerSecondCounter::Fps() const noexcept
{
    const std::uint64_t count = m_timeStamps.Count();
    if (count < 2)
        return 0.0;
    const std::int64_t ticks = m_timeStamps[count - 1] - m_timeStamps[0];
    return static_cast<double>(count - 1) * static_cast<double>(m_frequency) /
           static_cast<double>(ticks);
}

void BFramesPerSecondCounter::AddFrameAt(std::int64_t counter)
{
    m_timeStamps.Append(counter);
    // Two always stay, so that a slow display has a rate, too.
    while (m_timeStamps.Count() > 2 && counter - m_timeStamps[0] > m_window)
        m_timeStamps.RemoveAt(0);
}
