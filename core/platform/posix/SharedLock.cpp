#include "core/platform/SharedLock.h"

#include <atomic>

namespace platform {

namespace {

// The state of a lock: who holds it, and whether someone sleeps until that changes.
using State = std::atomic_ref<std::uint32_t>;
constexpr std::uint32_t kExclusive = 1;
constexpr std::uint32_t kSleepers = 2;
constexpr std::uint32_t kShare = 4; // one shared hold

/// Sleeps until the lock is no longer held as `seen` says. The state that it has then.
std::uint32_t Sleep(State state, std::uint32_t seen) noexcept
{
    if ((seen & kSleepers) != 0 ||
        state.compare_exchange_strong(seen, seen | kSleepers, std::memory_order_relaxed))
        state.wait(seen | kSleepers, std::memory_order_relaxed);
    return state.load(std::memory_order_relaxed);
}

} // namespace

void SharedLock::LockShared() noexcept
{
    const State state(m_state[0]);
    std::uint32_t seen = state.load(std::memory_order_relaxed);
    for (;;) {
        if ((seen & kExclusive) != 0)
            seen = Sleep(state, seen);
        else if (state.compare_exchange_weak(seen, seen + kShare, std::memory_order_acquire,
                                             std::memory_order_relaxed))
            return;
    }
}

void SharedLock::LockExclusive() noexcept
{
    const State state(m_state[0]);
    std::uint32_t seen = 0;
    while (!state.compare_exchange_weak(seen, seen | kExclusive, std::memory_order_acquire,
                                        std::memory_order_relaxed)) {
        while ((seen & ~kSleepers) != 0)
            seen = Sleep(state, seen);
    }
}

void SharedLock::UnlockShared() noexcept
{
    const State state(m_state[0]);
    std::uint32_t seen = state.load(std::memory_order_relaxed);
    while (seen >= kShare) {
        // The last one out wakes the sleepers.
        const std::uint32_t left = seen < 2 * kShare ? 0 : seen - kShare;
        if (!state.compare_exchange_weak(seen, left, std::memory_order_release,
                                         std::memory_order_relaxed))
            continue;
        if (left == 0 && (seen & kSleepers) != 0)
            state.notify_all();
        return;
    }
}

void SharedLock::UnlockExclusive() noexcept
{
    const State state(m_state[0]);
    std::uint32_t seen = kExclusive;
    do {
        if (state.compare_exchange_weak(seen, 0, std::memory_order_release,
                                        std::memory_order_relaxed)) {
            if ((seen & kSleepers) != 0)
                state.notify_all();
            return;
        }
    } while ((seen & kExclusive) != 0);
}

bool SharedLock::TryLockShared() noexcept
{
    const State state(m_state[0]);
    std::uint32_t seen = state.load(std::memory_order_relaxed);
    while ((seen & kExclusive) == 0) {
        if (state.compare_exchange_weak(seen, seen + kShare, std::memory_order_acquire,
                                        std::memory_order_relaxed))
            return true;
    }
    return false;
}

bool SharedLock::TryLockExclusive() noexcept
{
    const State state(m_state[0]);
    std::uint32_t seen = state.load(std::memory_order_relaxed);
    while ((seen & ~kSleepers) == 0) {
        if (state.compare_exchange_weak(seen, seen | kExclusive, std::memory_order_acquire,
                                        std::memory_order_relaxed))
            return true;
    }
    return false;
}

} // namespace platform
