#pragma once

#include <atomic>
#include <cstdint>

namespace platform {

/// An event that stays as it was last put, signalled or not, and lets threads wait until it is
/// signalled. Copies are the same event; the last of them ends it.
class Event {
public:
    /// Signalled.
    Event();
    Event(const Event& other) noexcept;
    Event& operator=(const Event& other) noexcept;
    ~Event();

    /// Lets everybody go who waits, even when `Reset` follows at once.
    void Set() noexcept;
    void Reset() noexcept;
    void Wait() const
    {
        if (!IsSignalled())
            Sleep();
    }
    /// False when it was not signalled within `timeoutMs`.
    [[nodiscard]] bool WaitFor(std::uint32_t timeoutMs) const;

private:
    class Shared;
    struct State {
        std::atomic<bool> isSignalled = true;
    };

    [[nodiscard]] bool IsSignalled() const noexcept
    {
        return m_state->isSignalled.load(std::memory_order_acquire);
    }
    [[nodiscard]] Shared& Own() const noexcept;
    void Sleep() const;

    State* m_state; // of a Shared, counted
};

} // namespace platform
