#include "core/platform/VirtualMemory.h"

#include <cstddef>
#include <sys/mman.h>
#include <unistd.h>

namespace platform {

std::uint64_t PageSize() noexcept
{
    static const auto size = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    return size;
}

namespace {

// What comes in so large a piece is filled with measurements: a fault for each of its pages costs
// several times as much as zeroing them, and what the processor keeps of where pages are reaches
// for a few megabytes only. The kernel gives 4 KiB pages where it has no large one, and below this
// size always.
void PreferLargePages([[maybe_unused]] void* start, [[maybe_unused]] std::uint64_t size) noexcept
{
#if defined(MADV_HUGEPAGE)
    constexpr std::uint64_t largePage = 2 << 20;
    if (size >= largePage)
        ::madvise(start, size, MADV_HUGEPAGE);
#endif
}

std::byte* Map(std::uint64_t size) noexcept
{
    void* const start =
        ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return start != MAP_FAILED ? static_cast<std::byte*>(start) : nullptr;
}

} // namespace

void* CommitMemory(std::uint64_t size, MemoryPlacement) noexcept
{
    void* const start = Map(size);
    if (start != nullptr)
        PreferLargePages(start, size);
    return start;
}

// Most ranges come to lie below the one before, and are aligned as that was.
void* CommitAligned(std::uint64_t size) noexcept
{
    const auto missing = [size](const std::byte* start) {
        return -reinterpret_cast<std::uintptr_t>(start) & (size - 1);
    };
    std::byte* start = Map(size);
    if (start == nullptr || missing(start) == 0)
        return start;
    ReleaseMemory(start, size);
    start = Map(2 * size);
    if (start == nullptr)
        return nullptr;
    const std::uint64_t before = missing(start);
    if (before != 0)
        ReleaseMemory(start, before);
    ReleaseMemory(start + before + size, size - before);
    return start + before;
}

void ReleaseMemory(void* start, std::uint64_t size) noexcept
{
    ::munmap(start, size);
}

} // namespace platform
