#pragma once

#include "core/memory/CMemoryBlock.h"
#include "core/platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/// A block of the ordinary heap: what `QDAlloc` gives while no manager is registered.
class QD_CORE_API BMemoryBlockStdHeap : public CMemoryBlock {
public:
    /// Throws std::bad_alloc when the heap has no such block.
    explicit BMemoryBlockStdHeap(std::uint64_t size);
    BMemoryBlockStdHeap(const BMemoryBlockStdHeap&) = delete;
    BMemoryBlockStdHeap& operator=(const BMemoryBlockStdHeap&) = delete;
    ~BMemoryBlockStdHeap() override;

    [[nodiscard]] void* Start() const override;
    [[nodiscard]] void* End() const override;
    [[nodiscard]] std::uint64_t Size() const override;

private:
    std::unique_ptr<std::byte[]> m_data;
    std::uint64_t m_size;
};
