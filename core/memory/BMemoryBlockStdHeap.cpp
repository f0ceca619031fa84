#include "core/memory/BMemoryBlockStdHeap.h"

#include <new>

BMemoryBlockStdHeap::BMemoryBlockStdHeap(std::uint64_t size)
    : m_data(size != 0 ? ::operator new(size) : nullptr)
    , m_size(size)
{}

BMemoryBlockStdHeap::~BMemoryBlockStdHeap()
{
    ::operator delete(m_data);
}

void* BMemoryBlockStdHeap::Start() const
{
    return m_data;
}

void* BMemoryBlockStdHeap::End() const
{
    return static_cast<char*>(m_data) + m_size;
}

std::uint64_t BMemoryBlockStdHeap::Size() const
{
    return m_size;
}
