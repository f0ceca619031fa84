#include "core/platform/Apart.h"
#include "core/platform/Thread.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeBeside.h"

#include <memory>
#include <new>
#include <utility>

// How a node that dies lets go of what it holds.
//
// Its children die with it, theirs with them, and so on. If each did so from inside its parent's
// destructor, a tree of a million nodes in one line would exhaust the stack. So only some
// destructors run inside one another: what a node below these holds is put aside, and the outermost
// destructor lets go of it in a loop. Putting aside from the first level on would cost each node an
// allocation, and nearly all trees are flatter than the limit.

namespace {

constexpr int kDeepest = 64; // destructors of nodes that may run inside one another

} // namespace

// What a destroyed node held, let go of from the end to the beginning.
struct BNode::Released {
    explicit Released(BNode& node) noexcept
        : object(std::move(node.m_object))
        , attributes(std::move(node.m_attributes))
        , annotations(node.Annotated())
        , children(node.TakeChildren())
    {
        node.m_annotations = nullptr;
    }

    SP<BSmartObj> object;
    AttributeList attributes;
    std::unique_ptr<Annotations> annotations;
    ChildList children;
    std::unique_ptr<Released> next;
};

// The destructors of nodes that run inside one another on a thread. It stands on the stack of the
// outermost, so that nothing has to be freed when the thread ends.
struct BNode::Releasing {
    QD_QUICK_THREAD_LOCAL static thread_local Releasing* current; // null when no destructor runs

    int depth = 0;
    std::unique_ptr<Released> aside; // the last that was put aside comes first

    // Of a node without children and annotations, as most are.
    void LetGoOfLeaf(BNode& node) noexcept
    {
        ++depth;
        {
            const SP<BSmartObj> object = std::move(node.m_object);
            const AttributeList attributes = std::move(node.m_attributes);
        }
        --depth;
    }
    QD_APART void LetGo(BNode& node) noexcept
    {
        if (depth >= kDeepest && PutAside(node))
            return;
        ++depth;
        {
            const Released dying(node);
        }
        --depth;
    }
    static void LetGoAsOutermost(BNode& node) noexcept;
    // Without memory it goes deeper, which mostly ends well.
    bool PutAside(BNode& node) noexcept
    {
        std::unique_ptr<Released> put(new (std::nothrow) Released(node));
        if (!put)
            return false;
        put->next = std::move(aside);
        aside = std::move(put);
        return true;
    }
    void LetGoOfTheRest() noexcept
    {
        while (aside) {
            const std::unique_ptr<Released> dying = std::move(aside);
            aside = std::move(dying->next);
        }
    }
};

// Said here as well, or the compiler forgets it and calls for the variable.
QD_QUICK_THREAD_LOCAL thread_local BNode::Releasing* BNode::Releasing::current = nullptr;

QD_APART void BNode::Releasing::LetGoAsOutermost(BNode& node) noexcept
{
    Releasing own;
    current = &own;
    own.LetGo(node);
    own.LetGoOfTheRest();
    current = nullptr;
}

BNode::~BNode()
{
    const bool isLeaf = m_children.IsEmpty() && Annotated() == nullptr;
    if (isLeaf && m_attributes.IsNull() && !m_object)
        return;
    Releasing* const outer = Releasing::current;
    if (outer == nullptr)
        Releasing::LetGoAsOutermost(*this);
    else if (isLeaf && outer->depth < kDeepest)
        outer->LetGoOfLeaf(*this);
    else
        outer->LetGo(*this);
}

// They have no parent any more, and die with the list that is returned.
ChildList BNode::TakeChildren()
{
    if (!m_children.IsEmpty())
        m_children.MakeOrphans();
    return std::move(m_children);
}
