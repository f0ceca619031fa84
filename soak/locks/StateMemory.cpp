#include "soak/locks/Scheduled.h"

#include <cstdlib>
#include <new>

using scheduled::g_world;

// While locks are built they get the memory that is kept with a state. Apart, so that the compiler
// does not see what a `delete` would be given.

namespace {

void* Room(std::size_t size)
{
    size = (size + 15) / 16 * 16;
    if (g_world.used + size > sizeof g_world.memory)
        std::abort();
    g_world.used += size;
    return g_world.memory + g_world.used - size;
}

} // namespace

void* operator new(std::size_t size)
{
    return g_world.isBuilding ? Room(size) : std::malloc(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
