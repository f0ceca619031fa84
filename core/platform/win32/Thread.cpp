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

bool AreOthersGone() noexcept
{
    const HMODULE system = ::GetModuleHandleW(L"ntdll.dll");
    const FARPROC isEnding =
        system != nullptr ? ::GetProcAddress(system, "RtlDllShutdownInProgress") : nullptr;
    return isEnding != nullptr &&
           reinterpret_cast<BOOLEAN(NTAPI*)()>(reinterpret_cast<void*>(isEnding))() != 0;
}

} // namespace platform
