#include "core/tree/Traversal.h"

#include "core/operation/BDispatcher.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeItr.h"
#include "core/tree/BVisitor.h"

#include <cstdint>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {

constexpr unsigned int kVisitorChanged = 3080;

// A node on the way, with what was there when it was entered: a visitor may change the node.
struct Visit {
    SP<BNode> node;
    std::vector<SP<BAttribute>> pushed;
    std::vector<SP<BNode>> children;
    std::size_t nextChild = 0;
};

bool IsVisited(const BNode& node, const BVisitor& visitor)
{
    return visitor.VisitInactiveNodes() || node.IsActive();
}

void ReportChange(const BNode& node, bool changed)
{
    if (changed && node.IsMessageDispatcher())
        BDispatcher::DispatcherSend(kVisitorChanged, reinterpret_cast<std::uintptr_t>(&node), 0);
}

void TreatAnnotations(BNode& node, BVisitor& visitor)
{
    std::vector<SP<BSmartObj>> annotations;
    for (BNodeAnnotationItr itr(node); itr; ++itr)
        annotations.emplace_back(itr.Current());
    for (const SP<BSmartObj>& annotation : annotations) {
        const BSmartObj* object = node.GetObj();
        visitor.TreatAnnotation(annotation,
                                SP<const BSmartObj>(object != nullptr ? object : &node));
    }
}

Visit Enter(BNode& node, BVisitor& visitor)
{
    Visit visit{.node = SP<BNode>(&node), .pushed = {}, .children = {}};
    visitor.PushPath(&node);
    for (BNodeAttribItr itr(node); itr; ++itr)
        visit.pushed.emplace_back(itr.Current());
    for (const SP<BAttribute>& attribute : visit.pushed)
        visitor.PushAttrib(attribute.Get());
    ReportChange(node, visitor.TreatNode(&node));
    ReportChange(node, visitor.Treat(node.GetObj()));
    TreatAnnotations(node, visitor);
    return visit;
}

void Leave(const Visit& visit, BVisitor& visitor)
{
    for (auto attribute = visit.pushed.rbegin(); attribute != visit.pushed.rend(); ++attribute)
        visitor.PopAttrib(attribute->Get());
    visitor.PopPath();
}

Visit EnterObject(BNode& node, BVisitor& visitor)
{
    ReportChange(node, visitor.Treat(node.GetObj()));
    return Visit{.node = SP<BNode>(&node), .pushed = {}, .children = {}};
}

void LeaveObject(const Visit&, BVisitor&) {}

// The walk itself: `enter` and `leave` enclose what is below a node, `delegate` is called for a
// child that may have a traversal of its own.
template <typename EnterNode, typename LeaveNode, typename Delegate>
void Walk(BNode& start, BVisitor& visitor, EnterNode enter, LeaveNode leave, Delegate delegate)
{
    if (!IsVisited(start, visitor))
        return;
    std::vector<Visit> way;
    const auto goInto = [&](BNode& node) {
        Visit visit = enter(node, visitor);
        for (BNodeChildItr itr(node); itr; ++itr)
            visit.children.emplace_back(itr.Current());
        way.push_back(std::move(visit));
    };
    goInto(start);
    while (!way.empty()) {
        Visit& visit = way.back();
        if (visit.nextChild == visit.children.size()) {
            leave(visit, visitor);
            way.pop_back();
            continue;
        }
        const SP<BNode> held = visit.children[visit.nextChild++];
        BNode& child = *held;
        if (typeid(child) != typeid(BNode))
            delegate(child, visitor);
        else if (IsVisited(child, visitor))
            goInto(child);
    }
}

} // namespace

void TraverseTree(BNode& start, BVisitor& visitor)
{
    Walk(start, visitor, Enter, Leave, [](BNode& child, BVisitor& to) { child.Traverse(&to); });
}

void TraverseTreeObjects(BNode& start, BVisitor& visitor)
{
    Walk(start, visitor, EnterObject, LeaveObject,
         [](BNode& child, BVisitor& to) { child.TraverseObjects(&to); });
}
