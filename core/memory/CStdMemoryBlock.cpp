#include "core/memory/CStdMemoryBlock.h"

CStdMemoryBlock::CStdMemoryBlock(const CStdMemoryBlock& other)
    : BSmartObj(other)
    , CMemoryBlock(other)
    , m_manager(other.m_manager)
    , m_size(other.m_size)
    , m_allocatedSize(other.m_allocatedSize)
    , m_start(other.m_start)
{}

CStdMemoryBlock::~CStdMemoryBlock() = default;

void* CStdMemoryBlock::Start() const
{
    return m_start;
}

void* CStdMemoryBlock::End() const
{
    return static_cast<char*>(m_start) + m_size;
}

std::uint64_t CStdMemoryBlock::Size() const
{
    return m_size;
}

std::uint64_t CStdMemoryBlock::AllocatedSize() const
{
    return m_allocatedSize;
}

void* CStdMemoryBlock::PageAddressOverThis() const
{
    return static_cast<char*>(m_start) + m_allocatedSize;
}

CStdMemoryBlock::CStdMemoryBlock(CStdMemoryManager* manager, void* start, std::uint64_t size,
                                 std::uint64_t allocatedSize)
    : m_manager(manager)
    , m_size(size)
    , m_allocatedSize(allocatedSize)
    , m_start(start)
{}
