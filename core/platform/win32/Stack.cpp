#include "core/platform/Stack.h"

#include <windows.h>

namespace platform {

bool IsStackShort() noexcept
{
    ULONG_PTR low = 0;
    ULONG_PTR high = 0;
    ::GetCurrentThreadStackLimits(&low, &high);
    const volatile char local = 0;
    const auto here = reinterpret_cast<ULONG_PTR>(&local);
    return here >= high || here < low + (high - low) / 4;
}

} // namespace platform
