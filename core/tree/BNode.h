#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/tree/AttributeList.h"
#include "core/tree/BAttribute.h"
#include "core/tree/ChildList.h"

#include <cstdint>
#include <memory>

class BArchive;
class BVisitor;

/// A named node of a tree: an ordered list of children, attributes with unique names, annotations,
/// and one associated object.
///
///     SP<BNode> part(new BNode);
///     part->SetText(QD_W("Part"));
///     part->AddChild(new BNode(scan), -1);   // appended; the tree owns it
///     BNode* first = part->Child(0);         // not counted
///
/// A node owns what is below and beside it through `SP`s; the link to its parent is a plain
/// pointer, null once the parent lets go. Pointers that are handed out are not counted and are good
/// as long as the tree holds the object.
///
/// When the root's dispatcher flag is set (initially it is) and a dispatcher is registered, every
/// change is sent to the dispatcher with the node, after it is done:
///
///     kMessageNodeChildAdded         AddChild; with the child and its index
///     kMessageNodeChildrenRemoved    RemoveChild, RemoveChildren
///     kMessageNodeTextChanged        SetText
///     kMessageNodeAttributesChanged  a change of attributes or annotations
///     kMessageNodeVisitorChanged     Traverse, TraverseObjects: a visitor's change
///     kMessageNodeObjectChanged      SetObj, when the object changes
///     kMessageNodeActiveChanged      Activate, when the flag changes
///     kMessageNodeLockedChanged      Lock, when the flag changes
///
/// Children are found by their text, compared as the user's locale has it and without regard to
/// case; of several with equal texts the first counts. Many children cost no more than few: adding,
/// removing, stepping to the next sister and finding one by its place or its text, in any mixture,
/// do not depend on their number, or only as its logarithm.
///
/// A list read from a damaged document can hold null entries: they count, the functions that take
/// an index give null for them, and `Sister` steps over them.
///
/// In a document the child lists decide: a node belongs to the list that names it, whatever its own
/// record says of its parent, and one that no list names has no parent. Where a node would lead to
/// itself through child lists, or stand in two of them, the node that has the list refuses itself
/// (`VerifyObj`). A circle through annotations or objects comes back as it was saved: whoever built
/// it breaks it, as by `Clear`, or its nodes keep one another alive.
///
/// A derived class that is saved has its base do so first: `BNode::WriteData` in its `WriteData`,
/// `ReadData` in its `Read`, `BNode::UpdateAssociations` where it overrides that. Its `Version()`
/// speaks of its own fields alone. It may as well write a payload of its own without the base's,
/// and add its children, if it wrote any, by `AddChild` in `UpdateAssociations`, which reports
/// there, too. There it calls `BNode::UpdateAssociations` first in any case: where the document is
/// refused, the archive then has it let go of what this class holds, so that no circle stays in
/// memory. A false from `AddChild` for a child that the file names it has to remember and answer in
/// its `VerifyObj`, or the child would be lost without a word.
///
/// A receiver may change the tree from inside a report, and let go of the node. So may an object
/// that the node lets go of and that was the node's last owner: the node reports, and dies then. A
/// receiver must not put a node into an `SP` that nothing owns yet (`RefCount()` 0), as one that is
/// being constructed with an object: letting go of it again would destroy it.
///
/// Refusals are told by false or null. Only `std::bad_alloc` is thrown, by what adds or copies: an
/// addition leaves the node as it was, `Copy` with a part of the other's. No lock: one thread at a
/// time changes a tree; any number of threads may read it meanwhile nobody does.
class QD_CORE_API BNode : public BSmartObj {
public:
    /// A node without parent, active, not locked, reporting, and with `obj` as `SetObj` sets it.
    explicit BNode(BSmartObj* obj = nullptr);
    ~BNode() override;
    BNode& operator=(const BNode& other);

    void WriteData(BArchive& archive) const override;
    /// Turns what `ReadData` has read into objects, where it was called.
    void UpdateAssociations(BArchive& archive) override;
    /// False for a node whose child list in a document names one that is above it or in a list
    /// already.
    bool VerifyObj() override;
    /// 2, the layout of this class's payload, and the answer of a derived class that does not
    /// override it.
    int Version() const override;
    using BSmartObj::AllocatedMemory;

    // Virtual operations: their order is part of the interface.

    virtual void Lock(bool on);
    virtual bool IsLocked();
    /// Sets the node's own flag; `IsBranchActive` asks for those above it as well.
    virtual void Activate(bool on);
    virtual void Deactivate();
    virtual bool IsActive() const;
    /// The topmost node, this one when it has no parent; a parent is asked for its own `Root()`.
    /// Depth does not matter, but for nodes of derived classes, each of which is asked by a call.
    virtual BNode* Root();
    /// This node and all above it are active.
    virtual bool IsBranchActive() const;
    /// Leads a visitor through this node and what is below it: see `BVisitor`. Depth does not
    /// matter, but for nodes of derived classes, which are entered by a call of their own
    /// `Traverse`.
    virtual void Traverse(BVisitor* visitor);
    /// The same for associated objects only: `Treat` is all that is called.
    virtual void TraverseObjects(BVisitor* visitor);
    virtual BSmartObj* GetObj() const;
    virtual void SetObj(BSmartObj* obj);
    /// Bytes of all associated objects in this subtree, of its active branches only when
    /// `activeOnly` is true. An object counts once for each node that has it.
    virtual std::uint64_t AllocatedMemory(bool activeOnly);
    /// Appends an attribute; one of the same name is removed first. False for null and for an
    /// attribute that the node has already.
    virtual bool AddAttrib(BAttribute* attribute);
    virtual int AttribNum() const;
    /// Null when there is none.
    virtual BAttribute* Attrib(int index) const;
    virtual BAttribute* Attrib(const WChar* name) const;
    virtual BAttribute* Attrib(WString name) const;
    /// False when the node has no such attribute.
    virtual bool RemoveAttrib(BAttribute* attribute);
    virtual bool RemoveAttrib(int index);
    virtual bool RemoveAttrib(const WChar* name);
    virtual bool RemoveAttrib(WString name);
    virtual void RemoveAttribs();
    /// Appends a child when `index` is negative or not below `ChildNum()`. False for null, for a
    /// node that has a parent, that is this node or above it, and for an index from 1 to
    /// `ChildNum()` - 1.
    /// Intended: index 0 puts the child behind the first one; documents rely on that order.
    virtual bool AddChild(BNode* child, int index);
    /// Removes the node that `Child(path)` finds, when it is a child of this node.
    virtual bool RemoveChild(const WChar* path);
    virtual bool RemoveChild(BNode* child);
    virtual bool RemoveChild(int index);
    virtual void RemoveChildren();
    /// `Child(path)`, counted.
    virtual SP<BNode> QueryChild(WString path);
    virtual int AnnotationNum() const;
    /// False for null and for an object that is an annotation of this node already.
    virtual bool AddAnnotation(BSmartObj* annotation);
    virtual bool RemoveAnnotation(BSmartObj* annotation);
    virtual void RemoveAnnotations();
    /// Removes attributes, annotations, children and the object, in this order, each reported.
    virtual void Clear();
    virtual BNode* Parent() const;
    /// This node is above `node`; false for null.
    virtual bool IsGrandParent(const BNode* node) const;
    /// `node` is this node or below it; false for null.
    virtual bool Includes(const BNode* node) const;
    virtual void SetText(WString text);
    /// Forwards to `SetText(WString)`.
    virtual void SetText(const WChar* text);
    virtual WString GetText() const;
    /// The root's flag: changes in this tree are reported. A parent is asked for its own answer, as
    /// for `Root()`, so that a class that answers otherwise does so for all that is below.
    virtual bool IsMessageDispatcher() const;
    /// Ignored by a node that has a parent.
    virtual void IsMessageDispatcher(bool on);
    /// `base` and a number of at least three digits, as no child is called yet. Numbers are tried
    /// from `ChildNum()` + 1 on; the last that 32 bits hold is given without a test.
    virtual WString ChildTextSuggestion(WString base);

    /// Takes over text, flags and object of `other`, its attributes and annotations (shared) and
    /// copies of its children, which are plain `BNode`s. The parent stays. Reports what it changes
    /// on this node.
    void Copy(const BNode& other);

    [[nodiscard]] int ChildNum() const;
    /// Null when `index` is out of range.
    [[nodiscard]] BNode* Child(int index) const;
    /// The descendant that a path of texts with "/" between them leads to; null when there is none.
    /// Separators in front are skipped.
    [[nodiscard]] BNode* Child(const WChar* path) const;
    /// The child after this one in the parent's list; null for the last one and for a root.
    [[nodiscard]] BNode* Sister() const;

    [[nodiscard]] static const char* CLASSNAME();
    /// Rebuilds a node from its record.
    [[nodiscard]] static SP<BSmartObj> Read(BArchive& archive, int version);

protected:
    /// Reads what `WriteData` of this class wrote, for the `Read` of a class derived from it, whose
    /// own version does not matter here. Throws `ArchiveFormatFault` when the record declares more
    /// than it holds.
    void ReadData(BArchive& archive);
    /// The same for records of a derived class whose node payload is of an older layout: 0 or 1,
    /// as `BNode` itself had then.
    void ReadDataOfVersion(BArchive& archive, int nodeVersion);

private:
    friend struct NodeAccess; // what the list of children and the iterators see of a node

    struct Annotations;
    struct Released;
    struct Releasing;

    BNode(const BNode&) = delete; // `Copy` copies

    void SendMsg(unsigned int code, std::uint64_t first, std::uint64_t second) const;
    void Report(unsigned int code) const;
    /// For a function that goes on, or reports, after something was let go of or reported: either
    /// may take the node's last reference along. Null for a node that nothing owns, on the stack or
    /// new, which must not be counted.
    [[nodiscard]] SP<BNode> Held();

    void Append(BNode& child);
    [[nodiscard]] ChildList TakeChildren();
    void CopyTreeOf(const BNode& other);
    template <class Key>
    [[nodiscard]] BAttribute* FindAttrib(const Key& key) const;
    template <class Key>
    [[nodiscard]] bool RemoveFoundAttrib(const Key& key);
    [[nodiscard]] Annotations* Annotated() const noexcept;
    [[nodiscard]] Annotations& MakeAnnotations();
    void SetLoading(const char* loading) noexcept;
    [[nodiscard]] const char* TakeLoading() noexcept;
    [[nodiscard]] const BNode* Spokesman() const;

    [[nodiscard]] bool MayAdopt(const BNode& child) const;
    [[nodiscard]] const BNode* NextBelow(const BNode& top) const;
    void LetGo();

    SP<BSmartObj> m_object;
    ChildList m_children;
    AttributeList m_attributes;
    // One or the other: a pointer more would cost each node 16 bytes of the heap.
    union {
        Annotations* m_annotations = nullptr; // owned, null until there is one
        const char* m_loading;                // while `m_isLoading`: in the archive
    };
    WString m_text;
    BNode* m_parent = nullptr; // not owned
    BNode* m_sister = nullptr; // the next child of the parent; not owned
    // By which an index of the parent's children has it; readers that make one write it at once.
    std::uint64_t m_textHash = 0;
    int m_slot = 0; // in its parent's `m_children`
    bool m_isActive = true;
    bool m_isLocked = false;
    bool m_isMessageDispatcher = true; // counts on a root
    bool m_isSound : 1 = true;         // false: refused as read from a document
    bool m_isLoading : 1 = false;      // waits for its associations
    bool m_isBelowItself : 1 = false;  // a document has it so: no list there gets it
};
