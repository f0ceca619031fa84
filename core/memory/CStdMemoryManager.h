#pragma once

#include "core/memory/BStdMemoryFrame.h"
#include "core/memory/CMemoryBlockManager.h"
#include "core/memory/CStdMemoryBlock.h"
#include "core/platform/Export.h"

#include <cstdint>
#include <memory>

/// Places blocks of whole pages in large frames of committed memory: first fit, frames in the order
/// in which they were reserved, gaps in the order of their addresses. A block costs no system call
/// as long as a frame has room, and finding its place hardly depends on how many there are.
///
/// The system puts memory behind a frame where it is touched, off Windows mostly 2 MiB at a time.
/// An empty frame is kept for the next block as long as the reserved memory stays within
/// 1,673,741,824 bytes. Every change of the memory in use is posted to the dispatcher as
/// `kMessageMemoryInUseChanged`.
///
/// Failures are BErrors `kErrorMemory`: with the system's text where it has no memory left, after
/// which frames and blocks are as they were, and with "$IDS_ErrorHint26" for a block of another
/// kind. Any thread may call anything at any time. The manager outlives the use of its blocks'
/// memory.
///
///     CStdMemoryManager manager;
///     manager.Init(256 << 20, 64 << 20);
///     CMemoryBlockManager::RegisterMemoryManager(&manager);
///     CMemoryBlock* points = QDAlloc(count * sizeof(BFPoint));
class QD_CORE_API CStdMemoryManager : public CMemoryBlockManager {
public:
    CStdMemoryManager();
    CStdMemoryManager(const CStdMemoryManager&) = delete;
    CStdMemoryManager& operator=(const CStdMemoryManager&) = delete;
    ~CStdMemoryManager() override;

    /// Reserves a first frame; true. Until then the minimum frame size is 0, and a frame is as
    /// large as the block for which it is reserved.
    bool Init(std::uint64_t initialSize, std::uint64_t minimumFrameSize) override;
    /// A block of size 0 has no place in a frame, and nothing is posted.
    CMemoryBlock* MemoryBlockAlloc(std::uint64_t size) override;
    /// Null changes nothing, nor does a block that was given back already, as long as somebody has
    /// a reference on it.
    /// Intended: a block of size 0 is posted, even when it is given back twice; a display that
    /// looks once more shows the same.
    void FreeMemoryBlock(CMemoryBlock* block) override;
    /// Bytes of the pages of all blocks.
    std::uint64_t MemoryInUse() override;
    /// Bytes of all frames.
    std::uint64_t TotalReservedMemory() override;
    /// Intended: always 1, whatever the number of frames; displays show the memory as one reserve.
    int NumberOfReservedBlocks() override;
    std::uint64_t PageSize() override;
    /// These two are the memory in use.
    [[nodiscard]] std::uint64_t SizeOfAllocatedMemory() const override;
    [[nodiscard]] std::uint64_t SizeOfLockedMemory() const override;

    /// Bytes of a page of the system; 0 before the first manager.
    [[nodiscard]] static std::uint64_t PAGESIZE();

private:
    struct Frame;
    struct Blocks;

    CStdMemoryBlock* Place(std::uint64_t size);
    void AddFrame(std::uint64_t size);
    bool TakeOut(CMemoryBlock* block);
    void LeaveFrame(const CStdMemoryBlock& block);
    /// Intended: does nothing; a display follows the messages instead.
    void Log() const {}

    static std::uint64_t m_static_page_size; // changed only atomically

    std::unique_ptr<Blocks> m_blocks;     // guarded by the critical section
    std::uint64_t m_minimumFrameSize = 0; // guarded by the critical section
};
