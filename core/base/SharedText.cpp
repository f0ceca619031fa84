#include "core/base/SharedText.h"

#include <cstdlib>

void* TextHeap::Resize(void* block, std::size_t size) noexcept
{
    return std::realloc(block, size);
}

void TextHeap::Free(void* block) noexcept
{
    std::free(block);
}
