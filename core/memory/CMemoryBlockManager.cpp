#include "core/memory/CMemoryBlockManager.h"

#include "core/memory/BMemoryBlockStdHeap.h"

namespace {

constinit CMemoryBlockManager* g_manager = nullptr;

} // namespace

CMemoryBlockManager::CMemoryBlockManager() = default;
CMemoryBlockManager::CMemoryBlockManager(const CMemoryBlockManager& other) = default;
CMemoryBlockManager& CMemoryBlockManager::operator=(const CMemoryBlockManager& other) = default;
CMemoryBlockManager::~CMemoryBlockManager() = default;

CRITICAL_SECTION* CMemoryBlockManager::CriticalSectionObject() const
{
    return m_section.Get();
}

void CMemoryBlockManager::RegisterMemoryManager(CMemoryBlockManager* manager)
{
    g_manager = manager;
}

CMemoryBlock* QDAlloc(std::uint64_t size)
{
    if (g_manager != nullptr)
        return g_manager->MemoryBlockAlloc(size);
    return new BMemoryBlockStdHeap(size);
}

void QDFree(CMemoryBlock* block)
{
    if (g_manager != nullptr)
        g_manager->FreeMemoryBlock(block);
    else
        delete block;
}
