#include "core/tree/ChildList.h"

#include "core/platform/Collation.h"
#include "core/platform/SmallBlocks.h"
#include "core/tree/BNode.h"
#include "core/tree/ChildIndex.h"
#include "core/tree/NodeAccess.h"
#include "core/tree/TakenSlots.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <new>
#include <utility>

// The entries stand in an array of slots, in their order, and each child knows its slot: that tells
// which of two children comes first, and costs a child half a word. A linked list has no places to
// look up, and a balanced tree takes a few words for each child and as many cache misses for each
// step. Walks through children are what is done most, so each child has a link to the next one as
// well: by the slots a step is three loads, each of which waits for the one before.
//
// Children join at the end or behind the first one, so free slots are kept in front and behind.
// One that leaves from the middle of a long list leaves a hole; from then on `TakenSlots` tells the
// places, until the entries move to a new array: when one end is full, or when three quarters of
// the slots are free. As an array is made with room for half as many entries again, moving them
// costs each change a constant share.
//
// A list from a damaged document may hold null entries, among which the child before another one
// would be looked for slot by slot. From the first of them on, a second `TakenSlots` tells the
// places of the children alone.
//
// What readers may do on many threads at once includes the first look-up by text, which makes the
// index: hence `Published`, and not a plain pointer.
//
// Most lists are short, without holes or null entries, and never looked through by text: what the
// others need stands in `Extras`.

namespace {

constexpr int kFewest = 2;        // slots: seldom a child stays the only one
constexpr int kShort = 32;        // slots, among which a gap is closed at once
constexpr int kManyChildren = 16; // from here on an index of the texts pays

// What many readers may make at once: the first to finish publishes, the others drop theirs.
template <class T>
class Published {
public:
    Published() noexcept = default;
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;
    ~Published() { Drop(); }

    [[nodiscard]] T* Get() const noexcept { return m_made.load(std::memory_order_acquire); }
    template <class Make>
    T& GetOrMake(Make make)
    {
        T* present = Get();
        if (present == nullptr) {
            std::unique_ptr<T> made = make();
            if (m_made.compare_exchange_strong(present, made.get(), std::memory_order_acq_rel))
                present = made.release();
        }
        return *present;
    }
    void Drop() noexcept { std::unique_ptr<T>(m_made.exchange(nullptr)); }
    void TakeOver(Published& other) noexcept { m_made = other.m_made.exchange(nullptr); }

private:
    std::atomic<T*> m_made = nullptr; // owned
};

} // namespace

// What few lists need, so that the others do without its memory.
struct ChildList::Extras {
    int nulls = 0;                     // entries that are null
    std::unique_ptr<TakenSlots> taken; // null when every slot between the ends is
    std::unique_ptr<TakenSlots> nodes; // slots with a child; null as long as no entry is
    Published<ChildIndex> byText;      // made when children are looked up where they are many
};

// The slots stand behind it, in the same piece of memory.
struct ChildList::Block {
    explicit Block(int slots) noexcept
        : capacity(slots)
    {
        std::uninitialized_value_construct_n(Slots(), capacity);
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { std::destroy_n(Slots(), capacity); }

    [[nodiscard]] static BlockOwner Make(int capacity)
    {
        const std::size_t size =
            sizeof(Block) + static_cast<std::size_t>(capacity) * sizeof(SP<BNode>);
        void* const small = platform::TakeSmallBlock(size);
        return BlockOwner(new (small != nullptr ? small : ::operator new(size)) Block(capacity));
    }

    [[nodiscard]] SP<BNode>* Slots() noexcept { return reinterpret_cast<SP<BNode>*>(this + 1); }
    [[nodiscard]] const SP<BNode>* Slots() const noexcept
    {
        return reinterpret_cast<const SP<BNode>*>(this + 1);
    }
    [[nodiscard]] Extras& MakeExtras()
    {
        return extras.GetOrMake([] { return std::make_unique<Extras>(); });
    }
    [[nodiscard]] TakenSlots* Taken() const noexcept
    {
        const Extras* const known = extras.Get();
        return known != nullptr ? known->taken.get() : nullptr;
    }
    [[nodiscard]] TakenSlots* Nodes() const noexcept
    {
        const Extras* const known = extras.Get();
        return known != nullptr ? known->nodes.get() : nullptr;
    }
    [[nodiscard]] int NodeCount() const noexcept
    {
        const Extras* const known = extras.Get();
        return known != nullptr ? count - known->nulls : count;
    }
    // The slot of the next entry from `slot` on, `end` when there is none.
    [[nodiscard]] int From(int slot) const noexcept
    {
        const TakenSlots* const taken = slot < end ? Taken() : nullptr;
        return taken != nullptr ? taken->From(slot) : slot;
    }
    [[nodiscard]] BNode* NodeFrom(int slot) const noexcept
    {
        if (extras.Get() == nullptr)
            return slot < end ? Slots()[slot].Get() : nullptr;
        const TakenSlots* const nodes = Nodes();
        const TakenSlots* const places = nodes != nullptr ? nodes : Taken();
        const int there = NodeCount();
        const int last = nodes != nullptr && there != 0 ? nodes->At(there - 1) : end - 1;
        if (there == 0 || slot > last)
            return nullptr;
        return Slots()[places != nullptr ? places->From(slot) : slot].Get();
    }
    [[nodiscard]] BNode* NodeBefore(int slot) const noexcept
    {
        if (extras.Get() == nullptr)
            return slot > front ? Slots()[slot - 1].Get() : nullptr;
        const TakenSlots* const nodes = Nodes();
        const TakenSlots* const places = nodes != nullptr ? nodes : Taken();
        const int there = NodeCount();
        const int first = nodes != nullptr && there != 0 ? nodes->At(0) : front;
        if (there == 0 || slot <= first)
            return nullptr;
        return Slots()[places != nullptr ? places->Before(slot) : slot - 1].Get();
    }
    // For a block with null entries, `slot` holding a child or no longer.
    void TellNode(int slot, bool isThere) noexcept
    {
        TakenSlots* const nodes = Nodes();
        if (nodes != nullptr && isThere)
            nodes->Take(slot);
        else if (nodes != nullptr)
            nodes->Free(slot);
    }

    // Behind the last entry, where there is room and all entries are children without holes.
    void PutLast(SP<BNode>&& child) noexcept
    {
        SP<BNode>* const slot = Slots() + end;
        if (end != front)
            NodeAccess::SetSister(*slot[-1], child.Get());
        NodeAccess::SetSlot(*child, end++);
        *slot = std::move(child);
    }

    [[nodiscard]] bool Holds(const BNode& child) const noexcept
    {
        const int slot = NodeAccess::Slot(child);
        return slot >= front && slot < end && Slots()[slot].Get() == &child;
    }
    [[nodiscard]] bool IsSound() const noexcept
    {
        const bool fits = front >= 0 && end <= capacity && count > 0;
        return fits && (Taken() != nullptr ? count <= end - front : count == end - front);
    }

    int count = 0;
    int capacity;
    int front = 0; // slot of the first entry
    int end = 0;   // slot behind the last entry
    Published<Extras> extras;
};

void ChildList::BlockDeleter::operator()(Block* block) const noexcept
{
    block->~Block();
    platform::GiveSmallBlock(block, [](void* other) { ::operator delete(other); });
}

ChildList::Iterator::reference ChildList::Iterator::operator*() const noexcept
{
    assert(m_slot >= m_block->front && m_slot < m_block->end);
    return m_block->Slots()[m_slot];
}

ChildList::Iterator& ChildList::Iterator::operator++() noexcept
{
    m_slot = m_block->From(m_slot + 1);
    return *this;
}

int ChildList::Count() const noexcept
{
    return m_block ? m_block->count : 0;
}

ChildList::Iterator ChildList::begin() const noexcept
{
    return m_block ? Iterator(m_block.get(), m_block->front) : Iterator();
}

ChildList::Iterator ChildList::end() const noexcept
{
    return m_block ? Iterator(m_block.get(), m_block->end) : Iterator();
}

BNode* ChildList::At(int index) const noexcept
{
    if (index < 0 || index >= Count())
        return nullptr;
    return m_block->Slots()[SlotOf(index)].Get();
}

int ChildList::SlotOf(int index) const noexcept
{
    const TakenSlots* const taken = m_block->Taken();
    return taken != nullptr ? taken->At(index) : m_block->front + index;
}

BNode* ChildList::First() const noexcept
{
    return m_block ? m_block->NodeFrom(m_block->front) : nullptr;
}

BNode* ChildList::Find(const WChar* text) const
{
    if (Count() >= kManyChildren) {
        try {
            return m_block->MakeExtras()
                .byText.GetOrMake([this] { return std::make_unique<ChildIndex>(*this); })
                .Find(text);
        } catch (const std::bad_alloc&) {
            // Without memory for the index there is still the slow way.
        }
    }
    for (const SP<BNode>& child : *this) {
        if (child &&
            platform::Collate(NodeAccess::Text(*child).CStr(), text, platform::ECase::Ignored) == 0)
            return child.Get();
    }
    return nullptr;
}

void ChildList::Reserve(int further)
{
    if (further > (m_block ? m_block->capacity - m_block->end : 0))
        Rebuild(0, further);
}

void ChildList::Append(SP<BNode> child)
{
    if (!m_block || m_block->end == m_block->capacity)
        Rebuild(0, std::max(kFewest, Count() / 2 + 1));
    if (!child) {
        AppendNull();
        return;
    }
    BNode* const appended = child.Get();
    ++m_block->count;
    if (m_block->extras.Get() == nullptr) { // as nearly always, and then this is all
        m_block->PutLast(std::move(child));
        return;
    }
    Put(m_block->end++, std::move(child));
    assert(m_block->IsSound());
    Link(*appended);
    ChangeIndex([appended](ChildIndex& index) { index.Add(*appended); });
}

// There is room for it.
void ChildList::AppendNull()
{
    Extras& extras = m_block->MakeExtras();
    if (!extras.nodes)
        extras.nodes = PlacesOfNodes();
    ++m_block->count;
    ++extras.nulls;
    Put(m_block->end++, nullptr);
    assert(m_block->IsSound());
}

// The first makes way, as nothing stands before it.
void ChildList::InsertBehindFirst(SP<BNode> child)
{
    assert(m_block && child);
    if (m_block->front == 0) {
        const int room = Count() / 2 + 1;
        Rebuild(room, std::min(room, m_block->capacity - m_block->end));
    }
    BNode* const inserted = child.Get();
    const int place = m_block->front--;
    ++m_block->count;
    const bool wasNode = m_block->Slots()[place].Get() != nullptr;
    Put(m_block->front, std::exchange(m_block->Slots()[place], nullptr));
    NodeAccess::SetSlot(*inserted, place);
    m_block->Slots()[place] = std::move(child);
    if (!wasNode)
        m_block->TellNode(place, true);
    assert(m_block->IsSound());
    Link(*inserted);
    ChangeIndex([inserted](ChildIndex& index) { index.Add(*inserted); });
}

SP<BNode> ChildList::Remove(BNode& child) noexcept
{
    assert(m_block && m_block->Holds(child));
    ChangeIndex([&child](ChildIndex& index) { index.Remove(child); });
    Unlink(child);
    return Take(NodeAccess::Slot(child));
}

SP<BNode> ChildList::RemoveAt(int index) noexcept
{
    assert(index >= 0 && index < Count());
    if (BNode* const child = At(index))
        return Remove(*child);
    return Take(SlotOf(index));
}

void ChildList::MakeOrphans() noexcept
{
    assert(m_block);
    for (int slot = m_block->front; slot != m_block->end; ++slot) { // holes, too
        if (BNode* const child = m_block->Slots()[slot].Get())
            NodeAccess::MakeOrphan(*child);
    }
}

void ChildList::Rename(BNode& child, WString text) noexcept
{
    assert(m_block && m_block->Holds(child));
    ChangeIndex([&child](ChildIndex& index) { index.Remove(child); });
    NodeAccess::SetText(child, std::move(text));
    ChangeIndex([&child](ChildIndex& index) { index.Add(child); });
}

std::unique_ptr<TakenSlots> ChildList::PlacesOfNodes() const
{
    auto nodes = std::make_unique<TakenSlots>(m_block->capacity, 0, 0);
    for (const SP<BNode>& child : *this) {
        if (child)
            nodes->Take(NodeAccess::Slot(*child));
    }
    return nodes;
}

// Moves the entries, which keep their order, to an array without holes.
void ChildList::Rebuild(int freeInFront, int freeBehind)
{
    BlockOwner block = Block::Make(freeInFront + Count() + freeBehind);
    block->count = Count();
    block->front = freeInFront;
    block->end = freeInFront;
    if (m_block) {
        std::unique_ptr<TakenSlots> nodes;
        if (m_block->NodeCount() != m_block->count)
            nodes = std::make_unique<TakenSlots>(block->capacity, 0, 0);
        for (int slot = m_block->front; slot < m_block->end; slot = m_block->From(slot + 1)) {
            SP<BNode>& child = m_block->Slots()[slot];
            if (child && slot != block->end)
                NodeAccess::SetSlot(*child, block->end);
            if (child && nodes)
                nodes->Take(block->end);
            block->Slots()[block->end++] = std::move(child);
        }
        block->extras.TakeOver(m_block->extras);
        if (Extras* const extras = block->extras.Get()) {
            extras->taken = nullptr;
            extras->nodes = std::move(nodes);
        }
    }
    m_block = std::move(block);
}

// A list that gets no smaller array keeps the large one.
void ChildList::Shrink() noexcept
{
    try {
        Rebuild(0, Count() / 2 + 1);
    } catch (const std::bad_alloc&) {
    }
}

// Into a free slot at one of the ends, which `front` and `end` include already.
void ChildList::Put(int slot, SP<BNode> child) noexcept
{
    if (child) {
        NodeAccess::SetSlot(*child, slot);
        m_block->TellNode(slot, true);
    }
    m_block->Slots()[slot] = std::move(child);
    if (TakenSlots* const taken = m_block->Taken())
        taken->Take(slot);
}

// To be called when the child stands in its slot.
void ChildList::Link(BNode& child) noexcept
{
    const int slot = NodeAccess::Slot(child);
    BNode* const before = m_block->NodeBefore(slot);
    NodeAccess::SetSister(child, before != nullptr ? NodeAccess::Sister(*before)
                                                   : m_block->NodeFrom(slot + 1));
    if (before != nullptr)
        NodeAccess::SetSister(*before, &child);
}

// To be called while it still stands there.
void ChildList::Unlink(BNode& child) noexcept
{
    if (BNode* const before = m_block->NodeBefore(NodeAccess::Slot(child)))
        NodeAccess::SetSister(*before, NodeAccess::Sister(child));
    NodeAccess::SetSister(child, nullptr);
}

SP<BNode> ChildList::Take(int slot) noexcept
{
    assert(slot >= m_block->front && slot < m_block->end);
    SP<BNode> taken = std::move(m_block->Slots()[slot]);
    if (m_block->count == 1) { // an empty list is a null pointer
        m_block = nullptr;
        return taken;
    }
    --m_block->count;
    if (Extras* const extras = m_block->extras.Get()) {
        if (taken)
            m_block->TellNode(slot, false);
        else
            --extras->nulls;
        if (extras->taken)
            extras->taken->Free(slot);
    }
    TakenSlots* const places = m_block->Taken();
    if (slot == m_block->front)
        m_block->front = places != nullptr ? places->From(slot + 1) : slot + 1;
    else if (slot + 1 == m_block->end)
        m_block->end = places != nullptr ? places->Before(slot) + 1 : slot;
    else if (places == nullptr)
        MakeHole(slot);
    assert(m_block->IsSound());
    if (m_block->capacity > kShort && m_block->count < m_block->capacity / 4)
        Shrink();
    return taken;
}

void ChildList::MakeHole(int slot) noexcept
{
    if (m_block->capacity > kShort) {
        try {
            Extras& extras = m_block->MakeExtras();
            extras.taken =
                std::make_unique<TakenSlots>(m_block->capacity, m_block->front, m_block->end);
            extras.taken->Free(slot);
            return;
        } catch (const std::bad_alloc&) { // removing must succeed
        }
    }
    CloseGap(slot);
}

// In a short list that is cheaper than telling holes.
void ChildList::CloseGap(int slot) noexcept
{
    SP<BNode>* const slots = m_block->Slots();
    for (--m_block->end; slot < m_block->end; ++slot) {
        slots[slot] = std::move(slots[slot + 1]);
        if (slots[slot]) {
            NodeAccess::SetSlot(*slots[slot], slot);
            m_block->TellNode(slot, true);
            m_block->TellNode(slot + 1, false);
        }
    }
}

// An index that gets no memory to follow is dropped, and made anew when it is asked.
template <class Change>
void ChildList::ChangeIndex(Change change) noexcept
{
    Extras* const extras = m_block->extras.Get();
    ChildIndex* const index = extras != nullptr ? extras->byText.Get() : nullptr;
    if (index == nullptr)
        return;
    try {
        change(*index);
    } catch (const std::bad_alloc&) {
        extras->byText.Drop();
    }
}
