#include "core/platform/Stack.h"

#include <cstddef>
#include <cstdint>
#include <pthread.h>

namespace platform {

namespace {

struct Bounds {
    std::uintptr_t low = 0;
    std::uintptr_t high = 0; // 0: the system did not tell
};

// For the main thread the system reads a file to tell.
Bounds AskBounds() noexcept
{
    Bounds bounds;
    pthread_attr_t attributes;
    if (::pthread_getattr_np(::pthread_self(), &attributes) != 0)
        return bounds;
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
