#include "core/platform/Thread.h"

#include <pthread.h>
#include <unistd.h>

namespace platform {

std::uint32_t AskThreadId() noexcept
{
    return t_threadId = static_cast<std::uint32_t>(::gettid());
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
