#pragma once

#include <cstdint>
#include <mutex>

/// Before the declaration of a `thread_local` that is asked for often, and is no more than a number
/// or a pointer: found by one instruction, where a shared library would call for it. Room for such
/// variables is scarce.
#if defined(_WIN32)
# define QD_QUICK_THREAD_LOCAL
#else
# define QD_QUICK_THREAD_LOCAL [[gnu::tls_model("initial-exec")]]
#endif

namespace platform {

/// The system's id of the calling thread (`GetCurrentThreadId`); one that forks keeps it in the
/// copy of the process. Never 0; ids of ended threads may come again.
[[nodiscard]] std::uint32_t CurrentThreadId() noexcept;

/// The same, or 0 on a thread that did not ask for its id so far: without a call.
[[nodiscard]] std::uint32_t KnownThreadId() noexcept;

/// From now on calls `before` on a thread that is about to copy the process, and `after` when that
/// is done, in the process and in its copy. Windows copies none.
void AtFork(void (*before)() noexcept, void (*after)() noexcept) noexcept;

/// From now on `lock` is free in each copy of the process, where nobody would give back that of
/// another thread: who makes the copy holds it meanwhile.
template <std::mutex& lock>
void HoldAtFork() noexcept
{
    AtFork([]() noexcept { lock.lock(); }, []() noexcept { lock.unlock(); });
}

/// Whether this is the only thread that is left, as the others were ended wherever they were, also
/// with a lock in their hands: on Windows, while a process that ends unloads its libraries.
[[nodiscard]] bool AreOthersGone() noexcept;

#if !defined(_WIN32)

// 0 until it is asked for. Locks ask often.
QD_QUICK_THREAD_LOCAL inline constinit thread_local std::uint32_t t_threadId = 0;

std::uint32_t AskThreadId() noexcept;

inline std::uint32_t CurrentThreadId() noexcept
{
    return t_threadId != 0 ? t_threadId : AskThreadId();
}

inline std::uint32_t KnownThreadId() noexcept
{
    return t_threadId;
}

#endif

} // namespace platform
