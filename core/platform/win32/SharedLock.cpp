#include "core/platform/SharedLock.h"

#include <windows.h>
#include <atomic>

// The system's slim lock, which any thread may release, with what it does not know beside it: how
// it is held.
namespace platform {

namespace {

// Slim locks do not say how they are held, and break when they are released while they are not.
struct State {
    SRWLOCK slim;
    std::atomic<std::uint32_t> shares; // holds that may be released
    std::atomic<bool> isExclusive;     // likewise
};

/// A slim lock is free when all its bytes are 0.
State& StateOf(std::uint32_t (&state)[4]) noexcept
{
    static_assert(sizeof(State) == sizeof state && alignof(State) <= alignof(SharedLock));
    return reinterpret_cast<State&>(state);
}

} // namespace

void SharedLock::LockShared() noexcept
{
    State& state = StateOf(m_state);
    ::AcquireSRWLockShared(&state.slim);
    ++state.shares;
}

void SharedLock::LockExclusive() noexcept
{
    State& state = StateOf(m_state);
    ::AcquireSRWLockExclusive(&state.slim);
    state.isExclusive = true;
}

bool SharedLock::TakeFree() noexcept
{
    return TryLockExclusive();
}

void SharedLock::UnlockShared() noexcept
{
    State& state = StateOf(m_state);
    std::uint32_t shares = state.shares;
    while (shares != 0) {
        if (!state.shares.compare_exchange_weak(shares, shares - 1))
            continue;
        ::ReleaseSRWLockShared(&state.slim);
        return;
    }
}

void SharedLock::UnlockExclusive() noexcept
{
    State& state = StateOf(m_state);
    if (state.isExclusive.exchange(false))
        ::ReleaseSRWLockExclusive(&state.slim);
}

bool SharedLock::TryLockShared() noexcept
{
    State& state = StateOf(m_state);
    if (::TryAcquireSRWLockShared(&state.slim) == 0)
        return false;
    ++state.shares;
    return true;
}

bool SharedLock::TryLockExclusive() noexcept
{
    State& state = StateOf(m_state);
    if (::TryAcquireSRWLockExclusive(&state.slim) == 0)
        return false;
    state.isExclusive = true;
    return true;
}

bool SharedLock::IsExclusive() const noexcept
{
    return StateOf(const_cast<std::uint32_t(&)[4]>(m_state)).isExclusive;
}

} // namespace platform
