#pragma once

#include "core/platform/ProbeTable.h"
#include "core/platform/WChar.h"

#include <cstdint>
#include <memory>
#include <set>

class BNode;
class ChildList;

/// Finds a node's children by text where there are many of them.
///
/// Texts are found by a hash of their collation keys without case, so that texts that compare equal
/// meet; of the children that share one, the first in the child list is found.
///
/// It may run out of memory in each member; one that did so while it changed is of no more use.
class ChildIndex {
public:
    explicit ChildIndex(const ChildList& children);

    /// Null when no child is called so.
    [[nodiscard]] BNode* Find(const WChar* text) const;

    /// To be called when the child stands in the list under its text.
    void Add(BNode& child);
    /// To be called while the child still has the text under which it was added.
    void Remove(BNode& child);

private:
    struct StandsBefore {
        bool operator()(const BNode* a, const BNode* b) const noexcept;
    };
    using Namesakes = std::set<BNode*, StandsBefore>; // in the order of the list

    // One for each text.
    struct Entry {
        BNode* first;                     // of those that are called so
        std::unique_ptr<Namesakes> later; // the others, at least one; null where there is none
    };
    struct IsCalled {
        const platform::ProbeTable<Entry>& entries;
        std::uint64_t hash;
        const WChar* text;
        bool operator()(const Entry& entry) const;
    };

    platform::ProbeTable<Entry> m_entries;
};
