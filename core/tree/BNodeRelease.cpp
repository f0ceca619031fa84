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

    void LetGo(BNode& node) noexcept
    {
        if (depth >= kDeepest && PutAside(node))
            return;
        ++depth;
        if (node.m_children.IsEmpty() && node.Annotated() == nullptr) { // as most nodes are
            const SP<BSmartObj> object = std::move(node.m_object);
            const AttributeList attributes = std::move(node.m_attributes);
        } else {
            const Released dying(node);
        }
        --depth;
    }
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

BNode::~BNode()
{
    if (m_children.IsEmpty() && m_attributes.IsNull() && Annotated() == nullptr && !m_object)
        return; // as most nodes are
    if (Releasing::current != nullptr) {
        Releasing::current->LetGo(*this);
        return;
    }
    Releasing own;
    Releasing::current = &own;
    own.LetGo(*this);
    own.LetGoOfTheRest();
    Releasing::current = nullptr;
}

// They have no parent any more, and die with the list that is returned.
ChildList BNode::TakeChildren()
{
    if (!m_children.IsEmpty())
        m_children.MakeOrphans();
    return std::move(m_children);
}
