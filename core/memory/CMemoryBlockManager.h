#pragma once

#include "core/platform/CriticalSection.h"
#include "core/platform/Export.h"
#include "core/platform/Types.h"

#include <cstdint>

class CMemoryBlock;

/// Hands out the large blocks of a process: point clouds, images, buffers of measurements.
///
/// The application registers one before the first block is asked for and keeps it until the last is
/// given back: a block goes back to where it came from. The manager is not owned.
class QD_CORE_API CMemoryBlockManager {
public:
    CMemoryBlockManager();
    /// A copy has a critical section of its own, which nobody is in.
    CMemoryBlockManager(const CMemoryBlockManager& other);
    CMemoryBlockManager& operator=(const CMemoryBlockManager& other);

    // The order of the virtual functions is part of the interface.

    virtual ~CMemoryBlockManager();
    /// `initialSize` is what the manager reserves at once, `minimumFrameSize` the least that it
    /// reserves later on, both in bytes.
    virtual bool Init(std::uint64_t initialSize, std::uint64_t minimumFrameSize) = 0;
    virtual CMemoryBlock* MemoryBlockAlloc(std::uint64_t size) = 0;
    virtual void FreeMemoryBlock(CMemoryBlock* block) = 0;
    virtual std::uint64_t MemoryInUse() = 0;
    virtual std::uint64_t TotalReservedMemory() = 0;
    virtual int NumberOfReservedBlocks() = 0;
    virtual std::uint64_t PageSize() = 0;
    [[nodiscard]] virtual std::uint64_t SizeOfAllocatedMemory() const = 0;
    [[nodiscard]] virtual std::uint64_t SizeOfLockedMemory() const = 0;

    /// What the manager's operations run under; good as long as the manager.
    [[nodiscard]] CRITICAL_SECTION* CriticalSectionObject() const;

    /// Replaces the process's manager; null unregisters. For start-up and shut-down: it must not
    /// run beside `QDAlloc` or `QDFree` on another thread.
    static void RegisterMemoryManager(CMemoryBlockManager* manager);

private:
    platform::CriticalSection m_section;
};

/// A block of `size` bytes from the registered manager, from the ordinary heap without one. Size 0
/// gives a block without memory. Throws as the manager does, `kErrorMemory` when the system has no
/// memory left; std::bad_alloc without a manager.
[[nodiscard]] QD_CORE_API CMemoryBlock* QDAlloc(std::uint64_t size);
/// Gives a block back; null is fine.
QD_CORE_API void QDFree(CMemoryBlock* block);
