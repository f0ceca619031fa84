// `new` by malloc, so that who puts functions of its own in front of malloc has `new` as well, on
// either system and under the sanitizers, which bring a `new` of their own.

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

void* New(std::size_t size)
{
    void* const block = std::malloc(size != 0 ? size : 1);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

} // namespace

void* operator new(std::size_t size)
{
    return New(size);
}

void* operator new[](std::size_t size)
{
    return New(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
try {
    return New(size);
} catch (const std::bad_alloc&) {
    return nullptr;
}

void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept
{
    return operator new(size, tag);
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

void operator delete[](void* block) noexcept
{
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    std::free(block);
}
