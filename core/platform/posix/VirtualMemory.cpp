#include "core/platform/VirtualMemory.h"

#include <sys/mman.h>
#include <unistd.h>

namespace platform {

std::uint64_t PageSize() noexcept
{
    static const auto size = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    return size;
}

void* CommitMemory(std::uint64_t size, MemoryPlacement) noexcept
{
    void* const start =
        ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return start != MAP_FAILED ? start : nullptr;
}

void ReleaseMemory(void* start, std::uint64_t size) noexcept
{
    ::munmap(start, size);
}

} // namespace platform
