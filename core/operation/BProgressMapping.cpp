#include "core/operation/BProgressMapping.h"

#include "core/operation/BDispatcher.h"
#include "core/operation/BProgressManager.h"
#include "core/operation/Messages.h"
#include "core/platform/Clock.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cassert>

// A loop tells each of its steps, millions a second, while the display wants some ten messages a
// second. So `Next` is inline and asks the clock only each `m_stride`th step; the stride is doubled
// or halved until that is every 50 to 100 ms. A clock asked at each step, or a fixed share of the
// steps, would cost more than the work or leave the bar standing when steps become slow.
namespace {

double UnitsPerStep(std::uint64_t steps, std::uint64_t messageCount) noexcept
{
    return steps == 0 ? 1.0 : static_cast<double>(messageCount) / static_cast<double>(steps);
}

} // namespace

BProgressMapping::BProgressMapping(std::uint64_t steps, std::uint64_t messageCount)
    : m_steps(steps)
    , m_messageCount(messageCount)
    , m_scale(UnitsPerStep(steps, messageCount))
    , m_lastTick(platform::TickCount())
{}

BProgressMapping::~BProgressMapping() = default;

void BProgressMapping::SetSteps(std::uint64_t steps) noexcept
{
    m_steps = steps;
    m_scale = UnitsPerStep(steps, m_messageCount);
}

void BProgressMapping::UpdateStep()
{
    assert(std::has_single_bit(m_stride)); // `Next` masks with it
    Send(UnitsReached());
    // After the send, so that a slow display counts as work and is called the less often.
    const std::uint32_t now = platform::TickCount();
    m_stride = StrideAfter(m_stride, now - m_lastTick);
    m_lastTick = now;
}

std::uint64_t BProgressMapping::StrideAfter(std::uint64_t stride, std::uint32_t elapsedMs) noexcept
{
    // Powers of 2 alone, so that the test of each step is a mask and no division.
    constexpr std::uint32_t kTooSoonMs = 50;
    constexpr std::uint32_t kTooLateMs = 100;
    constexpr std::uint64_t kLongest = std::uint64_t{1} << 63;
    if (elapsedMs < kTooSoonMs)
        return stride < kLongest ? stride * 2 : stride;
    if (elapsedMs > kTooLateMs)
        return std::max<std::uint64_t>(stride / 2, 1);
    return stride;
}

void BProgressMapping::Send(std::uint64_t target)
{
    if (m_sent >= target)
        return;
    // Counted before they go, as the receiver may advance this mapping.
    const std::uint64_t increment = target - m_sent;
    m_sent = target;
    try {
        QDSend(kMessageProgressIncrement, increment, 0);
    } catch (...) {
        m_sent -= std::min(m_sent, increment); // the receiver may have begun it anew
        throw;
    }
}

std::uint64_t BProgressMapping::UnitsReached() const noexcept
{
    // The scale may round down, so the last step is not left to it.
    if (m_steps != 0 && m_step >= m_steps)
        return m_messageCount;
    const double units = static_cast<double>(m_step) * m_scale;
    if (units >= static_cast<double>(m_messageCount))
        return m_messageCount;
    return static_cast<std::uint64_t>(units);
}

void BProgressMappingAndBreak::UpdateStep()
{
    BProgressMapping::UpdateStep();
    BProgressManager::InstanceTestUserBreak();
}

// A plain number that is changed atomically, as an atomic one would forbid copies of the mapping.
bool BProgressMappingOMP::IsStopping() const noexcept
{
    return std::atomic_ref(m_stopCount).load() != 0;
}

void BProgressMappingOMP::UpdateStep()
{
    BProgressMapping::UpdateStep();
    if (BProgressManager::InstanceBreakLongOperation(false))
        std::atomic_ref(m_stopCount).fetch_add(1);
}
