#include "core/tree/Traversal.h"

#include "core/operation/BDispatcher.h"
#include "core/operation/Messages.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeItr.h"
#include "core/tree/BVisitor.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <typeinfo>
#include <utility>
#include <vector>

// A visitor sees each plain node from a loop with stacks of its own: recursion would let the depth
// of a tree decide how much of the thread's stack a visit takes. A child of a derived class is
// entered by its own `Traverse`, as the class may override it, and that starts a `Walk` anew.
//
// A visitor may change the node that it visits, so all that is still to come of a node is noted and
// counted when it is entered, and what was pushed is popped, whatever became of it since.

namespace {

enum class EVisited { Nodes, Objects };

// One call of `Traverse` or `TraverseObjects`.
class Walk {
public:
    Walk(BVisitor& visitor, EVisited visited)
        : m_visitor(visitor)
        , m_visited(visited)
    {}

    void Through(BNode& start);

private:
    // A node on the way, and how much the nodes above it have on the stacks.
    struct Visit {
        SP<BNode> node;
        std::size_t childrenAbove;
        std::size_t attributesAbove;
    };

    [[nodiscard]] bool IsVisited(const BNode& node) const;
    void Enter(SP<BNode> node);
    void TreatNode(BNode& node);
    void TreatObject(BNode& node);
    void TreatAnnotations(BNode& node);
    void Leave();

    BVisitor& m_visitor;
    EVisited m_visited;
    std::vector<Visit> m_way;
    std::vector<SP<BNode>> m_children; // to be visited, the next one last
    std::vector<SP<BAttribute>> m_attributes;
};

void Walk::Through(BNode& start)
{
    if (IsVisited(start))
        Enter(&start);
    while (!m_way.empty()) {
        assert(m_children.size() >= m_way.back().childrenAbove);
        if (m_children.size() == m_way.back().childrenAbove) {
            Leave();
            continue;
        }
        SP<BNode> child = std::move(m_children.back());
        m_children.pop_back();
        BNode& node = *child;
        if (typeid(node) == typeid(BNode)) {
            if (IsVisited(node))
                Enter(std::move(child));
        } else if (m_visited == EVisited::Nodes) {
            node.Traverse(&m_visitor);
        } else {
            node.TraverseObjects(&m_visitor);
        }
    }
}

bool Walk::IsVisited(const BNode& node) const
{
    return m_visitor.VisitInactiveNodes() || node.IsActive();
}

void Walk::Enter(SP<BNode> held)
{
    BNode& node = *held;
    m_way.push_back({std::move(held), m_children.size(), m_attributes.size()});
    if (m_visited == EVisited::Nodes)
        TreatNode(node);
    else
        TreatObject(node);
    if (node.ChildNum() == 0)
        return;
    const auto above = static_cast<std::ptrdiff_t>(m_children.size());
    for (BNodeChildItr itr(node); itr; ++itr)
        m_children.emplace_back(itr.Current());
    std::reverse(m_children.begin() + above, m_children.end()); // the first is taken first
}

void ReportChange(const BNode& node, bool changed)
{
    if (changed && BDispatcher::Instance() && node.IsMessageDispatcher())
        BDispatcher::DispatcherSend(kMessageNodeVisitorChanged,
                                    reinterpret_cast<std::uintptr_t>(&node), 0);
}

void Walk::TreatNode(BNode& node)
{
    m_visitor.PushPath(&node);
    if (node.AttribNum() != 0) {
        const std::size_t above = m_attributes.size();
        for (BNodeAttribItr itr(node); itr; ++itr)
            m_attributes.emplace_back(itr.Current());
        for (std::size_t i = above; i < m_attributes.size(); ++i)
            m_visitor.PushAttrib(m_attributes[i].Get());
    }
    ReportChange(node, m_visitor.TreatNode(&node));
    TreatObject(node);
    if (node.AnnotationNum() != 0)
        TreatAnnotations(node);
}

void Walk::TreatObject(BNode& node)
{
    const SP<BSmartObj> object = node.GetObj(); // the visitor may replace it
    ReportChange(node, m_visitor.Treat(object.Get()));
}

void Walk::TreatAnnotations(BNode& node)
{
    std::vector<SP<BSmartObj>> annotations;
    for (BNodeAnnotationItr itr(node); itr; ++itr)
        annotations.emplace_back(itr.Current());
    for (const SP<BSmartObj>& annotation : annotations) {
        const BSmartObj* object = node.GetObj(); // asked each time: the visitor may replace it
        m_visitor.TreatAnnotation(annotation,
                                  SP<const BSmartObj>(object != nullptr ? object : &node));
    }
}

void Walk::Leave()
{
    const Visit visit = std::move(m_way.back());
    m_way.pop_back();
    assert(m_attributes.size() >= visit.attributesAbove);
    if (m_visited == EVisited::Objects)
        return;
    while (m_attributes.size() > visit.attributesAbove) {
        const SP<BAttribute> attribute = std::move(m_attributes.back());
        m_attributes.pop_back();
        m_visitor.PopAttrib(attribute.Get());
    }
    m_visitor.PopPath();
}

} // namespace

void TraverseTree(BNode& start, BVisitor& visitor)
{
    Walk(visitor, EVisited::Nodes).Through(start);
}

void TraverseTreeObjects(BNode& start, BVisitor& visitor)
{
    Walk(visitor, EVisited::Objects).Through(start);
}
