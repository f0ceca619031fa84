#pragma once

#include "core/platform/OwnerCount.h"

#include <atomic>
#include <cstdint>

namespace platform {

/// Held by one exclusive holder or by any number of shared ones. It belongs to no thread: anyone
/// may release it, and nothing happens when it is not held. Neither kind of hold nests, and there
/// is no order among those who wait. A small value inside its owner; free at the start, not copied.
class SharedLock {
public:
    SharedLock() noexcept = default;
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;

    void LockShared() noexcept;
    void LockExclusive() noexcept;
    /// The same only while it is free, and nobody waits for it; false otherwise.
    [[nodiscard]] bool TakeFree() noexcept;
    void UnlockShared() noexcept;
    void UnlockExclusive() noexcept;
    /// Without waiting: false when it is held otherwise, or someone is in the midst of taking it.
    [[nodiscard]] bool TryLockShared() noexcept;
    [[nodiscard]] bool TryLockExclusive() noexcept;
    /// What is held now. In one order, that all threads agree on, with the taking of an exclusive
    /// hold and with other sequentially consistent steps.
    [[nodiscard]] bool IsExclusive() const noexcept;

private:
#if defined(_WIN32)
    alignas(8) std::uint32_t m_state[4] = {}; // a slim lock, and how it is held
#else
    /// From the state `from` to `to`; false when it was another.
    bool Change(std::uint32_t from, std::uint32_t to, std::memory_order order) noexcept;
    // When somebody else has it, too, or sleeps.
    void LockSharedBesides() noexcept;
    void LockExclusiveBesides() noexcept;
    void UnlockSharedBesides() noexcept;
    void UnlockExclusiveBesides() noexcept;
    /// Sleeps until the state is no longer `seen`, and gives the new one.
    std::uint32_t SleepWhile(std::uint32_t seen) noexcept;

    // Who holds it, and whether someone sleeps until that changes.
    static constexpr std::uint32_t kExclusive = 1;
    static constexpr std::uint32_t kSleepers = 2;
    static constexpr std::uint32_t kShare = 4; // one shared hold

    std::atomic<std::uint32_t> m_state = 0;
#endif
};

#if !defined(_WIN32)

inline bool SharedLock::Change(std::uint32_t from, std::uint32_t to,
                               std::memory_order order) noexcept
{
    if (!IsOnlyThread())
        return m_state.compare_exchange_strong(from, to, order, std::memory_order_relaxed);
    if (m_state.load(std::memory_order_relaxed) != from)
        return false;
    m_state.store(to, std::memory_order_relaxed);
    return true;
}

inline void SharedLock::LockShared() noexcept
{
    if (!Change(0, kShare, std::memory_order_acquire))
        LockSharedBesides();
}

inline bool SharedLock::IsExclusive() const noexcept
{
    return (m_state.load() & kExclusive) != 0;
}

inline bool SharedLock::TakeFree() noexcept
{
    return Change(0, kExclusive, std::memory_order_seq_cst);
}

inline void SharedLock::LockExclusive() noexcept
{
    if (!TakeFree())
        LockExclusiveBesides();
}

inline void SharedLock::UnlockShared() noexcept
{
    if (!Change(kShare, 0, std::memory_order_release))
        UnlockSharedBesides();
}

inline void SharedLock::UnlockExclusive() noexcept
{
    if (!Change(kExclusive, 0, std::memory_order_release))
        UnlockExclusiveBesides();
}

#endif

} // namespace platform
