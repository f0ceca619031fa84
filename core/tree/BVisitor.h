#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/SP.h"
#include "core/platform/Export.h"

class BAttribute;
class BNode;

/// What `BNode::Traverse` and `BNode::TraverseObjects` call on their way through a subtree.
///
/// The operations do nothing here; a visitor overrides those that it needs. Counted references to
/// what is visited are taken on the way: a node that no `SP` holds must not be traversed. A visitor
/// may change the node that it visits, but not the child lists above it. One thread at a time.
class QD_CORE_API BVisitor : public BSmartObj {
public:
    /// Stored and returned by `GetTraversionMode()`; the traversal does not read it.
    enum TRAVERSIONMODE : int { TraverseDefault = 0 };

    explicit BVisitor(TRAVERSIONMODE mode = TraverseDefault)
        : m_mode(mode)
    {}
    /// Copies the mode and the flag.
    BVisitor(const BVisitor& other) = default;
    BVisitor& operator=(const BVisitor& other) = default;
    ~BVisitor() override;

    // Virtual operations: their order is part of the interface.

    /// Visits a node; true when the visitor changed it.
    virtual bool TreatNode(BNode* node);
    /// Visits a node's associated object, null for a node without one; true when it was changed.
    virtual bool Treat(BSmartObj* object);
    /// Visits an annotation. `owner` is the node's associated object, or the node when it has none.
    virtual void TreatAnnotation(SP<BSmartObj> annotation, SP<const BSmartObj> owner);
    /// Encloses, with `PopPath`, all calls for a node and what is below it.
    virtual void PushPath(BNode* node);
    virtual void PopPath();
    /// Encloses, with `PopAttrib`, the calls to which a node's attribute applies.
    virtual void PushAttrib(BAttribute* attribute);
    virtual void PopAttrib(BAttribute* attribute);
    /// Sets whether inactive nodes are visited too, with what is below them; initially they are
    /// not.
    virtual void VisitInactiveNodes(bool visit);
    [[nodiscard]] virtual bool VisitInactiveNodes() const;

    [[nodiscard]] TRAVERSIONMODE GetTraversionMode() const noexcept { return m_mode; }

private:
    TRAVERSIONMODE m_mode;
    int m_visitInactive = 0; // not 0: inactive nodes are visited
};
