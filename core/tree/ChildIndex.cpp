#include "core/tree/ChildIndex.h"

#include "core/platform/CharClass.h"
#include "core/platform/Collation.h"
#include "core/tree/BNode.h"

#include <utility>

namespace {

std::string KeyOf(const WChar* text)
{
    std::string key;
    platform::AppendCollationKey(text, platform::Length(text), platform::ECase::Ignored, key);
    return key;
}

} // namespace

ChildIndex::ChildIndex(const BNode& parent)
{
    m_byKey.reserve(static_cast<std::size_t>(parent.ChildNum()));
    for (const SP<BNode>& child : parent.m_children) {
        if (child)
            Add(*child);
    }
}

BNode* ChildIndex::Find(const WChar* text) const
{
    const auto found = m_byKey.find(KeyOf(text));
    return found == m_byKey.end() ? nullptr : found->second.first;
}

void ChildIndex::Add(BNode& child)
{
    Namesakes& namesakes = m_byKey[KeyOf(child.m_text.CStr())];
    BNode* later = &child;
    if (namesakes.first == nullptr || child.m_order < namesakes.first->m_order)
        later = std::exchange(namesakes.first, &child);
    if (later == nullptr)
        return;
    if (!namesakes.others)
        namesakes.others = std::make_unique<std::map<std::int64_t, BNode*>>();
    namesakes.others->emplace(later->m_order, later);
}

void ChildIndex::Remove(const BNode& child)
{
    const auto found = m_byKey.find(KeyOf(child.m_text.CStr()));
    if (found == m_byKey.end())
        return;
    Namesakes& namesakes = found->second;
    if (namesakes.first != &child) {
        if (namesakes.others)
            namesakes.others->erase(child.m_order);
    } else if (!namesakes.others || namesakes.others->empty()) {
        m_byKey.erase(found);
    } else {
        const auto next = namesakes.others->begin();
        namesakes.first = next->second;
        namesakes.others->erase(next);
    }
}
