#include "core/platform/Thread.h"

#include <windows.h>

namespace platform {

std::uint32_t CurrentThreadId() noexcept
{
    return ::GetCurrentThreadId();
}

std::uint32_t KnownThreadId() noexcept
{
    return ::GetCurrentThreadId();
}

void AtFork(void (*)() noexcept, void (*)() noexcept) noexcept {}

} // namespace platform
