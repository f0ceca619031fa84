#include "core/tree/ChildIndex.h"

#include "core/platform/CharClass.h"
#include "core/platform/Collation.h"
#include "core/tree/BNode.h"
#include "core/tree/ChildList.h"

#include <bit>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace {

std::uint64_t HashOf(const WChar* text)
{
    std::string key;
    platform::AppendCollationKey(text, platform::Length(text), platform::ECase::Ignored, key);
    return std::hash<std::string_view>()(key);
}

} // namespace

bool ChildIndex::StandsBefore::operator()(const BNode* a, const BNode* b) const noexcept
{
    return ChildList::StandsBefore(*a, *b);
}

ChildIndex::ChildIndex(const ChildList& children)
    : m_slots(std::bit_ceil(2 * (static_cast<std::size_t>(children.Count()) + 1)))
{
    for (const SP<BNode>& child : children) {
        if (child)
            Add(*child);
    }
}

BNode* ChildIndex::Find(const WChar* text) const
{
    return m_slots[SlotOf(HashOf(text), text)].first;
}

// The slot of that text, or the free one that it would take.
std::size_t ChildIndex::SlotOf(std::uint64_t hash, const WChar* text) const
{
    const auto isOther = [&](const Slot& slot) {
        return slot.hash != hash || platform::Collate(ChildList::TextOf(*slot.first).CStr(), text,
                                                      platform::ECase::Ignored) != 0;
    };
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = hash & mask;
    while (m_slots[slot].first != nullptr && isOther(m_slots[slot]))
        slot = (slot + 1) & mask;
    return slot;
}

void ChildIndex::Add(BNode& child)
{
    if (2 * m_taken >= m_slots.size())
        Grow();
    const WChar* text = ChildList::TextOf(child).CStr();
    const std::uint64_t hash = HashOf(text);
    Slot& slot = m_slots[SlotOf(hash, text)];
    if (slot.first == nullptr) {
        slot = {hash, &child};
        ++m_taken;
        return;
    }
    if (ChildList::StandsBefore(*slot.first, child)) {
        m_later[slot.first].insert(&child);
        return;
    }
    auto later = m_later.extract(slot.first);
    auto& namesakes = later ? later.mapped() : m_later[&child];
    namesakes.insert(slot.first);
    slot.first = &child;
    if (later) {
        later.key() = &child;
        m_later.insert(std::move(later));
    }
}

void ChildIndex::Remove(BNode& child)
{
    const WChar* text = ChildList::TextOf(child).CStr();
    const std::size_t place = SlotOf(HashOf(text), text);
    Slot& slot = m_slots[place];
    if (slot.first == nullptr)
        return;
    auto later = m_later.extract(slot.first);
    if (!later) {
        if (slot.first == &child)
            Free(place);
        return;
    }
    auto& namesakes = later.mapped();
    if (slot.first == &child) {
        slot.first = *namesakes.begin();
        namesakes.erase(namesakes.begin());
    } else {
        namesakes.erase(&child);
    }
    later.key() = slot.first;
    if (!namesakes.empty())
        m_later.insert(std::move(later));
}

void ChildIndex::Grow()
{
    const std::vector<Slot> former = std::exchange(m_slots, std::vector<Slot>(2 * m_slots.size()));
    const std::size_t mask = m_slots.size() - 1;
    for (const Slot& slot : former) {
        if (slot.first == nullptr)
            continue;
        std::size_t place = slot.hash & mask;
        while (m_slots[place].first != nullptr)
            place = (place + 1) & mask;
        m_slots[place] = slot;
    }
}

// What clashed with the slot moves up, so that no search stops too early. Knuth, The Art of
// Computer Programming 3 (1998), 6.4, algorithm R.
void ChildIndex::Free(std::size_t slot)
{
    const std::size_t mask = m_slots.size() - 1;
    m_slots[slot].first = nullptr;
    --m_taken;
    for (std::size_t next = (slot + 1) & mask; m_slots[next].first != nullptr;
         next = (next + 1) & mask) {
        const std::size_t wanted = m_slots[next].hash & mask;
        if (((next - wanted) & mask) < ((next - slot) & mask))
            continue;
        m_slots[slot] = std::exchange(m_slots[next], {});
        slot = next;
    }
}
