#include "core/platform/SharedLock.h"

// One word with the holds in it, free when it is 0: taking and leaving a free lock is one atomic
// step in the header. `std::shared_mutex` would not do, as only the thread that took it may release
// it, and a crowd of readers shares one hold that the last of them gives back. Its release when
// nobody holds it is undefined, too; here it changes nothing, as the locks above promise.
//
// While there is no second thread, the same changes of the word are plain steps. Between the
// question for one and the last of those steps none can come: only this thread could start it. One
// that comes later, also while the lock is held, finds in the word what it would find otherwise,
// for starting a thread orders memory.
//
// An exclusive hold is taken with sequential consistency: who takes it looks at a count of readers
// afterwards, and they look here after they have counted.
//
// Who must wait says so in the word before sleeping on it (`kSleepers`), so that nobody asks the
// kernel to wake anyone up while nobody sleeps. All sleepers are woken and try again: who comes
// first has it, in no order.
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
    while (!m_state.compare_exchange_weak(seen, seen | kExclusive)) {
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
        if (m_state.compare_exchange_weak(seen, seen | kExclusive))
            return true;
    }
    return false;
}

} // namespace platform
