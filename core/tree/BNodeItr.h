#pragma once

#include "core/base/DList.h"
#include "core/base/SP.h"
#include "core/platform/Export.h"
#include "core/tree/BNode.h"

#include <cstdint>

/// Walks a subtree in pre-order, the start node first:
///
///     for (BNodeItr itr(root, BNodeItr::All); itr; ++itr)
///         Measure(*itr.Current());
///
/// The iterator counts the start node and the current one, so that it stays safe when the tree is
/// edited meanwhile: the walk goes on from where the current node then stands. One that was taken
/// out of the tree ends the walk, after what is left below it. A node that no `SP` holds must not
/// be handed to an iterator. Over a walk a step costs the same whatever the width and the depth of
/// the tree. One thread at a time.
class QD_CORE_API BNodeItr {
public:
    enum EMode : int {
        All = 0,
        ActiveOnly = 1, ///< an inactive node is skipped with all that is below it
    };

    /// Stands on `start`, whatever its active flag; null gives a walk that is over.
    BNodeItr(BNode* start, EMode mode);

    /// Back to the start node, whatever its active flag.
    void Restart();
    /// Null when the walk is over.
    [[nodiscard]] BNode* Current() const noexcept { return m_current.Get(); }
    /// Nothing happens when the walk is over.
    BNodeItr& operator++();
    /// Returns the node that was current, which is gone when the iterator alone held it.
    BNode* operator++(int);
    [[nodiscard]] bool IsValid() const noexcept { return static_cast<bool>(m_current); }
    explicit operator bool() const noexcept { return IsValid(); }

private:
    [[nodiscard]] BNode* Walkable(BNode* node) const;

    SP<BNode> m_start;
    SP<BNode> m_current;
    bool m_activeOnly;
};

/// Walks a node's children, first to last; null entries of the list are skipped.
///
/// Counts the node, which an `SP` must hold, and the current child: editing the list elsewhere is
/// safe. When the current child is taken out elsewhere, the next step ends the walk. One thread at
/// a time.
class QD_CORE_API BNodeChildItr {
public:
    explicit BNodeChildItr(const BNode& node);

    void Restart();
    [[nodiscard]] BNode* Current() const noexcept { return m_current.Get(); }
    BNodeChildItr& operator++();
    /// Returns the child that was current.
    BNode* operator++(int);
    [[nodiscard]] bool IsValid() const noexcept { return static_cast<bool>(m_current); }
    explicit operator bool() const noexcept { return IsValid(); }

    /// Removes the current child from the node and stands on the one that followed.
    void RemoveCurrent();

private:
    SP<BNode> m_node;
    SP<BNode> m_current;
};

/// Walks a node's attributes, first to last, as `BNodeChildItr` walks its children.
class QD_CORE_API BNodeAttribItr {
public:
    explicit BNodeAttribItr(BNode& node);

    void Restart();
    [[nodiscard]] BAttribute* Current() const noexcept { return m_current.Get(); }
    BNodeAttribItr& operator++();
    BAttribute* operator++(int);
    [[nodiscard]] bool IsValid() const noexcept { return static_cast<bool>(m_current); }
    explicit operator bool() const noexcept { return IsValid(); }

    /// Removes the current attribute from the node and stands on the one that followed.
    void RemoveCurrent();

private:
    void StandOn(int place);

    SP<BNode> m_node;
    SP<BAttribute> m_current;
    int m_place = 0; // where m_current stood when the step was taken
};

/// Walks a node's annotations, first to last, as `BNodeChildItr` walks its children.
class QD_CORE_API BNodeAnnotationItr {
public:
    explicit BNodeAnnotationItr(BNode& node);

    void Restart();
    [[nodiscard]] BSmartObj* Current() const noexcept { return m_current.Get(); }
    BNodeAnnotationItr& operator++();
    BSmartObj* operator++(int);
    [[nodiscard]] bool IsValid() const noexcept { return static_cast<bool>(m_current); }
    explicit operator bool() const noexcept { return IsValid(); }

    /// Removes the current annotation from the node and stands on the one that followed.
    void RemoveCurrent();

private:
    void StandOn(DList<SP<BSmartObj>>::Iterator place);

    SP<BNode> m_node;
    SP<BSmartObj> m_current;
    DList<SP<BSmartObj>>::Iterator m_place;
    std::uint32_t m_changes = 0; // of the annotations, for which m_place is good
};
