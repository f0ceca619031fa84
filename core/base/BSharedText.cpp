#include "core/base/BSharedText.h"

#include <cstdlib>

void* BTextHeap::Resize(void* block, std::size_t size) noexcept
{
    return std::realloc(block, size);
}

void BTextHeap::Free(void* block) noexcept
{
    std::free(block);
}
