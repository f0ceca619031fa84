// Counts what is allocated. Under the address sanitizer that calls hooks; otherwise the linker
// turns calls of malloc and its kind into calls of the functions here (`--wrap`), where `new` comes
// along (NewByMalloc.cpp). Blocks of other modules, which only end here, make the count too low and
// never too high.
//
// The heap is meant: what a file makes of the stack, the sanitizers and the system bound.

#include "fuzz/Target.h"

#include <cstdint>
#include <cstdio>

#if defined(__SANITIZE_ADDRESS__)
# define QD_HAS_HOOKS 1
#elif defined(__has_feature)
# if __has_feature(address_sanitizer)
#  define QD_HAS_HOOKS 1
# endif
#endif

namespace {

// What a file may take: this, and so many bytes for each of its own.
constexpr std::size_t kConstant = std::size_t{16} << 20U;
constexpr std::size_t kFactor = 32;

// Plain numbers: the targets have one thread.
std::int64_t g_inUse = 0;
std::int64_t g_peak = 0;

void Add(std::size_t size) noexcept
{
    g_inUse += static_cast<std::int64_t>(size);
    if (g_inUse > g_peak)
        g_peak = g_inUse;
}

void Subtract(std::size_t size) noexcept
{
    g_inUse -= static_cast<std::int64_t>(size);
}

} // namespace

#ifdef QD_HAS_HOOKS

// As in <sanitizer/allocator_interface.h>, which not every compiler brings.
extern "C" {
int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(const volatile void*, std::size_t),
                                              void (*onFree)(const volatile void*));
std::size_t __sanitizer_get_allocated_size(const volatile void* block);
}

namespace {

const int g_installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t size) { Add(size); },
    [](const volatile void* block) { Subtract(__sanitizer_get_allocated_size(block)); });

} // namespace

#else

# include <malloc.h>

namespace {

std::size_t SizeOf(void* block) noexcept
{
# if __has_include(<windows.h>)
    return block != nullptr ? ::_msize(block) : 0;
# else
    return ::malloc_usable_size(block);
# endif
}

void* Counted(void* block) noexcept
{
    Add(SizeOf(block));
    return block;
}

} // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size)
{
    return Counted(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return Counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size)
{
    const std::size_t former = SizeOf(block);
    void* const moved = __real_realloc(block, size);
    if (moved != nullptr || size == 0)
        Subtract(former);
    return Counted(moved);
}

void __wrap_free(void* block)
{
    Subtract(SizeOf(block));
    __real_free(block);
}
}

#endif

HeapBound::HeapBound(std::size_t inputSize) noexcept
    : m_most(kConstant + kFactor * inputSize)
{
    g_inUse = 0;
    g_peak = 0;
}

HeapBound::~HeapBound()
{
    if (g_peak <= static_cast<std::int64_t>(m_most))
        return;
    std::fprintf(stderr, "%lld bytes of the heap at once, and %zu are allowed\n",
                 static_cast<long long>(g_peak), m_most);
    std::abort();
}
