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

// What a destroyed node held.
struct BNode::Released {
    SP<BSmartObj> object;
    ChildList children;
    std::unique_ptr<Beside> beside;
    std::unique_ptr<Released> next;
};

// The destructors of nodes that run inside one another on a thread. It stands on the stack of the
// outermost, so that nothing has to be freed when the thread ends.
struct BNode::Releasing {
    static thread_local Releasing* current; // null when no destructor runs

    int depth = 0;
    std::unique_ptr<Released> aside; // the last that was put aside comes first

    void LetGo() noexcept
    {
        while (aside) {
            const std::unique_ptr<Released> dying = std::move(aside);
            aside = std::move(dying->next);
        }
    }
};

thread_local BNode::Releasing* BNode::Releasing::current = nullptr;

BNode::~BNode()
{
    ChildList children = TakeChildren();
    Releasing own;
    const bool isOutermost = Releasing::current == nullptr;
    if (isOutermost)
        Releasing::current = &own;
    Releasing& releasing = *Releasing::current;
    if (releasing.depth >= kDeepest) {
        std::unique_ptr<Released> released(new (std::nothrow) Released);
        if (released) { // without memory it goes deeper, which mostly ends well
            released->object = std::move(m_object);
            released->children = std::move(children);
            released->beside = std::move(m_beside);
            released->next = std::move(releasing.aside);
            releasing.aside = std::move(released);
            return;
        }
    }
    ++releasing.depth;
    children = ChildList();
    m_beside = nullptr;
    m_object = nullptr;
    if (isOutermost) {
        releasing.LetGo();
        Releasing::current = nullptr;
    }
    --releasing.depth;
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
