#pragma once

#include "tests/ResourceLimit.h"

#include <cstdio>
#include <cstdlib>
#include <malloc.h>

/// Leaves this process no more than so many pages of address space while it lives.
class SpaceLimit {
public:
    explicit SpaceLimit(long pages)
        : m_limit(RLIMIT_AS, (Taken() + static_cast<rlim_t>(pages)) * kPageSize)
    {}

    /// To be called beforehand: the stack takes address space, too, and nobody could tell that it
    /// got none.
    static void TouchStack()
    {
        volatile char room[512 * 1024];
        for (std::size_t i = 0; i < sizeof room; i += kPageSize)
            room[i] = 0;
    }

private:
    static constexpr rlim_t kPageSize = 4096;

    static rlim_t Taken()
    {
        ::malloc_trim(0);
        long pages = 0;
        std::FILE* const file = std::fopen("/proc/self/statm", "r");
        if (file == nullptr || std::fscanf(file, "%ld", &pages) != 1)
            std::abort();
        std::fclose(file);
        return static_cast<rlim_t>(pages);
    }

    ResourceLimit m_limit;
};
