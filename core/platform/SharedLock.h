#pragma once

#include <cstdint>

namespace platform {

/// Held by one exclusive holder or by any number of shared ones. It belongs to no thread: anyone may
/// release it, and nothing happens when it is not held. Neither kind of hold nests, and there is no
/// order among those who wait. A small value inside its owner; free at the start, not copied.
class SharedLock {
public:
    SharedLock() noexcept = default;
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;

    void LockShared() noexcept;
    void LockExclusive() noexcept;
    void UnlockShared() noexcept;
    void UnlockExclusive() noexcept;
    /// Without waiting: false when it is held otherwise, or someone is in the midst of taking it.
    [[nodiscard]] bool TryLockShared() noexcept;
    [[nodiscard]] bool TryLockExclusive() noexcept;

private:
    alignas(8) std::uint32_t m_state[4] = {}; // the platform's own lock
};

} // namespace platform
