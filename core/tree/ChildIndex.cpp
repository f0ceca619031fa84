#include "core/tree/ChildIndex.h"

#include "core/platform/CharClass.h"
#include "core/platform/Collation.h"
#include "core/platform/SeededHash.h"
#include "core/tree/BNode.h"
#include "core/tree/ChildList.h"
#include "core/tree/NodeAccess.h"

#include <cassert>
#include <string>
#include <string_view>
#include <utility>

// Found by the key that the collation makes of a text, as texts that differ in units may be equal
// to a user (case, a letter and its accent apart). Keys are not kept: they are as long as the texts
// and would double a node. Children that share a text are kept in the order of their places, since
// the first of them counts; nearly no text is shared, so that set is made when a second one comes.
namespace {

std::uint64_t HashOf(const WChar* text)
{
    std::string key;
    platform::AppendCollationKey(text, platform::Length(text), platform::ECase::Ignored, key);
    return platform::SeededHash(std::string_view(key));
}

} // namespace

// Texts of one hash need not be equal: the collation itself decides.
bool ChildIndex::IsCalled::operator()(const Slot& slot) const
{
    return platform::Collate(NodeAccess::Text(*slot.first).CStr(), text,
                             platform::ECase::Ignored) == 0;
}

bool ChildIndex::StandsBefore::operator()(const BNode* a, const BNode* b) const noexcept
{
    return NodeAccess::Slot(*a) < NodeAccess::Slot(*b);
}

ChildIndex::ChildIndex(const ChildList& children)
{
    m_slots.Reserve(static_cast<std::size_t>(children.Count()));
    for (const SP<BNode>& child : children) {
        if (child)
            Add(*child);
    }
}

BNode* ChildIndex::Find(const WChar* text) const
{
    const Slot* const slot = m_slots.Find(HashOf(text), IsCalled{text});
    return slot != nullptr ? slot->first : nullptr;
}

void ChildIndex::Add(BNode& child)
{
    const WChar* text = NodeAccess::Text(child).CStr();
    const std::uint64_t hash = HashOf(text);
    Slot& slot = m_slots.FindOrFree(hash, IsCalled{text});
    NodeAccess::SetTextHash(child, hash);
    if (slot.IsFree()) {
        m_slots.Fill(slot, {hash, &child, nullptr});
        return;
    }
    if (slot.later == nullptr)
        slot.later = std::make_unique<Namesakes>();
    if (StandsBefore()(slot.first, &child))
        slot.later->insert(&child);
    else
        slot.later->insert(std::exchange(slot.first, &child));
}

// By the hash that the child was added with: to make its key again takes longer than the rest.
void ChildIndex::Remove(BNode& child)
{
    const IsCalled isCalled{NodeAccess::Text(child).CStr()};
    Slot* const slot = m_slots.Find(NodeAccess::TextHash(child), [&](const Slot& other) {
        return other.first == &child || isCalled(other);
    });
    if (slot == nullptr)
        return;
    if (slot->later == nullptr) {
        if (slot->first == &child)
            m_slots.Vacate(*slot);
        return;
    }
    if (slot->first == &child)
        slot->first = slot->later->extract(slot->later->begin()).value();
    else
        slot->later->erase(&child);
    if (slot->later->empty())
        slot->later = nullptr;
}
