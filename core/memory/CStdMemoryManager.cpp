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
#include <typeinfo>

// Blocks are carved from frames of committed pages, rather than taken from the system one by one:
// measurements come and go in the same sizes, and pages that stay committed need not be asked for
// and zeroed again. All that is known of frames and blocks stands outside of their memory: who
// writes past the end of a block damages data, not the manager.
//
// What the manager knows of a block stands in the block's object, so that taking and giving back
// needs no search and no heap block besides; the objects are in a list, for the manager's end. A
// block that was given back already is told by being in no list, as long as somebody has a
// reference on it. Messages are posted after the critical section is left,
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

/// Null when it is a block of another kind.
CStdMemoryBlock* ToStdBlock(CMemoryBlock* block)
{
    // What nearly all are; a cast that looks for the type costs more than finding a place.
    if (typeid(*block) == typeid(CStdMemoryBlock))
        return static_cast<CStdMemoryBlock*>(block);
    return dynamic_cast<CStdMemoryBlock*>(block);
}

} // namespace

struct CStdMemoryManager::Frame {
    SP<BStdMemoryFrame> pages;
    GapTree::Place end;
};

/// All that is known of frames and blocks; none of it stands in their memory.
struct CStdMemoryManager::Blocks {
    ~Blocks()
    {
        while (first != nullptr)
            Remove(*first);
    }
    void Add(CStdMemoryBlock& block) noexcept
    {
        block.m_next = first;
        block.m_link = &first;
        if (first != nullptr)
            first->m_link = &block.m_next;
        first = &block;
        block.Ref();
    }
    void Remove(CStdMemoryBlock& block)
    {
        assert(block.m_link != nullptr);
        *block.m_link = block.m_next;
        if (block.m_next != nullptr)
            block.m_next->m_link = block.m_link;
        block.m_link = nullptr;
        block.Unref();
    }

    GapTree row;
    std::map<const void*, Frame> frames; // by their first byte; the row has their order
    CStdMemoryBlock* first = nullptr;    // of the list of blocks, each counted once
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
    auto* const block = new CStdMemoryBlock(this, start, size, allocated);
    m_blocks->Add(*block);
    if (next != nullptr)
        m_blocks->row.Insert(block->m_place, allocated, *next);
    m_blocks->inUse += allocated;
    return block;
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
bool CStdMemoryManager::TakeOut(CMemoryBlock* block)
{
    CStdMemoryBlock* const own = ToStdBlock(block);
    if (own == nullptr)
        throw BError(kErrorMemory, QD_W("$IDS_ErrorHint26"), nullptr, nullptr, nullptr);
    if (own->m_manager != this || own->m_link == nullptr)
        return own->m_size == 0;
    if (own->m_size != 0) {
        m_blocks->row.Remove(own->m_place);
        LeaveFrame(*own);
    }
    m_blocks->Remove(*own);
    return true;
}

/// Gives the frame back in which `block` was the last one, once much is reserved.
void CStdMemoryManager::LeaveFrame(const CStdMemoryBlock& block)
{
    assert(m_blocks->inUse >= block.AllocatedSize());
    m_blocks->inUse -= block.AllocatedSize();
    if (m_blocks->reserved <= kReserveKept)
        return;
    const auto found = std::prev(m_blocks->frames.upper_bound(block.Start()));
    auto& [start, frame] = *found;
    const std::uint64_t size = frame.pages->Size();
    // Intended: it compares what is reserved before the frame goes, so that one round of large
    // blocks after another finds its memory committed already.
    if (frame.end.Gap() != size)
        return;
    assert(m_blocks->reserved >= size);
    m_blocks->row.RemoveFrame(frame.end);
    m_blocks->reserved -= size;
    m_blocks->frames.erase(found);
}
