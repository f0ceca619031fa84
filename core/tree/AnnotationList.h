#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/DList.h"
#include "core/base/SP.h"

#include <memory>
#include <unordered_map>

/// The annotations of a node in their order. Adding, finding and removing one does not depend on
/// how many there are.
class AnnotationList {
public:
    using List = DList<SP<BSmartObj>>;

    AnnotationList() noexcept = default;
    AnnotationList(const AnnotationList& other)
        : m_list(other.m_list)
    {}
    AnnotationList(AnnotationList&&) noexcept = default;
    AnnotationList& operator=(AnnotationList other) noexcept;

    [[nodiscard]] int Count() const noexcept { return m_list.Count(); }
    [[nodiscard]] List::Iterator begin() noexcept { return m_list.begin(); }
    [[nodiscard]] List::Iterator end() noexcept { return {}; }
    [[nodiscard]] List::ConstIterator begin() const noexcept { return m_list.begin(); }
    [[nodiscard]] List::ConstIterator end() const noexcept { return {}; }
    /// The first entry that is this object; null when there is none.
    [[nodiscard]] List::Iterator Find(const BSmartObj* object) noexcept;

    void Append(const SP<BSmartObj>& annotation);
    /// Hands the annotation out, so that it dies when the list is as it should be.
    SP<BSmartObj> Remove(List::Iterator place) noexcept;

private:
    using Index = std::unordered_map<const BSmartObj*, List::Iterator>; // of the first entries

    void MakeIndex() noexcept;

    List m_list;
    std::unique_ptr<Index> m_index; // made when an object is looked up among many
};
