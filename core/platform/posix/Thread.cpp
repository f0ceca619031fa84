#include "core/platform/Thread.h"

#include <pthread.h>
#include <unistd.h>

namespace platform {

namespace {

// A thread that forks keeps its id in the copy, where it may hold locks by it. The system knows it
// there by another one, that of the process, and may give the old one to a further thread once the
// original has ended.
std::uint32_t g_keptId = 0;

[[maybe_unused]] const int g_atFork =
    ::pthread_atfork(nullptr, nullptr, [] { g_keptId = t_threadId; });

} // namespace

std::uint32_t AskThreadId() noexcept
{
    const auto id = static_cast<std::uint32_t>(::gettid());
    return t_threadId = id != g_keptId ? id : static_cast<std::uint32_t>(::getpid());
}

void AtFork(void (*before)() noexcept, void (*after)() noexcept) noexcept
{
    ::pthread_atfork(before, after, after);
}

bool AreOthersGone() noexcept
{
    return false;
}

} // namespace platform
