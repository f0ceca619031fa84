#pragma once

#include "core/base/BSmartObj.h"
#include "core/memory/CMemoryBlock.h"
#include "core/memory/GapTree.h"
#include "core/platform/Export.h"

#include <cstdint>

class CStdMemoryManager;

/// A block of whole pages in a frame of a CStdMemoryManager, which keeps a reference on it until it
/// is given back. Its memory goes then, too, whoever still holds the block.
class QD_CORE_API CStdMemoryBlock : public BSmartObj, public CMemoryBlock {
public:
    /// The same memory; a copy cannot be given back in place of the block.
    CStdMemoryBlock(const CStdMemoryBlock& other);
    CStdMemoryBlock& operator=(const CStdMemoryBlock& other) = delete;
    ~CStdMemoryBlock() override;

    [[nodiscard]] void* Start() const override;
    /// Intended: the end of what was asked for, not of the pages, so that Start and End enclose the
    /// caller's data.
    [[nodiscard]] void* End() const override;
    [[nodiscard]] std::uint64_t Size() const override;

    /// Bytes of its pages.
    [[nodiscard]] virtual std::uint64_t AllocatedSize() const;

    /// The first page behind this block.
    [[nodiscard]] void* PageAddressOverThis() const;
    /// Not counted.
    [[nodiscard]] CStdMemoryManager* Manager() const noexcept { return m_manager; }

private:
    friend class CStdMemoryManager;

    CStdMemoryBlock(CStdMemoryManager* manager, void* start, std::uint64_t size,
                    std::uint64_t allocatedSize);

    CStdMemoryManager* m_manager;
    std::uint64_t m_size;
    std::uint64_t m_allocatedSize;
    void* m_start;

    // Of the manager, under its critical section. A copy has none of it.
    GapTree::Place m_place; // in a frame, unless the size is 0
    CStdMemoryBlock* m_next = nullptr;
    CStdMemoryBlock** m_link = nullptr; // that leads here; null once the block is given back
};
