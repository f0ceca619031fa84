#pragma once

#include "core/platform/Export.h"

#include <cstdint>

/// A block of memory from `QDAlloc`, which `QDFree` takes back.
class QD_CORE_API CMemoryBlock {
public:
    // The order of the virtual functions is part of the interface.

    virtual ~CMemoryBlock();
    /// The first byte; null for a block of size 0.
    [[nodiscard]] virtual void* Start() const = 0;
    /// Behind the last byte that was asked for.
    [[nodiscard]] virtual void* End() const = 0;
    /// Bytes that were asked for.
    [[nodiscard]] virtual std::uint64_t Size() const = 0;

protected:
    CMemoryBlock() = default;
    CMemoryBlock(const CMemoryBlock&) = default;
    CMemoryBlock& operator=(const CMemoryBlock&) = default;
};
