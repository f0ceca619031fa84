#include "core/base/BSharedText.h"

#include "core/platform/Apart.h"
#include "core/platform/CharClass.h"
#include "core/platform/OwnerCount.h"
#include "core/platform/SmallBlocks.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// Texts come and go, and may go on another thread: where there are several, the C library's heap
// has a store for each of them, and needs no lock.
void* New(std::size_t size) noexcept
{
    void* const block = platform::IsOnlyThread() ? platform::TakeSmallBlock(size) : nullptr;
    return block != nullptr ? block : std::malloc(size);
}

// A block of the size in place of one that there is.
QD_APART void* Exchange(void* block, std::size_t size) noexcept
{
    const std::size_t present = platform::SmallBlockSize(block);
    if (present == 0)
        return std::realloc(block, size);
    void* const resized = New(size);
    if (resized != nullptr) {
        std::memcpy(resized, block, (std::min)(present, size));
        BTextHeap::Free(block);
    }
    return resized;
}

} // namespace

void* BTextHeap::Resize(void* block, std::size_t size) noexcept
{
    return block == nullptr ? New(size) : Exchange(block, size);
}

void BTextHeap::Free(void* block) noexcept
{
    platform::GiveSmallBlock(block, std::free);
}

std::size_t BTextHeap::Measure(const WChar* text) noexcept
{
    return platform::Length(text);
}

std::size_t BTextHeap::Measure(const char* text) noexcept
{
    return platform::Length(text);
}
