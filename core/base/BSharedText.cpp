#include "core/base/BSharedText.h"

#include "core/platform/CharClass.h"

#include <cstdlib>

void* BTextHeap::Resize(void* block, std::size_t size) noexcept
{
    return block != nullptr ? std::realloc(block, size) : std::malloc(size);
}

void BTextHeap::Free(void* block) noexcept
{
    std::free(block);
}

std::size_t BTextHeap::Measure(const WChar* text) noexcept
{
    return platform::Length(text);
}

std::size_t BTextHeap::Measure(const char* text) noexcept
{
    return platform::Length(text);
}
