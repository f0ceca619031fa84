#include "core/platform/Thread.h"

#include <unistd.h>

namespace platform {

namespace {

// 0 until it is asked for. Locks ask often, so it stands where one instruction finds it.
[[gnu::tls_model("initial-exec")]] constinit thread_local std::uint32_t t_id = 0;

} // namespace

std::uint32_t CurrentThreadId() noexcept
{
    if (t_id == 0)
        t_id = static_cast<std::uint32_t>(::gettid());
    return t_id;
}

} // namespace platform
