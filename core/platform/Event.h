#pragma once

#include <atomic>
#include <cstdint>

namespace platform {

/// What the writers of a lock wait at until its readers have left: a count of readers of the lock's
/// own, and an event for the readers of all its copies, which share it.
///
/// The event stays as it was last put, signalled or not. Copies are the same event, and the last of
/// them ends it. As long as there is no copy nobody looks at it, and nobody need put it: the count
/// tells all.
class Event {
public:
    using Count = std::atomic<std::int64_t>; // read with sequential consistency

    /// Signalled.
    Event();
    Event(const Event& other) noexcept;
    Event& operator=(const Event& other) noexcept;
    ~Event();

    /// Whether there are copies.
    [[nodiscard]] bool IsShared() const noexcept { return m_state->IsShared(); }
    /// Lets everybody go who waits for the event, even when `Reset` follows at once.
    void Set() noexcept;
    void Reset() noexcept;
    /// For who took the last reader from a count, with sequential consistency: those who wait look
    /// at their counts.
    void Stir() noexcept
    {
        if (m_state->waiters.load() != 0)
            Wake();
    }
    /// Whether the event is signalled, if it is shared, and no reader is counted.
    [[nodiscard]] bool IsOver(const Count& readers) const noexcept
    {
        return m_state->IsOpen() && readers <= 0;
    }
    /// Waits until that is so.
    void Wait(const Count& readers) const
    {
        if (!IsOver(readers))
            Sleep(readers);
    }
    /// False when it did not come to that within `timeoutMs`.
    [[nodiscard]] bool WaitFor(std::uint32_t timeoutMs, const Count& readers) const;

private:
    class Shared;
    struct State {
        [[nodiscard]] bool IsShared() const noexcept
        {
            return references.load(std::memory_order_acquire) != 1;
        }
        [[nodiscard]] bool IsOpen() const noexcept
        {
            return !IsShared() || isSignalled.load(std::memory_order_acquire);
        }

        std::atomic<std::uint32_t> references = 1;
        std::atomic<std::uint32_t> waiters = 0;
        std::atomic<bool> isSignalled = true;
    };

    [[nodiscard]] Shared& Own() const noexcept;
    void Wake() noexcept;
    void Sleep(const Count& readers) const;

    State* m_state; // of a Shared, counted
};

} // namespace platform
