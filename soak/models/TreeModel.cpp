// Nodes that are made, moved between trees, copied, renamed and let go of, while iterators stand on
// some of them. Each operation tells what it should report, and who is to die is counted.

#include "core/operation/Messages.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeItr.h"
#include "core/tree/BVisitor.h"

#include "soak/models/Model.h"
#include "tests/operation/RecordingDispatcher.h"
#include "tests/tree/TreeTestObjects.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace {

constexpr std::size_t kMostNodes = 1500;

class Sized final : public BSmartObj {
public:
    explicit Sized(std::uint64_t size)
        : m_size(size)
    {}
    std::uint64_t AllocatedMemory() const override { return m_size; }

private:
    std::uint64_t m_size;
};

/// A node of the twin. It knows the one of the library.
struct Node {
    BNode* ours = nullptr;
    bool isCounted = false; // of the class `CountedNode`
    int held = 0;           // by the world
    Node* parent = nullptr;
    std::vector<Node*> children{};
    WString text{};
    SP<BSmartObj> object{};
    std::vector<SP<NumberAttribute>> attributes{};
    std::vector<SP<BSmartObj>> annotations{};
    bool isActive = true;
    bool isLocked = false;
    bool reports = true;
};

Node* Root(Node* node)
{
    while (node->parent != nullptr)
        node = node->parent;
    return node;
}

bool IsAbove(const Node* upper, const Node* node)
{
    while (node != nullptr && node != upper)
        node = node->parent;
    return node != nullptr;
}

Node* Sister(const Node& node)
{
    if (node.parent == nullptr)
        return nullptr;
    const auto& children = node.parent->children;
    const auto next = std::ranges::find(children, &node) + 1;
    return next != children.end() ? *next : nullptr;
}

Node* Child(const Node& node, const WString& text)
{
    const auto found =
        std::ranges::find_if(node.children, [&](Node* child) { return child->text.IEqual(text); });
    return found != node.children.end() ? *found : nullptr;
}

std::size_t SizeBelow(const Node& node)
{
    std::size_t size = 1;
    for (const Node* child : node.children)
        size += SizeBelow(*child);
    return size;
}

std::uint64_t MemoryBelow(const Node& node, bool activeOnly)
{
    std::uint64_t sum = node.object ? node.object->AllocatedMemory() : 0;
    for (const Node* child : node.children)
        if (child->isActive || !activeOnly)
            sum += MemoryBelow(*child, activeOnly);
    return sum;
}

WString SomeText(std::uint32_t number)
{
    const WChar* const texts[] = {QD_W("a"),      QD_W("b"),      QD_W("A"),   QD_W(""),
                                  QD_W("\u00E4"), QD_W("\u00C4"), QD_W("ss"),  QD_W("\u00DF"),
                                  QD_W("x 1"),    QD_W("p/q"),    QD_W("001"), QD_W("a002")};
    if (number % 2 == 0)
        return texts[number / 2 % 12];
    WString text;
    text.Printf(QD_W("n%03d"), static_cast<int>(number / 2 % 400));
    return text;
}

/// What a visitor is called with, and by which member.
using Visits = std::vector<std::pair<char, const void*>>;

/// Says of each third node and object that it has changed it.
class Recorder final : public BVisitor {
public:
    bool TreatNode(BNode* node) override { return Noted('n', node); }
    bool Treat(BSmartObj* object) override { return Noted('o', object); }
    void TreatAnnotation(SP<BSmartObj> annotation, SP<const BSmartObj> owner) override
    {
        Noted('x', annotation.Get());
        Noted('w', owner.Get());
    }
    void PushPath(BNode* node) override { Noted('(', node); }
    void PopPath() override { Noted(')', nullptr); }
    void PushAttrib(BAttribute* attribute) override { Noted('[', attribute); }
    void PopAttrib(BAttribute* attribute) override { Noted(']', attribute); }

    bool Noted(char member, const void* object)
    {
        visits.emplace_back(member, object);
        return visits.size() % 3 == 0;
    }

    Visits visits;
};

struct World {
    using Message = RecordingDispatcher::Message;

    /// An iterator over a subtree, and where its twin stands.
    struct Walk {
        BNodeItr ours;
        Node* start;
        Node* current;
        bool activeOnly;
    };
    struct ChildWalk {
        BNodeChildItr ours;
        Node* node;
        Node* current;
    };
    struct AttributeWalk {
        BNodeAttribItr ours;
        Node* node;
        SP<NumberAttribute> current;
    };
    struct AnnotationWalk {
        BNodeAnnotationItr ours;
        Node* node;
        SP<BSmartObj> current;
    };

    RecordingDispatcher dispatcher;
    std::vector<Message> expected;
    std::vector<std::unique_ptr<Node>> nodes; // all that live
    std::vector<SP<BNode>> held;              // to some of them, perhaps several to one
    std::vector<SP<BSmartObj>> objects;
    std::vector<SP<NumberAttribute>> attributes;
    std::optional<Walk> walk;
    std::optional<ChildWalk> childWalk;
    std::optional<AttributeWalk> attributeWalk;
    std::optional<AnnotationWalk> annotationWalk;

    World()
    {
        for (std::uint64_t size = 1; size <= 60; ++size)
            objects.emplace_back(new Sized(size));
        for (const WChar* name : {QD_W("a"), QD_W("A"), QD_W("b"), QD_W("\u00DF"), QD_W("")})
            for (int value = 0; value < 2; ++value)
                attributes.emplace_back(new NumberAttribute(name, value));
        New(0);
    }

    // The twin

    /// Any node, or often one of the oldest or the parent of any, as these are wide.
    Node& operator[](std::uint32_t number)
    {
        Node& any = *nodes[number / 4 % nodes.size()];
        if (number % 4 == 0)
            return *nodes[number / 4 % (std::min)(nodes.size(), std::size_t{3})];
        return number % 4 == 1 && any.parent != nullptr ? *any.parent : any;
    }
    Node* TwinOf(const BNode* node) const
    {
        const auto found =
            std::ranges::find_if(nodes, [node](const auto& twin) { return twin->ours == node; });
        return found != nodes.end() ? found->get() : nullptr;
    }
    SP<BSmartObj> SomeObject(std::uint32_t number)
    {
        return number % 16 == 15 ? SP<BSmartObj>() : objects[number / 16 % objects.size()];
    }
    SP<NumberAttribute> SomeAttribute(std::uint32_t number)
    {
        return attributes[number % attributes.size()];
    }

    Node& New(std::uint32_t kind)
    {
        const SP<BNode> made = kind % 2 == 0 ? new BNode : new CountedNode;
        held.push_back(made);
        nodes.push_back(std::make_unique<Node>(Node{made.Get(), kind % 2 != 0, 1}));
        return *nodes.back();
    }
    void Unhold(Node* node)
    {
        if (node != nullptr && --node->held == 0 && node->parent == nullptr)
            Die(node);
    }
    void Die(Node* node)
    {
        for (Node* child : node->children)
            Orphan(child);
        std::erase_if(nodes, [node](const auto& other) { return other.get() == node; });
    }
    void Orphan(Node* child)
    {
        child->parent = nullptr;
        if (child->held == 0)
            Die(child);
    }

    void Report(Node& node, unsigned int code)
    {
        Report(node, {code, reinterpret_cast<std::uintptr_t>(node.ours), 0});
    }
    void Report(Node& node, Message message)
    {
        if (Root(&node)->reports)
            expected.push_back(message);
    }

    void SetObject(Node& node, const SP<BSmartObj>& object)
    {
        if (node.object == object)
            return;
        node.object = object;
        Report(node, kMessageNodeObjectChanged);
    }
    void SetFlag(Node& node, bool& flag, bool on, unsigned int code)
    {
        if (std::exchange(flag, on) != on)
            Report(node, code);
    }
    bool AddAttribute(Node& node, const SP<NumberAttribute>& added)
    {
        const auto namesake = std::ranges::find_if(
            node.attributes, [&](const auto& other) { return other->m_name == added->m_name; });
        if (namesake != node.attributes.end() && *namesake == added)
            return false;
        if (namesake != node.attributes.end())
            node.attributes.erase(namesake);
        node.attributes.push_back(added);
        Report(node, kMessageNodeAttributesChanged);
        return true;
    }
    bool AddAnnotation(Node& node, const SP<BSmartObj>& added)
    {
        if (!added || std::ranges::count(node.annotations, added) != 0)
            return false;
        node.annotations.push_back(added);
        Report(node, kMessageNodeAttributesChanged);
        return true;
    }
    /// Of attributes or annotations.
    template <class List>
    void RemoveAll(Node& node, List& list)
    {
        if (!list.empty()) {
            list.clear();
            Report(node, kMessageNodeAttributesChanged);
        }
    }
    bool AddChild(Node& node, Node* child, int index)
    {
        const int count = static_cast<int>(node.children.size());
        if (child == nullptr || child->parent != nullptr || IsAbove(child, &node) ||
            (index > 0 && index < count))
            return false;
        const int place = index == 0 && count > 0 ? 1 : count;
        node.children.insert(node.children.begin() + place, child);
        child->parent = &node;
        Report(node, {kMessageNodeChildAdded, reinterpret_cast<std::uintptr_t>(child->ours),
                      static_cast<std::uint64_t>(place)});
        return true;
    }
    bool RemoveChild(Node& node, Node* child)
    {
        if (child == nullptr || child->parent != &node)
            return false;
        std::erase(node.children, child);
        Orphan(child);
        Report(node, kMessageNodeChildrenRemoved);
        return true;
    }
    void RemoveChildren(Node& node)
    {
        if (node.children.empty())
            return;
        for (Node* child : std::exchange(node.children, {}))
            Orphan(child);
        Report(node, kMessageNodeChildrenRemoved);
    }

    /// A tree as `Copy` makes it: plain nodes, which the library has not made yet.
    struct Draft {
        Node node;
        std::vector<Draft> children;
    };
    static Draft DraftOf(const Node& node)
    {
        Draft draft{node, {}};
        draft.node.isCounted = false;
        draft.node.held = 0;
        draft.node.children.clear();
        for (const Node* child : node.children)
            draft.children.push_back(DraftOf(*child));
        return draft;
    }
    /// The nodes of a draft, which are those below `ours`.
    Node* Made(const Draft& draft, BNode* ours)
    {
        nodes.push_back(std::make_unique<Node>(draft.node));
        Node* const made = nodes.back().get();
        made->ours = ours;
        made->parent = nullptr;
        Same("copied children", ours->ChildNum(), static_cast<int>(draft.children.size()));
        for (std::size_t i = 0; i < draft.children.size(); ++i) {
            made->children.push_back(Made(draft.children[i], ours->Child(static_cast<int>(i))));
            made->children.back()->parent = made;
        }
        return made;
    }
    void Copy(Node& node, const Node& other, bool byOperator)
    {
        byOperator ? void(*node.ours = *other.ours) : node.ours->Copy(*other.ours);
        if (&node == &other)
            return;
        const Draft draft = DraftOf(other);
        node.text = draft.node.text;
        Report(node, kMessageNodeTextChanged);
        SetFlag(node, node.isActive, draft.node.isActive, kMessageNodeActiveChanged);
        SetFlag(node, node.isLocked, draft.node.isLocked, kMessageNodeLockedChanged);
        SetObject(node, draft.node.object);
        RemoveAll(node, node.attributes);
        for (const auto& attribute : draft.node.attributes)
            AddAttribute(node, attribute);
        RemoveAll(node, node.annotations);
        for (const auto& annotation : draft.node.annotations)
            AddAnnotation(node, annotation);
        RemoveChildren(node);
        for (std::size_t i = 0; i < draft.children.size(); ++i)
            AddChild(node, Made(draft.children[i], node.ours->Child(static_cast<int>(i))), -1);
        if (node.parent == nullptr)
            node.reports = draft.node.reports;
    }

    /// Where an iterator goes from `node`.
    static Node* Walkable(Node* node, bool activeOnly)
    {
        while (node != nullptr && activeOnly && !node->isActive)
            node = Sister(*node);
        return node;
    }
    static Node* Next(const Walk& walk)
    {
        Node* const first = walk.current->children.empty() ? nullptr : walk.current->children[0];
        Node* next = Walkable(first, walk.activeOnly);
        for (Node* node = walk.current; next == nullptr && node != nullptr && node != walk.start;
             node = node->parent)
            next = Walkable(Sister(*node), walk.activeOnly);
        return next;
    }
    /// What follows `current` in a list; null when it is there no more.
    template <class Entry>
    static Entry Following(const std::vector<Entry>& list, const Entry& current)
    {
        const auto found = std::ranges::find(list, current);
        return found == list.end() || found + 1 == list.end() ? Entry() : found[1];
    }
    /// Lets a node go and holds another: first what is held anew.
    void Hold(Node*& place, Node* node)
    {
        if (node != nullptr)
            ++node->held;
        Unhold(std::exchange(place, node));
    }

    // What a visitor sees

    void Visit(Node& node, bool inactiveToo, Recorder& twin)
    {
        if (!node.isActive && !inactiveToo)
            return;
        twin.PushPath(node.ours);
        for (const auto& attribute : node.attributes)
            twin.PushAttrib(attribute.Get());
        if (twin.TreatNode(node.ours))
            Report(node, kMessageNodeVisitorChanged);
        if (twin.Treat(node.object.Get()))
            Report(node, kMessageNodeVisitorChanged);
        for (const auto& annotation : node.annotations)
            twin.TreatAnnotation(annotation,
                                 node.object ? SP<const BSmartObj>(node.object) : node.ours);
        for (Node* child : node.children)
            Visit(*child, inactiveToo, twin);
        for (auto attribute = node.attributes.rbegin(); attribute != node.attributes.rend();
             ++attribute)
            twin.PopAttrib(attribute->Get());
        twin.PopPath();
    }
    void VisitObjects(Node& node, bool inactiveToo, Recorder& twin)
    {
        if (!node.isActive && !inactiveToo)
            return;
        if (twin.Treat(node.object.Get()))
            Report(node, kMessageNodeVisitorChanged);
        for (Node* child : node.children)
            VisitObjects(*child, inactiveToo, twin);
    }

    // Comparison

    void CompareNode(const Node& node) const
    {
        BNode& ours = *node.ours;
        const auto asOurs = [](const Node* twin) { return twin != nullptr ? twin->ours : nullptr; };
        Same("text", ours.GetText().AsView() == node.text.AsView(), true);
        Same("parent", ours.Parent() == asOurs(node.parent), true);
        Same("sister", ours.Sister() == asOurs(Sister(node)), true);
        Same("object", ours.GetObj() == node.object.Get(), true);
        Same("active", ours.IsActive(), node.isActive);
        Same("locked", ours.IsLocked(), node.isLocked);
        Same("children", ours.ChildNum(), static_cast<int>(node.children.size()));
        for (int i = 0; i < ours.ChildNum(); ++i)
            Same("child", ours.Child(i) == node.children[static_cast<std::size_t>(i)]->ours, true);
        Same("attributes", ours.AttribNum(), static_cast<int>(node.attributes.size()));
        for (int i = 0; i < ours.AttribNum(); ++i)
            Same("attribute", ours.Attrib(i) == node.attributes[static_cast<std::size_t>(i)].Get(),
                 true);
        Same("annotations", ours.AnnotationNum(), static_cast<int>(node.annotations.size()));
        std::size_t place = 0;
        for (BNodeAnnotationItr itr(ours); itr; ++itr)
            Same("annotation", itr.Current() == node.annotations[place++].Get(), true);
    }
    void Compare(bool whole)
    {
        Same("messages", dispatcher.Sent() == std::exchange(expected, {}), true);
        const auto counted =
            std::ranges::count_if(nodes, [](const auto& n) { return n->isCounted; });
        Same("alive", static_cast<std::ptrdiff_t>(CountedNode::alive), counted);
        if (walk)
            Same("walk", walk->ours.Current() == (walk->current ? walk->current->ours : nullptr),
                 true);
        if (childWalk)
            Same("child walk",
                 childWalk->ours.Current() ==
                     (childWalk->current ? childWalk->current->ours : nullptr),
                 true);
        if (attributeWalk)
            Same("attribute walk", attributeWalk->ours.Current() == attributeWalk->current.Get(),
                 true);
        if (annotationWalk)
            Same("annotation walk", annotationWalk->ours.Current() == annotationWalk->current.Get(),
                 true);
        for (std::size_t i = 0; whole && i < nodes.size(); ++i)
            CompareNode(*nodes[i]);
    }
};

// --- making, holding, joining
// ---------------------------------------------------------------------

void Make(World& world, const Step& step)
{
    if (world.nodes.size() < kMostNodes)
        world.New(step.a);
}

/// Several children at once, so that there are wide nodes; or below one another, for deep ones.
void MakeMany(World& world, const Step& step)
{
    Node* node = &world[step.a];
    const bool isDeep = step.b % 8 == 0;
    for (std::uint32_t count = step.b / 8 % 100; count > 0 && world.nodes.size() < kMostNodes;
         --count) {
        Node& child = world.New(step.c);
        child.text = SomeText(step.c + (isDeep ? 0 : 2 * count));
        world.Report(child, kMessageNodeTextChanged);
        child.ours->SetText(child.text);
        Same("added", node->ours->AddChild(child.ours, -1), world.AddChild(*node, &child, -1));
        world.held.pop_back();
        world.Unhold(&child);
        node = isDeep ? &child : node;
    }
}

void LetGo(World& world, const Step& step)
{
    if (world.held.size() < 2)
        return;
    const auto place = world.held.begin() + static_cast<std::ptrdiff_t>(step.a % world.held.size());
    Node* const node = world.TwinOf(place->Get());
    world.held.erase(place);
    world.Unhold(node);
    if (world.nodes.empty())
        world.New(0);
}

void AddChild(World& world, const Step& step)
{
    Node& node = world[step.a];
    Node* const child = step.b % 32 == 31 ? nullptr : &world[step.b];
    const int count = node.ours->ChildNum();
    const int index = static_cast<int>(step.c % static_cast<std::uint32_t>(count + 4)) - 1;
    const bool isAdded = node.ours->AddChild(child != nullptr ? child->ours : nullptr, index);
    Same("added", isAdded, world.AddChild(node, child, index));
}

void RemoveChild(World& world, const Step& step)
{
    Node& node = world[step.a];
    const int count = node.ours->ChildNum();
    if (step.b % 2 == 0) {
        const int index = static_cast<int>(step.c % static_cast<std::uint32_t>(count + 2)) - 1;
        const bool isThere = index >= 0 && index < count;
        Node* const child = isThere ? node.children[static_cast<std::size_t>(index)] : nullptr;
        if (world.held.size() < 200 && child != nullptr) { // it is to live on
            world.held.emplace_back(child->ours);
            ++child->held;
        }
        Same("removed", node.ours->RemoveChild(index), isThere);
        world.RemoveChild(node, child);
        return;
    }
    // One of its own, often.
    Node* const child = count > 0 && step.b % 8 != 7
                            ? node.children[step.c % static_cast<std::uint32_t>(count)]
                            : &world[step.c];
    Same("removed", node.ours->RemoveChild(child->ours), child->parent == &node);
    world.RemoveChild(node, child);
}

void RemoveChildren(World& world, const Step& step)
{
    Node& node = world[step.a];
    node.ours->RemoveChildren();
    world.RemoveChildren(node);
}

void Clear(World& world, const Step& step)
{
    Node& node = world[step.a];
    node.ours->Clear();
    world.RemoveAll(node, node.attributes);
    world.RemoveAll(node, node.annotations);
    world.RemoveChildren(node);
    world.SetObject(node, nullptr);
}

void Copy(World& world, const Step& step)
{
    Node& node = world[step.a];
    const Node& other = world[step.b];
    if (world.nodes.size() + SizeBelow(other) <= kMostNodes)
        world.Copy(node, other, step.c % 2 == 0);
}

// --- the node itself
// ------------------------------------------------------------------------------

void SetText(World& world, const Step& step)
{
    Node& node = world[step.a];
    node.text = SomeText(step.b);
    step.c % 2 == 0 ? node.ours->SetText(node.text) : node.ours->SetText(node.text.CStr());
    world.Report(node, kMessageNodeTextChanged);
}

void SetFlags(World& world, const Step& step)
{
    Node& node = world[step.a];
    const bool on = step.b % 2 == 0;
    if (step.c % 4 == 0) {
        node.ours->Lock(on);
        world.SetFlag(node, node.isLocked, on, kMessageNodeLockedChanged);
    } else if (step.c % 4 == 1) {
        node.ours->IsMessageDispatcher(on);
        if (node.parent == nullptr)
            node.reports = on;
    } else {
        on ? node.ours->Activate(true) : node.ours->Deactivate();
        world.SetFlag(node, node.isActive, on, kMessageNodeActiveChanged);
    }
}

void SetObject(World& world, const Step& step)
{
    Node& node = world[step.a];
    const SP<BSmartObj> object = world.SomeObject(step.b);
    node.ours->SetObj(object.Get());
    world.SetObject(node, object);
}

void AddAttribute(World& world, const Step& step)
{
    Node& node = world[step.a];
    const auto attribute = world.SomeAttribute(step.b);
    const bool isAdded = node.ours->AddAttrib(attribute.Get());
    Same("added", isAdded, world.AddAttribute(node, attribute));
    Same("null added", node.ours->AddAttrib(nullptr), false);
}

void RemoveAttribute(World& world, const Step& step)
{
    Node& node = world[step.a];
    const auto attribute = world.SomeAttribute(step.b);
    if (step.c % 8 == 0) {
        node.ours->RemoveAttribs();
        world.RemoveAll(node, node.attributes);
        return;
    }
    const int index = static_cast<int>(step.b % (node.attributes.size() + 2)) - 1;
    const auto isIt = [&](const SP<NumberAttribute>& other) {
        switch (step.c % 4) {
        case 0: return other == attribute;
        case 1:
            return index >= 0 && index < static_cast<int>(node.attributes.size()) &&
                   other == node.attributes[static_cast<std::size_t>(index)];
        default: return other->m_name == attribute->m_name;
        }
    };
    const auto found = std::ranges::find_if(node.attributes, isIt);
    BAttribute* const expected = found != node.attributes.end() ? found->Get() : nullptr;
    const WString& name = attribute->m_name;
    bool isRemoved = false;
    switch (step.c % 4) {
    case 0: isRemoved = node.ours->RemoveAttrib(attribute.Get()); break;
    case 1:
        Same("attribute", node.ours->Attrib(index) == expected, true);
        isRemoved = node.ours->RemoveAttrib(index);
        break;
    case 2:
        Same("attribute", node.ours->Attrib(name) == expected, true);
        isRemoved = node.ours->RemoveAttrib(name);
        break;
    default:
        Same("attribute", node.ours->Attrib(name.CStr()) == expected, true);
        isRemoved = node.ours->RemoveAttrib(name.CStr());
    }
    Same("removed", isRemoved, expected != nullptr);
    if (expected != nullptr) {
        node.attributes.erase(found);
        world.Report(node, kMessageNodeAttributesChanged);
    }
}

void Annotate(World& world, const Step& step)
{
    Node& node = world[step.a % 2 == 0 ? 0 : step.a]; // often the same, that it has many
    const SP<BSmartObj> object = world.SomeObject(step.b);
    if (step.c % 64 == 0) {
        node.ours->RemoveAnnotations();
        world.RemoveAll(node, node.annotations);
    } else if (step.c % 4 != 3) {
        for (std::uint32_t i = 0; i <= step.c / 4 % 8; ++i) { // many are looked up by an index
            const SP<BSmartObj> added = world.SomeObject(step.b + 16 * i);
            const bool isAdded = node.ours->AddAnnotation(added.Get());
            Same("added", isAdded, world.AddAnnotation(node, added));
        }
    } else {
        const bool isRemoved = std::erase(node.annotations, object) != 0;
        Same("removed", node.ours->RemoveAnnotation(object.Get()), isRemoved);
        if (isRemoved)
            world.Report(node, kMessageNodeAttributesChanged);
    }
}

// --- looking
// --------------------------------------------------------------------------------------

void FindByPath(World& world, const Step& step)
{
    Node& node = world[step.a];
    WString path = step.b % 4 == 0 ? QD_W("//") : nullptr;
    Node* found = &node;
    std::uint32_t number = step.c;
    for (std::uint32_t names = step.b / 4 % 3 + 1; names > 0; --names, number /= 16) {
        // A name that is there, often.
        const WString name = found != nullptr && !found->children.empty() && number % 4 != 3
                                 ? found->children[number / 4 % found->children.size()]->text
                                 : SomeText(number);
        const bool isFirst = found == &node && path.Sub(2).IsEmpty();
        if (name.Includes(QD_W('/')) || (name.IsEmpty() && (isFirst || names > 1)))
            return; // a separator in a name separates; those in front are skipped
        path += name;
        if (names > 1)
            path += QD_W('/');
        found = found != nullptr ? Child(*found, name) : nullptr;
    }
    BNode* const expected = found != nullptr ? found->ours : nullptr;
    Same("child", node.ours->Child(path.CStr()) == expected, true);
    Same("QueryChild", node.ours->QueryChild(path) == expected, true);
    if (step.b % 16 == 1) {
        Same("removed", node.ours->RemoveChild(path.CStr()),
             found != nullptr && found->parent == &node);
        world.RemoveChild(node, found);
    }
}

void Suggest(World& world, const Step& step)
{
    const Node& node = world[step.a];
    const WString base = SomeText(step.b);
    const WString suggestion = node.ours->ChildTextSuggestion(base);
    WString expected;
    for (std::size_t number = node.children.size() + 1;; ++number) {
        expected.Printf(QD_W("%s%03d"), base.CStr(), static_cast<int>(number));
        if (Child(node, expected) == nullptr)
            break;
    }
    Same("suggestion", suggestion.AsView() == expected.AsView(), true);
}

void Ask(World& world, const Step& step)
{
    Node& node = world[step.a];
    Node& other = world[step.b];
    bool isBranchActive = true;
    for (const Node* above = &node; above != nullptr; above = above->parent)
        isBranchActive = isBranchActive && above->isActive;
    Same("IsBranchActive", node.ours->IsBranchActive(), isBranchActive);
    Same("Root", node.ours->Root() == Root(&node)->ours, true);
    Same("Includes", node.ours->Includes(other.ours), IsAbove(&node, &other));
    Same("IsGrandParent", node.ours->IsGrandParent(other.ours),
         &node != &other && IsAbove(&node, &other));
    Same("IsMessageDispatcher", node.ours->IsMessageDispatcher(), Root(&node)->reports);
    Same("AllocatedMemory", node.ours->AllocatedMemory(step.c % 2 == 0),
         MemoryBelow(node, step.c % 2 == 0));
}

void Traverse(World& world, const Step& step)
{
    Node& node = world[step.a];
    const SP<Recorder> visitor = new Recorder;
    const SP<Recorder> twin = new Recorder;
    const bool inactiveToo = step.b % 2 == 0;
    visitor->VisitInactiveNodes(inactiveToo);
    if (step.c % 2 == 0) {
        node.ours->Traverse(visitor.Get());
        world.Visit(node, inactiveToo, *twin);
    } else {
        node.ours->TraverseObjects(visitor.Get());
        world.VisitObjects(node, inactiveToo, *twin);
    }
    Same("visits", visitor->visits == twin->visits, true);
}

// --- iterators
// ------------------------------------------------------------------------------------

void BeginWalk(World& world, const Step& step)
{
    const bool activeOnly = step.b % 2 == 0;
    if (world.walk) {
        const auto [start, current] = std::pair(world.walk->start, world.walk->current);
        world.walk.reset();
        world.Unhold(start);
        world.Unhold(current);
    }
    if (world.nodes.empty())
        world.New(0);
    Node& node = world[step.a];
    world.walk.emplace(
        World::Walk{BNodeItr(node.ours, activeOnly ? BNodeItr::ActiveOnly : BNodeItr::All), nullptr,
                    nullptr, activeOnly});
    world.Hold(world.walk->start, &node);
    world.Hold(world.walk->current, &node);
}

void StepWalk(World& world, const Step& step)
{
    if (!world.walk)
        return;
    World::Walk& walk = *world.walk;
    if (step.a % 16 == 0) {
        walk.ours.Restart();
        world.Hold(walk.current, walk.start);
        return;
    }
    for (std::uint32_t count = step.a % 4 + 1; count > 0; --count) {
        step.b % 2 == 0 ? void(++walk.ours) : void(walk.ours++);
        if (walk.current != nullptr)
            world.Hold(walk.current, World::Next(walk));
    }
}

void BeginChildWalk(World& world, const Step& step)
{
    if (world.childWalk) {
        const auto [node, current] = std::pair(world.childWalk->node, world.childWalk->current);
        world.childWalk.reset();
        world.Unhold(node);
        world.Unhold(current);
    }
    if (world.nodes.empty())
        world.New(0);
    Node& node = world[step.a];
    world.childWalk.emplace(World::ChildWalk{BNodeChildItr(*node.ours), nullptr, nullptr});
    world.Hold(world.childWalk->node, &node);
    world.Hold(world.childWalk->current, node.children.empty() ? nullptr : node.children[0]);
}

void StepChildWalk(World& world, const Step& step)
{
    if (!world.childWalk)
        return;
    World::ChildWalk& walk = *world.childWalk;
    Node* const former = walk.current;
    Node* const next = former != nullptr && former->parent == walk.node ? Sister(*former) : nullptr;
    if (step.a % 4 == 0) {
        walk.ours.RemoveCurrent();
        if (next != nullptr)
            ++next->held;
        walk.current = next;
        world.RemoveChild(*walk.node, former);
        world.Unhold(former);
        return;
    }
    step.b % 2 == 0 ? void(++walk.ours) : void(walk.ours++);
    world.Hold(walk.current, next);
}

/// Of attributes or annotations; `beginning` makes a new one for a node.
template <class Walk, class List, class Remove>
void StepOrBegin(World& world, const Step& step, std::optional<Walk>& walk, List list,
                 Remove removeFromTwin)
{
    if (!walk || step.c % 8 == 0) {
        Node* const former = walk ? walk->node : nullptr;
        walk.reset();
        world.Unhold(former);
        if (world.nodes.empty())
            world.New(0);
        Node& node = world[step.a];
        walk.emplace(Walk{decltype(Walk::ours)(*node.ours), nullptr, {}});
        world.Hold(walk->node, &node);
        if (!list(node).empty())
            walk->current = list(node)[0];
        return;
    }
    const auto former = walk->current;
    walk->current = former ? World::Following(list(*walk->node), former) : decltype(former)();
    if (step.b % 4 != 0) {
        ++walk->ours;
        return;
    }
    walk->ours.RemoveCurrent();
    if (former && std::erase(list(*walk->node), former) != 0)
        removeFromTwin(*walk->node);
}

void WalkAttributes(World& world, const Step& step)
{
    StepOrBegin(
        world, step, world.attributeWalk, [](Node & node) -> auto& { return node.attributes; },
        [&](Node& node) { world.Report(node, kMessageNodeAttributesChanged); });
}

void WalkAnnotations(World& world, const Step& step)
{
    StepOrBegin(
        world, step, world.annotationWalk, [](Node & node) -> auto& { return node.annotations; },
        [&](Node& node) { world.Report(node, kMessageNodeAttributesChanged); });
}

const Operation<World> kTable[] = {
    {"new node", 12, &Make},
    {"many nodes", 1, &MakeMany},
    {"let go of a node", 4, &LetGo},
    {"AddChild", 24, &AddChild},
    {"RemoveChild", 12, &RemoveChild},
    {"RemoveChildren", 1, &RemoveChildren},
    {"Clear", 1, &Clear},
    {"Copy", 2, &Copy},
    {"SetText", 12, &SetText},
    {"Activate, Lock, IsMessageDispatcher", 6, &SetFlags},
    {"SetObj", 4, &SetObject},
    {"AddAttrib", 6, &AddAttribute},
    {"Attrib, RemoveAttrib", 6, &RemoveAttribute},
    {"annotations", 8, &Annotate},
    {"Child", 8, &FindByPath},
    {"ChildTextSuggestion", 2, &Suggest},
    {"Root, Includes, AllocatedMemory", 4, &Ask},
    {"Traverse", 1, &Traverse},
    {"BNodeItr", 1, &BeginWalk},
    {"BNodeItr ++", 6, &StepWalk},
    {"BNodeChildItr", 1, &BeginChildWalk},
    {"BNodeChildItr ++", 4, &StepChildWalk},
    {"BNodeAttribItr", 4, &WalkAttributes},
    {"BNodeAnnotationItr", 4, &WalkAnnotations},
};

} // namespace

Subject TreeModel()
{
    return MakeSubject("tree", kTable);
}
