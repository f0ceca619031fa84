#include "core/memory/CStdMemoryManager.h"

#include "core/base/BError.h"
#include "core/base/ErrorCodes.h"
#include "core/base/SP.h"
#include "core/memory/GapTree.h"
#include "core/operation/BDispatcher.h"
#include "core/operation/Messages.h"
#include "core/platform/VirtualMemory.h"
#include "core/platform/WChar.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <iterator>
#include <map>
#include <unordered_map>

// Blocks are carved from frames of committed pages, rather than taken from the system one by one:
// measurements come and go in the same sizes, and pages that stay committed need not be asked for
// and zeroed again. All that is known of frames and blocks stands outside of their memory: who
// writes past the end of a block damages data, not the manager.
//
// A block is known by its address as an object. One that is not known is looked at only for its
// type, which is why a block that was given back already can be told from one of another manager as
// long as somebody has a reference on it. Messages are posted after the critical section is left,
// so that no receiver waits in it.
namespace {

// Above this reserve an empty frame goes back to the system.
constexpr std::uint64_t kReserveKept = 1'673'741'824;

/// What cannot be rounded up becomes the largest size of whole pages, which no system commits.
std::uint64_t RoundUpToPages(std::uint64_t size)
{
    const std::uint64_t withinPage = CStdMemoryManager::PAGESIZE() - 1;
    const std::uint64_t largest = ~withinPage;
    return size <= largest ? (size + withinPage) & ~withinPage : largest;
}

} // namespace

struct CStdMemoryManager::Frame {
    SP<BStdMemoryFrame> pages;
    GapTree::Place end;
};

/// All that is known of frames and blocks; none of it stands in their memory.
struct CStdMemoryManager::Blocks {
    struct Entry {
        SP<CStdMemoryBlock> block;
        GapTree::Place place; // in the row unless the block's size is 0
    };

    GapTree row;
    std::map<const void*, Frame> frames; // by their first byte; the row has their order
    std::unordered_map<const CMemoryBlock*, Entry> entries;
    std::uint64_t reserved = 0;
    std::uint64_t inUse = 0;
};

std::uint64_t CStdMemoryManager::m_static_page_size = 0;

CStdMemoryManager::CStdMemoryManager()
    : m_blocks(std::make_unique<Blocks>())
{
    std::atomic_ref(m_static_page_size).store(platform::PageSize(), std::memory_order_relaxed);
}

CStdMemoryManager::~CStdMemoryManager() = default;

bool CStdMemoryManager::Init(std::uint64_t initialSize, std::uint64_t minimumFrameSize)
{
    const platform::SectionGuard guard(CriticalSectionObject());
    m_minimumFrameSize = RoundUpToPages(minimumFrameSize);
    AddFrame(RoundUpToPages(initialSize));
    return true;
}

CMemoryBlock* CStdMemoryManager::MemoryBlockAlloc(std::uint64_t size)
{
    CMemoryBlock* block = nullptr;
    {
        const platform::SectionGuard guard(CriticalSectionObject());
        block = Place(size);
    }
    if (size != 0)
        QDPost(kMessageMemoryInUseChanged, 0, 0);
    return block;
}

void CStdMemoryManager::FreeMemoryBlock(CMemoryBlock* block)
{
    if (block == nullptr)
        return;
    bool report = false;
    {
        const platform::SectionGuard guard(CriticalSectionObject());
        report = TakeOut(block);
    }
    if (report)
        QDPost(kMessageMemoryInUseChanged, 0, 0);
}

std::uint64_t CStdMemoryManager::MemoryInUse()
{
    return SizeOfAllocatedMemory();
}

std::uint64_t CStdMemoryManager::TotalReservedMemory()
{
    const platform::SectionGuard guard(CriticalSectionObject());
    return m_blocks->reserved;
}

int CStdMemoryManager::NumberOfReservedBlocks()
{
    return 1;
}

std::uint64_t CStdMemoryManager::PageSize()
{
    return PAGESIZE();
}

std::uint64_t CStdMemoryManager::SizeOfAllocatedMemory() const
{
    const platform::SectionGuard guard(CriticalSectionObject());
    return m_blocks->inUse;
}

std::uint64_t CStdMemoryManager::SizeOfLockedMemory() const
{
    return SizeOfAllocatedMemory();
}

std::uint64_t CStdMemoryManager::PAGESIZE()
{
    return std::atomic_ref(m_static_page_size).load(std::memory_order_relaxed);
}

CStdMemoryBlock* CStdMemoryManager::Place(std::uint64_t size)
{
    const std::uint64_t allocated = RoundUpToPages(size);
    GapTree::Place* next = nullptr;
    if (size != 0) {
        next = m_blocks->row.FindGap(allocated);
        if (next == nullptr) {
            AddFrame(std::max(m_minimumFrameSize, allocated));
            next = m_blocks->row.FindGap(allocated);
        }
    }
    char* const start = next != nullptr ? next->GapStart() : nullptr;
    const SP<CStdMemoryBlock> block = new CStdMemoryBlock(this, start, size, allocated);
    Blocks::Entry& entry = m_blocks->entries[block.Get()];
    entry.block = block;
    if (next != nullptr)
        m_blocks->row.Insert(entry.place, allocated, *next);
    m_blocks->inUse += allocated;
    return block.Get();
}

void CStdMemoryManager::AddFrame(std::uint64_t size)
{
    const SP<BStdMemoryFrame> pages = new BStdMemoryFrame(this, size);
    Frame& frame = m_blocks->frames[pages->Start()];
    frame.pages = pages;
    m_blocks->row.AddFrame(frame.end, static_cast<char*>(pages->Start()), size);
    m_blocks->reserved += size;
}

/// Whether the change is to be posted.
bool CStdMemoryManager::TakeOut(const CMemoryBlock* block)
{
    const auto found = m_blocks->entries.find(block);
    if (found == m_blocks->entries.end()) {
        if (dynamic_cast<const CStdMemoryBlock*>(block) == nullptr)
            throw BError(kErrorMemory, QD_W("$IDS_ErrorHint26"), nullptr, nullptr, nullptr);
        return block->Size() == 0;
    }
    auto& [key, entry] = *found;
    if (entry.block->Size() != 0) {
        m_blocks->row.Remove(entry.place);
        LeaveFrame(*entry.block);
    }
    m_blocks->entries.erase(found);
    return true;
}

/// Gives the frame back in which `block` was the last one, once much is reserved.
void CStdMemoryManager::LeaveFrame(const CStdMemoryBlock& block)
{
    assert(m_blocks->inUse >= block.AllocatedSize());
    m_blocks->inUse -= block.AllocatedSize();
    const auto found = std::prev(m_blocks->frames.upper_bound(block.Start()));
    auto& [start, frame] = *found;
    const std::uint64_t size = frame.pages->Size();
    // Intended: it compares what is reserved before the frame goes, so that one round of large
    // blocks after another finds its memory committed already.
    if (frame.end.Gap() != size || m_blocks->reserved <= kReserveKept)
        return;
    assert(m_blocks->reserved >= size);
    m_blocks->row.RemoveFrame(frame.end);
    m_blocks->reserved -= size;
    m_blocks->frames.erase(found);
}
