#include "core/tree/BNode.h"

#include "core/operation/BDispatcher.h"
#include "core/operation/Messages.h"
#include "core/platform/WideText.h"
#include "core/tree/BNodeBeside.h"
#include "core/tree/BNodeItr.h"
#include "core/tree/Traversal.h"

#include <memory>
#include <new>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {

constexpr WChar kSeparator = QD_W('/');
constexpr int kDeepestRelease = 64; // nodes whose destructors may run inside one another

std::uint64_t AsParameter(const void* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

// For a function that goes on, or reports, after something was let go of or reported: either may
// take the node's last reference along. A node that nothing owns, on the stack or new, must not be
// counted.
SP<BNode> Held(BNode& node)
{
    return node.RefCount() > 0 ? &node : nullptr;
}

using Attributes = DList<SP<BAttribute>>;

Attributes::Iterator PlaceOf(Attributes& attributes, const BAttribute* attribute)
{
    auto place = attributes.begin();
    while (place && *place != attribute)
        ++place;
    return place;
}

Attributes::Iterator PlaceOf(Attributes& attributes, const WString& name)
{
    auto place = attributes.begin();
    while (place && !(*place && (*place)->Name() == name))
        ++place;
    return place;
}

Attributes::Iterator PlaceOf(Attributes& attributes, int index)
{
    auto place = index >= 0 ? attributes.begin() : attributes.end();
    for (; place && index > 0; --index)
        ++place;
    return place;
}

} // namespace

// What destroyed nodes still hold, to be let go when no destructor of a node runs any more.
struct BNode::Released {
    SP<BSmartObj> object;
    ChildList children;
    std::unique_ptr<Beside> beside;
    Released* next = nullptr;

    static thread_local int depth; // destructors of nodes that run inside one another
    static thread_local Released* first;

    static void LetGo() noexcept
    {
        while (Released* released = first) {
            first = released->next;
            delete released;
        }
    }
};

thread_local int BNode::Released::depth = 0;
thread_local BNode::Released* BNode::Released::first = nullptr;

BNode::BNode(BSmartObj* obj)
{
    BNode::SetObj(obj);
}

// A node that dies takes its children along, these theirs, and so on: however deep the tree, only
// so many destructors run inside one another. Below that, what a node holds is put aside.
BNode::~BNode()
{
    ChildList children = TakeChildren();
    std::unique_ptr<Released> released(
        Released::depth < kDeepestRelease ? nullptr : new (std::nothrow) Released);
    if (released) {
        released->object = std::move(m_object);
        released->children = std::move(children);
        released->beside = std::move(m_beside);
        released->next = std::exchange(Released::first, released.get());
        static_cast<void>(released.release());
        return;
    }
    ++Released::depth;
    children = ChildList();
    m_beside = nullptr;
    m_object = nullptr;
    if (Released::depth == 1)
        Released::LetGo();
    --Released::depth;
}

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
    const SP<BNode> held = m_object ? Held(*this) : nullptr;
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

BNode::Beside& BNode::MakeBeside()
{
    if (!m_beside)
        m_beside = std::make_unique<Beside>();
    return *m_beside;
}

std::uint32_t BNode::ListChanges() const
{
    return m_beside ? m_beside->changes : 0;
}

bool BNode::AddAttrib(BAttribute* attribute)
{
    if (attribute == nullptr)
        return false;
    const SP<BAttribute> added(attribute);
    SP<BAttribute> removed; // dies when nothing touches the node any more
    Attributes& attributes = MakeBeside().attributes;
    const auto namesake = PlaceOf(attributes, added->Name());
    if (namesake && *namesake == added)
        return false;
    attributes.AddTail(added);
    if (namesake) {
        removed = *namesake;
        attributes.Erase(namesake);
    }
    ReportLists();
    return true;
}

int BNode::AttribNum() const
{
    return m_beside ? m_beside->attributes.Count() : 0;
}

// By name or index.
template <class Key>
BAttribute* BNode::FindAttrib(const Key& key) const
{
    const auto place = m_beside ? PlaceOf(m_beside->attributes, key) : Attributes::Iterator();
    return place ? place->Get() : nullptr;
}

BAttribute* BNode::Attrib(int index) const
{
    return FindAttrib(index);
}

BAttribute* BNode::Attrib(const WChar* name) const
{
    return Attrib(WString(name));
}

BAttribute* BNode::Attrib(WString name) const
{
    return FindAttrib(name);
}

// By name, index or identity.
template <class Key>
bool BNode::RemoveFoundAttrib(const Key& key)
{
    const auto place = m_beside ? PlaceOf(m_beside->attributes, key) : Attributes::Iterator();
    if (!place)
        return false;
    const SP<BNode> held = Held(*this);
    m_beside->attributes.Erase(place);
    ReportLists();
    return true;
}

bool BNode::RemoveAttrib(BAttribute* attribute)
{
    return attribute != nullptr && RemoveFoundAttrib(attribute);
}

bool BNode::RemoveAttrib(int index)
{
    return RemoveFoundAttrib(index);
}

bool BNode::RemoveAttrib(const WChar* name)
{
    return RemoveAttrib(WString(name));
}

bool BNode::RemoveAttrib(WString name)
{
    return RemoveFoundAttrib(name);
}

void BNode::RemoveAttribs()
{
    if (AttribNum() == 0)
        return;
    const auto removed = std::move(m_beside->attributes); // dies when no iterator is taken in
    ReportLists();
}

bool BNode::AddChild(BNode* child, int index)
{
    if (child == nullptr || !MayAdopt(*child))
        return false;
    const bool appends = index < 0 || index >= ChildNum();
    if (!appends && index != 0)
        return false;
    if (appends) {
        Append(child);
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
    const SP<BNode> held = Held(*this);
    child->m_parent = nullptr;
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
    m_children.RemoveAt(index);
    Report(kMessageNodeChildrenRemoved);
    return true;
}

void BNode::RemoveChildren()
{
    if (m_children.Count() == 0)
        return;
    const SP<BNode> held = Held(*this);
    TakeChildren() = ChildList();
    Report(kMessageNodeChildrenRemoved);
}

SP<BNode> BNode::QueryChild(WString path)
{
    return Child(path.CStr());
}

int BNode::AnnotationNum() const
{
    return m_beside ? m_beside->annotations.Count() : 0;
}

bool BNode::AddAnnotation(BSmartObj* annotation)
{
    const SP<BSmartObj> added(annotation);
    if (!added || MakeBeside().annotations.Find(annotation))
        return false;
    m_beside->annotations.Append(added);
    ReportLists();
    return true;
}

bool BNode::RemoveAnnotation(BSmartObj* annotation)
{
    if (annotation == nullptr || !m_beside)
        return false;
    const auto place = m_beside->annotations.Find(annotation);
    if (!place)
        return false;
    const SP<BNode> held = Held(*this);
    m_beside->annotations.Remove(place);
    ReportLists();
    return true;
}

void BNode::RemoveAnnotations()
{
    if (AnnotationNum() == 0)
        return;
    const auto removed = std::move(m_beside->annotations);
    ReportLists();
}

void BNode::Clear()
{
    const SP<BNode> held = Held(*this);
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
    if (m_parent != nullptr)
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

// The copies are made first: `other` may be this node, above it or below it.
void BNode::Copy(const BNode& other)
{
    if (&other == this)
        return;
    const SP<BNode> held = Held(*this);
    const SP<BNode> copy(new BNode);
    copy->CopyTreeOf(other);
    const bool isMessageDispatcher = std::exchange(copy->m_isMessageDispatcher, false);

    SetText(copy->m_text);
    Activate(copy->m_isActive);
    Lock(copy->m_isLocked);
    SetObj(copy->m_object.Get());
    RemoveAttribs();
    for (BNodeAttribItr itr(*copy); itr; ++itr)
        AddAttrib(itr.Current());
    RemoveAnnotations();
    for (BNodeAnnotationItr itr(*copy); itr; ++itr)
        AddAnnotation(itr.Current());
    RemoveChildren();
    while (const SP<BNode> child = copy->Child(0)) {
        copy->RemoveChild(child.Get());
        AddChild(child.Get(), -1);
    }
    IsMessageDispatcher(isMessageDispatcher);
}

// Fills this new node and makes the nodes below it, without a report.
void BNode::CopyTreeOf(const BNode& other)
{
    std::vector<std::pair<const BNode*, BNode*>> open{{&other, this}};
    while (!open.empty()) {
        const auto [source, copy] = open.back();
        open.pop_back();
        copy->m_object = source->m_object;
        if (source->m_beside)
            copy->m_beside = std::make_unique<Beside>(*source->m_beside);
        copy->m_text = source->m_text;
        copy->m_isActive = source->m_isActive;
        copy->m_isLocked = source->m_isLocked;
        copy->m_isMessageDispatcher = source->m_isMessageDispatcher;
        for (const SP<BNode>& child : source->m_children) {
            if (!child)
                continue;
            const SP<BNode> childCopy(new BNode);
            copy->Append(childCopy);
            open.emplace_back(child.Get(), childCopy.Get());
        }
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
        const platform::WideText segment(path, end);
        node = node->m_children.Find(segment.c_str());
        path = end + 1;
    }
    return nullptr;
}

BNode* BNode::Sister() const
{
    return m_parent != nullptr ? m_parent->m_children.Next(*this) : nullptr;
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

// The child has no parent.
void BNode::Append(const SP<BNode>& child)
{
    m_children.Append(child);
    child->m_parent = this;
}

// They have no parent any more, and die with the list that is returned.
ChildList BNode::TakeChildren()
{
    for (const SP<BNode>& child : m_children) {
        if (child)
            child->m_parent = nullptr;
    }
    return std::move(m_children);
}

void BNode::Report(unsigned int code) const
{
    SendMsg(code, AsParameter(this), 0);
}

void BNode::ReportLists()
{
    ++m_beside->changes;
    Report(kMessageNodeAttributesChanged);
}

void BNode::SendMsg(unsigned int code, std::uint64_t first, std::uint64_t second) const
{
    if (BDispatcher::Instance() && IsMessageDispatcher())
        BDispatcher::DispatcherSend(code, first, second);
}
