#include "core/diag/BStopWatch.h"

#include "core/platform/Clock.h"

namespace {

std::int64_t Now() noexcept
{
    return platform::PerformanceCounter().value_or(0); // no clock: no time passes
}

double TicksPerMillisecond() noexcept
{
    const std::optional<std::int64_t> frequency = platform::PerformanceFrequency();
    return frequency ? static_cast<double>(*frequency) * 0.001 : 1.0;
}

} // namespace

BStopWatch::BStopWatch(bool running) noexcept
    : m_start(Now())
    , m_stop(running ? 0 : m_start)
    , m_ticksPerMillisecond(TicksPerMillisecond())
{}

void BStopWatch::Reset() noexcept
{
    m_start = Now();
    m_stop = 0;
}

void BStopWatch::Stop() noexcept
{
    if (IsRunning())
        m_stop = Now();
}

void BStopWatch::Continue() noexcept
{
    if (IsRunning())
        return;
    // The start moves on by the pause, so that a period is one difference whatever came before.
    m_start += Now() - m_stop;
    m_stop = 0;
}

unsigned long BStopWatch::Period() const noexcept
{
    return static_cast<unsigned long>(static_cast<std::int64_t>(PeriodD()));
}

double BStopWatch::PeriodD() const noexcept
{
    const std::int64_t end = IsRunning() ? Now() : m_stop;
    return static_cast<double>(end - m_start) / m_ticksPerMillisecond;
}
