#include "core/platform/Stack.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <pthread.h>
#include <sys/auxv.h>
#include <sys/resource.h>

namespace platform {

namespace {

struct Bounds {
    std::uintptr_t low = 0;
    std::uintptr_t high = 0; // 0: the system did not tell
};

// The main thread's, from the program's name, which stands at its top. It may grow as far as that
// only while nothing is in its way, as nothing is in the usual 8 MiB.
Bounds GuessBounds() noexcept
{
    constexpr std::uintptr_t usual = 8 << 20;
    struct rlimit limit = {};
    const std::uintptr_t high = ::getauxval(AT_EXECFN);
    if (high == 0 || ::getrlimit(RLIMIT_STACK, &limit) != 0)
        return {};
    return {high - std::min<std::uintptr_t>(limit.rlim_cur, usual), high};
}

// For the main thread the system reads a file to tell, and fails without /proc, as in a sandbox,
// and when too many files are open.
Bounds AskBounds() noexcept
{
    Bounds bounds;
    pthread_attr_t attributes;
    if (::pthread_getattr_np(::pthread_self(), &attributes) != 0)
        return GuessBounds();
    void* low = nullptr;
    std::size_t size = 0;
    if (::pthread_attr_getstack(&attributes, &low, &size) == 0) {
        bounds.low = reinterpret_cast<std::uintptr_t>(low);
        bounds.high = bounds.low + size;
    }
    ::pthread_attr_destroy(&attributes);
    return bounds;
}

} // namespace

bool IsStackShort() noexcept
{
    thread_local const Bounds bounds = AskBounds();
    // Not a local's address, which a sanitizer may have put on the heap.
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    return here >= bounds.high || here < bounds.low + (bounds.high - bounds.low) / 4;
}

} // namespace platform
