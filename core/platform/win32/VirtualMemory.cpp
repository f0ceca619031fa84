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

// Parts of a range cannot be given back, so that the place is looked for first. Another thread may
// take it meanwhile.
void* CommitAligned(std::uint64_t size) noexcept
{
    constexpr int tries = 8;
    for (int i = 0; i != tries; ++i) {
        void* const room = ::VirtualAlloc(nullptr, 2 * size, MEM_RESERVE, PAGE_NOACCESS);
        if (room == nullptr)
            return nullptr;
        ReleaseMemory(room, 2 * size);
        const std::uintptr_t start = (reinterpret_cast<std::uintptr_t>(room) + size - 1) & -size;
        if (void* const range = ::VirtualAlloc(reinterpret_cast<void*>(start), size,
                                               MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))
            return range;
    }
    return nullptr;
}

void ReleaseMemory(void* start, std::uint64_t) noexcept
{
    ::VirtualFree(start, 0, MEM_RELEASE);
}

} // namespace platform
