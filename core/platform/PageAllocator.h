#pragma once

#include "core/platform/VirtualMemory.h"

#include <cstddef>
#include <limits>
#include <memory>
#include <new>

namespace platform {

/// An allocator for what is asked for in few and large pieces, as tables are: these come from the
/// system, which puts memory behind them by large pages where it has such, and behind the heap by
/// 4 KiB. Smaller pieces are the heap's.
template <class T>
struct PageAllocator {
    using value_type = T;

    [[nodiscard]] T* allocate(std::size_t count)
    {
        if (!IsLarge(count))
            return std::allocator<T>().allocate(count);
        if (count > (std::numeric_limits<std::size_t>::max)() / sizeof(T))
            throw std::bad_array_new_length();
        void* const start = CommitMemory(count * sizeof(T), MemoryPlacement::Anywhere);
        if (start == nullptr)
            throw std::bad_alloc();
        return static_cast<T*>(start);
    }
    void deallocate(T* start, std::size_t count) noexcept
    {
        if (IsLarge(count))
            ReleaseMemory(start, count * sizeof(T));
        else
            std::allocator<T>().deallocate(start, count);
    }

    friend bool operator==(PageAllocator, PageAllocator) noexcept { return true; }

private:
    static constexpr bool IsLarge(std::size_t count) noexcept
    {
        constexpr std::size_t largePage = 2 << 20;
        return count >= largePage / sizeof(T);
    }
};

} // namespace platform
