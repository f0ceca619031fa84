#include "tests/FailingAllocations.h"

#include "core/platform/SmallBlocks.h"

#include <cstddef>
#include <limits>

// The linker turns calls of malloc and its kind into calls of these (`--wrap`), so that the program
// is free to fail them on either system and under the sanitizers. Plain variables: an object of
// each thread would itself allocate, and nothing else runs meanwhile.

namespace {

constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

std::uint64_t g_left = kNever; // allocations that succeed before one fails
bool g_isOne = false;
bool g_hasFailed = false;

bool Fails() noexcept
{
    if (g_left == kNever)
        return false;
    if (g_left != 0) {
        --g_left;
        return false;
    }
    if (g_isOne && g_hasFailed)
        return false;
    g_hasFailed = true;
    return true;
}

// What the language keeps for exceptions when there is no memory makes its lock when it is first
// taken, on Windows in memory: with none it would throw, and so for ever.
const bool g_hasThrown = [] {
    g_left = 0;
    g_isOne = true;
    try {
        throw false;
    } catch (bool) {
    }
    g_left = kNever;
    return true;
}();

} // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);

void* __wrap_malloc(std::size_t size)
{
    return Fails() ? nullptr : __real_malloc(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return Fails() ? nullptr : __real_calloc(count, size);
}

void* __wrap_realloc(void* block, std::size_t size)
{
    return Fails() ? nullptr : __real_realloc(block, size);
}
}

FailingAllocations::FailingAllocations(std::uint64_t first, ERange range) noexcept
    : m_hadSmallBlocks(platform::UseSmallBlocks(false))
{
    g_hasFailed = false;
    g_isOne = range == ERange::One;
    g_left = first;
}

void FailingAllocations::Stop() noexcept
{
    platform::UseSmallBlocks(m_hadSmallBlocks);
    g_left = kNever;
}

bool FailingAllocations::HaveFailed() const noexcept
{
    return g_hasFailed;
}
