#include "core/tree/AttributeList.h"

#include <cassert>
#include <cstddef>
#include <new>
#include <utility>

// The entries stand behind it, in the same piece of memory.
struct AttributeList::Block {
    explicit Block(int places) noexcept
        : capacity(places)
    {
        std::uninitialized_value_construct_n(Entries(), capacity);
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { std::destroy_n(Entries(), capacity); }

    [[nodiscard]] SP<BAttribute>* Entries() noexcept
    {
        return reinterpret_cast<SP<BAttribute>*>(this + 1);
    }

    int count = 0;
    int capacity;
};

void AttributeList::BlockDeleter::operator()(Block* block) const noexcept
{
    block->~Block();
    ::operator delete(block);
}

AttributeList::AttributeList(const AttributeList& other)
{
    Reserve(other.Count());
    for (const SP<BAttribute>& attribute : other)
        Append(attribute);
}

AttributeList& AttributeList::operator=(AttributeList other) noexcept
{
    m_block = std::move(other.m_block);
    return *this;
}

int AttributeList::Count() const noexcept
{
    return m_block ? m_block->count : 0;
}

const SP<BAttribute>* AttributeList::begin() const noexcept
{
    return m_block ? m_block->Entries() : nullptr;
}

const SP<BAttribute>* AttributeList::end() const noexcept
{
    return m_block ? m_block->Entries() + m_block->count : nullptr;
}

void AttributeList::Reserve(int capacity)
{
    if (capacity <= (m_block ? m_block->capacity : 0))
        return;
    const auto size = sizeof(Block) + static_cast<std::size_t>(capacity) * sizeof(SP<BAttribute>);
    std::unique_ptr<Block, BlockDeleter> grown(new (::operator new(size)) Block(capacity));
    grown->count = Count();
    if (m_block)
        std::move(m_block->Entries(), m_block->Entries() + m_block->count, grown->Entries());
    m_block = std::move(grown);
}

void AttributeList::Append(SP<BAttribute> attribute)
{
    if (!m_block || m_block->count == m_block->capacity)
        Reserve(2 * Count() + 1);
    m_block->Entries()[m_block->count++] = std::move(attribute);
}

SP<BAttribute> AttributeList::RemoveAt(int index) noexcept
{
    assert(index >= 0 && index < Count());
    SP<BAttribute>* const place = m_block->Entries() + index;
    SP<BAttribute> removed = std::move(*place);
    std::move(place + 1, m_block->Entries() + m_block->count, place);
    if (--m_block->count == 0)
        m_block = nullptr;
    return removed;
}
