#include "core/platform/Thread.h"

#include <unistd.h>

namespace platform {

std::uint32_t CurrentThreadId() noexcept
{
    thread_local const auto id = static_cast<std::uint32_t>(::gettid());
    return id;
}

} // namespace platform
