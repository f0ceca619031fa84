#pragma once

#include "core/platform/WChar.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <unordered_map>
#include <vector>

class BNode;
class ChildList;

/// Finds a node's children by text where there are many of them.
///
/// Texts are found by a hash of their collation keys without case, so that texts that compare equal
/// meet; of the children that share one, the first in the child list is found. The table holds one
/// slot for each text, at most half of them taken, and a clash takes the next free slot.
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
    struct Slot {
        std::uint64_t hash = 0;
        BNode* first = nullptr; // null: the slot is free
    };

    struct StandsBefore {
        bool operator()(const BNode* a, const BNode* b) const noexcept;
    };

    [[nodiscard]] std::size_t SlotOf(std::uint64_t hash, const WChar* text) const;
    void Grow();
    void Free(std::size_t slot);

    std::vector<Slot> m_slots; // a power of two of them
    std::size_t m_taken = 0;
    // Those that are called as the first of their text is, in the order of the list.
    std::unordered_map<const BNode*, std::set<BNode*, StandsBefore>> m_later;
};
