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

// Texts of one hash need not be equal: the collation itself decides. It alone would not do, as it
// may be another one than when the hashes were made: on Windows a thread can change its locale.
bool ChildIndex::IsCalled::operator()(const Entry& entry) const
{
    return entries.HasHash(entry, hash) && platform::Collate(NodeAccess::Text(*entry.first).CStr(),
                                                             text, platform::ECase::Ignored) == 0;
}

bool ChildIndex::StandsBefore::operator()(const BNode* a, const BNode* b) const noexcept
{
    return NodeAccess::Slot(*a) < NodeAccess::Slot(*b);
}

ChildIndex::ChildIndex(const ChildList& children)
{
    m_entries.Reserve(static_cast<std::size_t>(children.Count()));
    for (const SP<BNode>& child : children) {
        if (child)
            Add(*child);
    }
}

BNode* ChildIndex::Find(const WChar* text) const
{
    const std::uint64_t hash = HashOf(text);
    const Entry* const entry = m_entries.Find(hash, IsCalled{m_entries, hash, text});
    return entry != nullptr ? entry->first : nullptr;
}

void ChildIndex::Add(BNode& child)
{
    const WChar* text = NodeAccess::Text(child).CStr();
    const std::uint64_t hash = HashOf(text);
    const auto place = m_entries.FindOrFree(hash, IsCalled{m_entries, hash, text});
    NodeAccess::SetTextHash(child, hash);
    if (place.isFree) {
        m_entries.Fill(place, {&child, nullptr});
        return;
    }
    Entry& entry = *place.entry;
    if (entry.later == nullptr)
        entry.later = std::make_unique<Namesakes>();
    if (StandsBefore()(entry.first, &child))
        entry.later->insert(&child);
    else
        entry.later->insert(std::exchange(entry.first, &child));
}

// By the hash that the child was added with, as to make its key again takes longer than the rest,
// and by the child itself: by another collation its text may be equal to others than before.
void ChildIndex::Remove(BNode& child)
{
    Entry* const entry = m_entries.Find(NodeAccess::TextHash(child), [&child](const Entry& other) {
        return other.first == &child || (other.later != nullptr && other.later->contains(&child));
    });
    if (entry == nullptr)
        return;
    if (entry->later == nullptr) {
        m_entries.Vacate(*entry);
        return;
    }
    if (entry->first == &child)
        entry->first = entry->later->extract(entry->later->begin()).value();
    else
        entry->later->erase(&child);
    if (entry->later->empty())
        entry->later = nullptr;
}
