#include "core/platform/Random.h"

#include <unistd.h>

namespace platform {

// Not `std::random_device`: that asks the processor's generator for four bytes at a time, which
// takes eight microseconds in a virtual machine. A program's first hash needs 48 bytes.
bool FillRandom(void* bytes, std::size_t size) noexcept
{
    return ::getentropy(bytes, size) == 0;
}

} // namespace platform
