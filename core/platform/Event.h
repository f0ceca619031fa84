#pragma once

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
    void Wait() const;
    /// False when it was not signalled within `timeoutMs`.
    [[nodiscard]] bool WaitFor(std::uint32_t timeoutMs) const;

private:
    class Shared;

    Shared* m_shared; // counted
};

} // namespace platform
