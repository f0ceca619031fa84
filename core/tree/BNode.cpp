#include "core/tree/BNode.h"

#include "core/operation/BDispatcher.h"
#include "core/operation/Messages.h"
#include "core/operation/Registered.h"
#include "core/platform/WideText.h"
#include "core/tree/BNodeBeside.h"
#include "core/tree/BNodeItr.h"
#include "core/tree/Traversal.h"

#include <cassert>
#include <typeinfo>
#include <utility>

// What a node is by itself, its place in the tree, and its reports. What stands beside it, its
// copies, its end and its record have files of their own: BNodeBeside.cpp, BNodeCopy.cpp,
// BNodeRelease.cpp and BNodeArchive.cpp.
//
// Documents have millions of nodes, so a node is kept small, and so is the number of heap blocks
// that it takes: lists are made for their first entry, children and attributes stand in one block
// each, and what only loading needs lives in the archive. All ways through a tree are loops, as a
// line of a million nodes would exhaust the stack; only nodes of derived classes, which may answer
// otherwise, are asked by a call.
//
// A report can run any code: it may let go of the node, and change the tree. So each operation
// changes everything first and reports last, touches nothing afterwards, and holds the node where
// it goes on.

static_assert(sizeof(void*) != 8 || sizeof(BNode) <= 88, "documents have millions of nodes");

namespace {

constexpr WChar kSeparator = QD_W('/');

std::uint64_t AsParameter(const void* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

} // namespace

BNode::BNode(BSmartObj* obj)
{
    BNode::SetObj(obj);
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): `Copy` looks for it
BNode& BNode::operator=(const BNode& other)
{
    Copy(other);
    return *this;
}

void BNode::Lock(bool on)
{
    if (std::exchange(m_isLocked, on) != on)
        Report(kMessageNodeLockedChanged);
}

bool BNode::IsLocked()
{
    return m_isLocked;
}

void BNode::Activate(bool on)
{
    if (std::exchange(m_isActive, on) != on)
        Report(kMessageNodeActiveChanged);
}

void BNode::Deactivate()
{
    Activate(false);
}

bool BNode::IsActive() const
{
    return m_isActive;
}

// Whom to ask what concerns the whole tree: the nearest node above of a derived class, which may
// have an answer of its own, or the topmost. Plain nodes are passed in a loop, as each call of a
// parent's takes its share of the stack.
const BNode* BNode::Spokesman() const
{
    const BNode* node = this;
    while (node->m_parent != nullptr) {
        node = node->m_parent;
        if (typeid(*node) != typeid(BNode))
            break;
    }
    return node;
}

BNode* BNode::Root()
{
    return m_parent != nullptr ? const_cast<BNode*>(Spokesman())->Root() : this;
}

bool BNode::IsBranchActive() const
{
    const BNode* node = this;
    while (node != nullptr && node->IsActive())
        node = node->m_parent;
    return node == nullptr;
}

BSmartObj* BNode::GetObj() const
{
    return m_object.Get();
}

void BNode::SetObj(BSmartObj* obj)
{
    if (m_object == obj)
        return;
    // The old object may be the last to hold this node; without one nothing dies before the report.
    const SP<BNode> held = m_object ? Held() : nullptr;
    m_object = obj;
    Report(kMessageNodeObjectChanged);
}

std::uint64_t BNode::AllocatedMemory(bool activeOnly)
{
    std::uint64_t sum = 0;
    for (BNodeItr itr(this, activeOnly ? BNodeItr::ActiveOnly : BNodeItr::All); itr; ++itr) {
        if (const BSmartObj* object = itr.Current()->GetObj())
            sum += object->AllocatedMemory();
    }
    return sum;
}

bool BNode::AddChild(BNode* child, int index)
{
    if (child == nullptr || !MayAdopt(*child))
        return false;
    const bool appends = index < 0 || index >= ChildNum();
    if (!appends && index != 0)
        return false;
    if (appends) {
        Append(*child);
    } else {
        m_children.InsertBehindFirst(child);
        child->m_parent = this;
    }
    const int reached = appends ? ChildNum() - 1 : 1;
    SendMsg(kMessageNodeChildAdded, AsParameter(child), static_cast<std::uint64_t>(reached));
    return true;
}

bool BNode::RemoveChild(const WChar* path)
{
    return RemoveChild(Child(path));
}

bool BNode::RemoveChild(BNode* child)
{
    if (child == nullptr || child->m_parent != this)
        return false;
    const SP<BNode> held = Held();
    child->m_parent = nullptr; // first, as the child may die on the next line
    m_children.Remove(*child);
    Report(kMessageNodeChildrenRemoved);
    return true;
}

bool BNode::RemoveChild(int index)
{
    if (BNode* const child = Child(index))
        return RemoveChild(child);
    if (index < 0 || index >= ChildNum())
        return false;
    m_children.RemoveAt(index); // a null entry, from a damaged document
    Report(kMessageNodeChildrenRemoved);
    return true;
}

void BNode::RemoveChildren()
{
    if (m_children.Count() == 0)
        return;
    const SP<BNode> held = Held();
    TakeChildren() = ChildList(); // they die here, when the node has none any more
    Report(kMessageNodeChildrenRemoved);
}

SP<BNode> BNode::QueryChild(WString path)
{
    return Child(path.CStr());
}

void BNode::Clear()
{
    const SP<BNode> held = Held();
    RemoveAttribs();
    RemoveAnnotations();
    RemoveChildren();
    SetObj(nullptr);
}

BNode* BNode::Parent() const
{
    return m_parent;
}

bool BNode::IsGrandParent(const BNode* node) const
{
    return node != nullptr && Includes(node->m_parent);
}

bool BNode::Includes(const BNode* node) const
{
    while (node != nullptr && node != this)
        node = node->m_parent;
    return node != nullptr;
}

void BNode::SetText(WString text)
{
    if (m_parent != nullptr) // its list finds children by their texts
        m_parent->m_children.Rename(*this, std::move(text));
    else
        m_text = std::move(text);
    Report(kMessageNodeTextChanged);
}

void BNode::SetText(const WChar* text)
{
    SetText(WString(text));
}

WString BNode::GetText() const
{
    return m_text;
}

bool BNode::IsMessageDispatcher() const
{
    return m_parent != nullptr ? Spokesman()->IsMessageDispatcher() : m_isMessageDispatcher;
}

void BNode::IsMessageDispatcher(bool on)
{
    if (m_parent == nullptr)
        m_isMessageDispatcher = on;
}

WString BNode::ChildTextSuggestion(WString base)
{
    WString suggestion;
    for (auto number = static_cast<std::uint32_t>(ChildNum()) + 1;; ++number) {
        suggestion.Printf(QD_W("%s%03d"), base.CStr(), number);
        if (number == 0xFFFFFFFF || m_children.Find(suggestion.CStr()) == nullptr)
            return suggestion;
    }
}

int BNode::ChildNum() const
{
    return m_children.Count();
}

BNode* BNode::Child(int index) const
{
    return m_children.At(index);
}

BNode* BNode::Child(const WChar* path) const
{
    if (path == nullptr)
        return nullptr;
    while (*path == kSeparator)
        ++path;
    const BNode* node = this;
    while (node != nullptr) {
        const WChar* end = path;
        while (*end != 0 && *end != kSeparator)
            ++end;
        if (*end == 0)
            return node->m_children.Find(path);
        const platform::WideText segment(path, end); // with the 0 that the look-up wants
        node = node->m_children.Find(segment.c_str());
        path = end + 1;
    }
    return nullptr;
}

BNode* BNode::Sister() const
{
    return m_sister;
}

const char* BNode::CLASSNAME()
{
    return ClassName(typeid(BNode));
}

void BNode::Traverse(BVisitor* visitor)
{
    if (visitor != nullptr)
        TraverseTree(*this, *visitor);
}

void BNode::TraverseObjects(BVisitor* visitor)
{
    if (visitor != nullptr)
        TraverseTreeObjects(*this, *visitor);
}

// Whether `child` has no parent, and is not this node or above it. That is looked for upwards from
// here and downwards from the child by turns, until either way ends: so the smaller of two trees
// says what joining them costs, and n nodes that are joined in any order cost n log n.
bool BNode::MayAdopt(const BNode& child) const
{
    if (child.m_parent != nullptr)
        return false;
    const BNode* above = this;
    for (const BNode* below = &child; below != nullptr; below = below->NextBelow(child)) {
        if (above->m_parent == nullptr)
            return above != &child;
        above = above->m_parent;
    }
    return true;
}

// The node that follows in pre-order in the tree below `top`.
const BNode* BNode::NextBelow(const BNode& top) const
{
    if (const BNode* child = m_children.First())
        return child;
    const BNode* node = this;
    while (node != &top) {
        if (const BNode* sister = node->Sister())
            return sister;
        node = node->m_parent;
    }
    return nullptr;
}

void BNode::Append(BNode& child)
{
    assert(child.m_parent == nullptr);
    m_children.Append(&child);
    child.m_parent = this;
}

SP<BNode> BNode::Held()
{
    return RefCount() > 0 ? this : nullptr;
}

void BNode::Report(unsigned int code) const
{
    SendMsg(code, AsParameter(this), 0);
}

// The constructor comes here, too, where the node is a plain one still and answers for itself.
void BNode::SendMsg(unsigned int code, std::uint64_t first, std::uint64_t second) const
{
    if (NOperation::g_dispatcher != nullptr && IsMessageDispatcher())
        BDispatcher::DispatcherSend(code, first, second);
}
