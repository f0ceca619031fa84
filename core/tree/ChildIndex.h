#pragma once

#include "core/platform/WChar.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

class BNode;

/// Finds a node's children by text where there are many of them.
///
/// Texts are keyed by their collation keys without case, so that texts that compare equal share a
/// key; of the children that share one, the first in the child list is found.
class ChildIndex {
public:
    explicit ChildIndex(const BNode& parent);

    /// Null when no child is called so.
    [[nodiscard]] BNode* Find(const WChar* text) const;

    /// To be called when the child stands in the list under its text.
    void Add(BNode& child);
    /// To be called while the child still has the text under which it was added.
    void Remove(const BNode& child);

private:
    struct Namesakes {
        BNode* first = nullptr;
        std::unique_ptr<std::map<std::int64_t, BNode*>> others; // by place; null: there are none
    };

    std::unordered_map<std::string, Namesakes> m_byKey;
};
