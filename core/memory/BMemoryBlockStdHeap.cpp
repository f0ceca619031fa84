#include "core/memory/BMemoryBlockStdHeap.h"

BMemoryBlockStdHeap::BMemoryBlockStdHeap(std::uint64_t size)
    : m_data(size != 0 ? new std::byte[size] : nullptr)
    , m_size(size)
{}

BMemoryBlockStdHeap::~BMemoryBlockStdHeap() = default;

void* BMemoryBlockStdHeap::Start() const
{
    return m_data.get();
}

void* BMemoryBlockStdHeap::End() const
{
    return m_data.get() + m_size;
}

std::uint64_t BMemoryBlockStdHeap::Size() const
{
    return m_size;
}
