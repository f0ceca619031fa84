#include "core/platform/Thread.h"

#include <unistd.h>

namespace platform {

std::uint32_t AskThreadId() noexcept
{
    return t_threadId = static_cast<std::uint32_t>(::gettid());
}

} // namespace platform
