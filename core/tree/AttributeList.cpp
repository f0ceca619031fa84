#include "core/tree/AttributeList.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <memory>
#include <new>

// Where nodes have attributes at all, most have one, and documents have millions of nodes: so one
// takes no memory but its own. Addresses are even, hence the bit that tells a block from an
// attribute.

namespace {

constexpr std::uintptr_t kBlockBit = 1;
static_assert(alignof(BAttribute) > kBlockBit);

} // namespace

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

AttributeList::AttributeList(const AttributeList& other)
{
    Reserve(other.Count());
    for (int i = 0; i < other.Count(); ++i)
        Append(other.At(i));
}

int AttributeList::Count() const noexcept
{
    return IsBlock() ? AsBlock()->count : IsNull() ? 0 : 1;
}

BAttribute* AttributeList::At(int index) const noexcept
{
    assert(index >= 0 && index < Count());
    return IsBlock() ? AsBlock()->Entries()[index].Get() : AsOnly();
}

int AttributeList::Find(const BAttribute* attribute) const noexcept
{
    int index = 0;
    while (index < Count() && At(index) != attribute)
        ++index;
    return index;
}

void AttributeList::Reserve(int capacity)
{
    if (capacity <= (IsBlock() ? AsBlock()->capacity : 1))
        return;
    const auto size = sizeof(Block) + static_cast<std::size_t>(capacity) * sizeof(SP<BAttribute>);
    Block* const grown = new (::operator new(size)) Block(capacity);
    grown->count = Count();
    if (IsBlock())
        std::move(AsBlock()->Entries(), AsBlock()->Entries() + grown->count, grown->Entries());
    else
        grown->Entries()[0] = AsOnly();
    if (!IsNull())
        Drop(m_held);
    m_held = reinterpret_cast<std::uintptr_t>(grown) | kBlockBit;
}

void AttributeList::Append(BAttribute* attribute)
{
    if (IsNull() && attribute != nullptr) {
        attribute->Ref();
        m_held = reinterpret_cast<std::uintptr_t>(attribute);
        return;
    }
    if (!IsBlock() || AsBlock()->count == AsBlock()->capacity)
        Reserve(2 * Count() + 2);
    AsBlock()->Entries()[AsBlock()->count++] = attribute;
}

SP<BAttribute> AttributeList::RemoveAt(int index) noexcept
{
    SP<BAttribute> removed(At(index));
    if (!IsBlock()) {
        Drop(m_held);
        m_held = 0;
        return removed;
    }
    SP<BAttribute>* const entries = AsBlock()->Entries();
    std::move(entries + index + 1, entries + AsBlock()->count, entries + index);
    entries[--AsBlock()->count] = nullptr;
    if (AsBlock()->count == 0) {
        Drop(m_held);
        m_held = 0;
    }
    return removed;
}

bool AttributeList::IsBlock() const noexcept
{
    return (m_held & kBlockBit) != 0;
}

AttributeList::Block* AttributeList::AsBlock() const noexcept
{
    assert(IsBlock());
    return reinterpret_cast<Block*>(m_held & ~kBlockBit);
}

// Null in an empty list.
BAttribute* AttributeList::AsOnly() const noexcept
{
    assert(!IsBlock());
    return reinterpret_cast<BAttribute*>(m_held);
}

void AttributeList::Drop(std::uintptr_t held) noexcept
{
    if ((held & kBlockBit) == 0) {
        reinterpret_cast<BAttribute*>(held)->Unref();
        return;
    }
    Block* const block = reinterpret_cast<Block*>(held & ~kBlockBit);
    block->~Block();
    ::operator delete(block);
}
