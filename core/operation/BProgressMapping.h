#pragma once

#include "core/platform/Export.h"

#include <cstdint>

/// Maps the steps of a computation onto the progress units of its display, and looks at the clock
/// so rarely that a step costs next to nothing: updates settle where they come every 50 to 100
/// milliseconds, or with each step that takes longer.
///
///     BProgressMapping progress(points.Count(), 100);
///     for (const BPoint& point : points) {
///         Measure(point);
///         progress.Next(1);
///     }
///
/// Each update sends the units since the last one to the dispatcher, with
/// `kMessageProgressIncrement`. The update that reaches the last step fills them up to the message
/// count, and nothing goes beyond that. Units that a receiver refused by throwing, which leaves
/// `Next` or `StepTo`, come with the next update. Used by one thread at a time.
class QD_CORE_API BProgressMapping {
public:
    /// `steps` of a computation that stands for `messageCount` units. With 0 steps each one that is
    /// done is a unit, up to that count.
    BProgressMapping(std::uint64_t steps, std::uint64_t messageCount);
    BProgressMapping(const BProgressMapping& other) = default;
    BProgressMapping& operator=(const BProgressMapping& other) = default;

    // The order of the virtual functions is part of the interface; `UpdateStep` follows.

    virtual ~BProgressMapping();

    [[nodiscard]] std::uint64_t GetSteps() const noexcept { return m_steps; }
    /// Changes the scale from here on; what was done and sent stays.
    void SetSteps(std::uint64_t steps) noexcept;
    /// The current step, 0 at the start.
    [[nodiscard]] std::uint64_t Step() const noexcept { return m_step; }
    [[nodiscard]] std::uint64_t ProgressMessageNum() const noexcept { return m_messageCount; }

    /// Advances by `count` steps. Whether that brought an update.
    bool Next(std::uint64_t count)
    {
        const std::uint64_t before = m_step;
        m_step += count;
        const bool reachesEnd = before < m_steps && m_step >= m_steps;
        const bool crossesStride = (m_step & (m_stride - 1)) < count;
        if (!crossesStride && !reachesEnd)
            return false;
        UpdateStep();
        return true;
    }
    /// Advances to `step`; nothing happens, and the answer is false, unless it lies ahead.
    bool StepTo(std::uint64_t step) { return step > m_step && Next(step - m_step); }

protected:
    /// Reports what was reached and adapts the stride to the clock.
    virtual void UpdateStep();

    /// The stride that follows an update `elapsedMs` after the one before.
    [[nodiscard]] static std::uint64_t StrideAfter(std::uint64_t stride,
                                                   std::uint32_t elapsedMs) noexcept;

private:
    /// Sends what is missing to `target` units.
    void Send(std::uint64_t target);
    /// Units of the steps done so far.
    [[nodiscard]] std::uint64_t UnitsReached() const noexcept;

    std::uint64_t m_steps;
    std::uint64_t m_messageCount;
    double m_scale; // units a step
    std::uint64_t m_sent = 0;
    std::uint64_t m_step = 0;
    std::uint64_t m_stride = 1; // steps between two updates; a power of 2
    std::uint32_t m_lastTick;   // of the last update, in milliseconds
};

/// Lets the user break off: an update asks the progress manager, which throws.
class QD_CORE_API BProgressMappingAndBreak : public BProgressMapping {
public:
    using BProgressMapping::BProgressMapping;

protected:
    void UpdateStep() override;
};

/// Lets the user break off a parallel loop, out of which nothing may be thrown: an update asks the
/// progress manager and notes the break, and the loop's body leaves early when it is stopping.
///
/// Any thread may ask `IsStopping`. Only one at a time may advance, for example in a critical
/// region.
class QD_CORE_API BProgressMappingOMP : public BProgressMapping {
public:
    using BProgressMapping::BProgressMapping;

    /// Whether the user has broken off; stays so.
    [[nodiscard]] bool IsStopping() const noexcept;

protected:
    void UpdateStep() override;

private:
    mutable std::int32_t m_stopCount = 0; // updates that found a break; changed only atomically
};
