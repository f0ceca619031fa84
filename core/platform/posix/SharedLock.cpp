#include "core/platform/SharedLock.h"

namespace platform {

void SharedLock::LockSharedBesides() noexcept
{
    std::uint32_t seen = m_state.load(std::memory_order_relaxed);
    for (;;) {
        if ((seen & kExclusive) != 0)
            seen = SleepWhile(seen);
        else if (m_state.compare_exchange_weak(seen, seen + kShare, std::memory_order_acquire,
                                               std::memory_order_relaxed))
            return;
    }
}

void SharedLock::LockExclusiveBesides() noexcept
{
    std::uint32_t seen = 0;
    while (!m_state.compare_exchange_weak(seen, seen | kExclusive, std::memory_order_acquire,
                                          std::memory_order_relaxed)) {
        while ((seen & ~kSleepers) != 0)
            seen = SleepWhile(seen);
    }
}

void SharedLock::UnlockSharedBesides() noexcept
{
    std::uint32_t seen = m_state.load(std::memory_order_relaxed);
    while (seen >= kShare) {
        // The last one out wakes the sleepers.
        const std::uint32_t left = seen < 2 * kShare ? 0 : seen - kShare;
        if (!m_state.compare_exchange_weak(seen, left, std::memory_order_release,
                                           std::memory_order_relaxed))
            continue;
        if (left == 0 && (seen & kSleepers) != 0)
            m_state.notify_all();
        return;
    }
}

void SharedLock::UnlockExclusiveBesides() noexcept
{
    std::uint32_t seen = kExclusive;
    do {
        if (m_state.compare_exchange_weak(seen, 0, std::memory_order_release,
                                          std::memory_order_relaxed)) {
            if ((seen & kSleepers) != 0)
                m_state.notify_all();
            return;
        }
    } while ((seen & kExclusive) != 0);
}

std::uint32_t SharedLock::SleepWhile(std::uint32_t seen) noexcept
{
    if ((seen & kSleepers) != 0 ||
        m_state.compare_exchange_strong(seen, seen | kSleepers, std::memory_order_relaxed))
        m_state.wait(seen | kSleepers, std::memory_order_relaxed);
    return m_state.load(std::memory_order_relaxed);
}

bool SharedLock::TryLockShared() noexcept
{
    std::uint32_t seen = m_state.load(std::memory_order_relaxed);
    while ((seen & kExclusive) == 0) {
        if (m_state.compare_exchange_weak(seen, seen + kShare, std::memory_order_acquire,
                                          std::memory_order_relaxed))
            return true;
    }
    return false;
}

bool SharedLock::TryLockExclusive() noexcept
{
    std::uint32_t seen = m_state.load(std::memory_order_relaxed);
    while ((seen & ~kSleepers) == 0) {
        if (m_state.compare_exchange_weak(seen, seen | kExclusive, std::memory_order_acquire,
                                          std::memory_order_relaxed))
            return true;
    }
    return false;
}

} // namespace platform
