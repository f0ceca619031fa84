#include "core/platform/VirtualMemory.h"

#include <windows.h>

namespace platform {

std::uint64_t PageSize() noexcept
{
    SYSTEM_INFO info = {};
    ::GetSystemInfo(&info);
    return info.dwPageSize;
}

void* CommitMemory(std::uint64_t size, MemoryPlacement placement) noexcept
{
    const DWORD from = placement == MemoryPlacement::FromTheTop ? MEM_TOP_DOWN : 0;
    return ::VirtualAlloc(nullptr, size, MEM_COMMIT | from, PAGE_READWRITE);
}

void ReleaseMemory(void* start, std::uint64_t) noexcept
{
    ::VirtualFree(start, 0, MEM_RELEASE);
}

} // namespace platform
