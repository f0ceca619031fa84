#pragma once

#include "core/tree/BNode.h"
#include "core/tree/BNodeBeside.h"

#include <atomic>
#include <cstdint>
#include <utility>

/// What the list of children and the iterators see of a node's inside: the one friend of `BNode`.
/// What a derived class overrides is not asked.
struct NodeAccess {
    [[nodiscard]] static BNode* Parent(const BNode& node) noexcept { return node.m_parent; }
    /// The first that is not null; null when there is none.
    [[nodiscard]] static BNode* FirstChild(const BNode& node) noexcept
    {
        return node.m_children.First();
    }

    /// Of the node, in its parent's list.
    [[nodiscard]] static int Slot(const BNode& node) noexcept { return node.m_slot; }
    static void SetSlot(BNode& node, int slot) noexcept { node.m_slot = slot; }
    [[nodiscard]] static BNode* Sister(const BNode& node) noexcept { return node.m_sister; }
    static void SetSister(BNode& node, BNode* sister) noexcept { node.m_sister = sister; }

    static void MakeOrphan(BNode& node) noexcept
    {
        node.m_parent = nullptr;
        node.m_sister = nullptr;
    }

    [[nodiscard]] static std::uint64_t TextHash(const BNode& node) noexcept
    {
        return node.m_textHash;
    }
    static void SetTextHash(BNode& node, std::uint64_t hash) noexcept
    {
        std::atomic_ref(node.m_textHash).store(hash, std::memory_order_relaxed);
    }

    [[nodiscard]] static const WString& Text(const BNode& node) noexcept { return node.m_text; }
    static void SetText(BNode& node, WString text) noexcept { node.m_text = std::move(text); }

    [[nodiscard]] static const AttributeList& Attributes(const BNode& node) noexcept
    {
        return node.m_attributes;
    }

    /// A null iterator for a node without annotations.
    [[nodiscard]] static DList<SP<BSmartObj>>::Iterator FirstAnnotation(const BNode& node)
    {
        BNode::Annotations* const annotations = node.Annotated();
        return annotations != nullptr ? annotations->list.begin()
                                      : DList<SP<BSmartObj>>::Iterator();
    }
    /// Changes of the annotations so far: where it is the same, places in them are good.
    [[nodiscard]] static std::uint32_t AnnotationChanges(const BNode& node) noexcept
    {
        const BNode::Annotations* const annotations = node.Annotated();
        return annotations != nullptr ? annotations->changes : 0;
    }
};
