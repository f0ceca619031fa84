#pragma once

// The sources of the locks as they stand, for threads that are switched by hand: those of this
// system, or with QD_SLIM_LOCKS those of Windows over a slim lock that is made likewise.

#include "core/platform/Export.h"

#include "soak/locks/Scheduled.h"

#include <cassert>
#include <sys/single_threaded.h>

inline char g_isOnlyThread = 0;

#define std scheduled
#define __libc_single_threaded g_isOnlyThread
#if defined(QD_SLIM_LOCKS)
# define _WIN32
#endif

#include "core/platform/Event.cpp"
#include "core/sync/LockState.cpp"
#if defined(QD_SLIM_LOCKS)
# include "core/platform/win32/SharedLock.cpp"
# undef _WIN32
#else
# include "core/platform/posix/SharedLock.cpp"
#endif

#undef __libc_single_threaded
#undef std

namespace platform {

#if defined(QD_SLIM_LOCKS)

std::uint32_t CurrentThreadId() noexcept
{
    return static_cast<std::uint32_t>(scheduled::g_running + 1);
}

std::uint32_t KnownThreadId() noexcept
{
    return CurrentThreadId();
}

#else

std::uint32_t AskThreadId() noexcept
{
    return t_threadId = static_cast<std::uint32_t>(scheduled::g_running + 1);
}

#endif

} // namespace platform

/// Lets a thread make a step, with its own id.
inline void Go(int thread)
{
#if defined(QD_SLIM_LOCKS)
    scheduled::Resume(thread);
#else
    std::uint32_t& id = scheduled::g_world.threads[thread].local;
    platform::t_threadId = id;
    scheduled::Resume(thread);
    id = platform::t_threadId;
#endif
}
