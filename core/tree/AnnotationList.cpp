#include "core/tree/AnnotationList.h"

#include <cassert>
#include <new>
#include <utility>

namespace {

constexpr int kMany = 16; // from here on an index pays

} // namespace

AnnotationList& AnnotationList::operator=(AnnotationList other) noexcept
{
    m_list = std::move(other.m_list);
    m_index = std::move(other.m_index);
    return *this;
}

AnnotationList::List::Iterator AnnotationList::Find(const BSmartObj* object) noexcept
{
    if (!m_index && Count() >= kMany)
        MakeIndex();
    if (m_index) {
        const auto found = m_index->find(object);
        return found != m_index->end() ? found->second : List::Iterator();
    }
    auto place = m_list.begin();
    while (place && place->Get() != object)
        ++place;
    return place;
}

void AnnotationList::Append(const SP<BSmartObj>& annotation)
{
    m_list.AddTail(annotation);
    try {
        if (m_index)
            m_index->emplace(annotation.Get(), m_list.Tail());
    } catch (const std::bad_alloc&) { // made anew when it is asked
        m_index = nullptr;
    }
}

SP<BSmartObj> AnnotationList::Remove(List::Iterator place) noexcept
{
    assert(place);
    SP<BSmartObj> removed = std::move(*place);
    if (m_index) {
        const bool isUnique = m_index->size() == static_cast<std::size_t>(Count());
        m_index->erase(removed.Get());
        if (!isUnique) // read from a damaged document: another entry may be the first now
            m_index = nullptr;
    }
    m_list.Erase(place);
    return removed;
}

void AnnotationList::MakeIndex() noexcept
{
    try {
        auto index = std::make_unique<Index>(static_cast<std::size_t>(Count()));
        for (auto place = m_list.begin(); place; ++place)
            index->emplace(place->Get(), place);
        m_index = std::move(index);
    } catch (const std::bad_alloc&) { // the list is searched
    }
}
