#include "core/tree/BNodeItr.h"

#include "core/tree/NodeAccess.h"

// The iterators outlive changes of the tree: none keeps a place that a change could make void.
//
// Nodes and children need none, as a node knows its parent and its place there: the current node is
// counted, and the next one is asked of it when the step is taken. Attributes and annotations do
// not know where they stand. The iterator of the former keeps a number, at which it looks whether
// the current one still stands there; that of the latter keeps a place of their list, together with
// the number of changes that it had by then. Where that does not hold, the place is looked up anew.

namespace {

using Annotation = DList<SP<BSmartObj>>::Iterator;

// The entry at `place`, or the next that is not null.
SP<BSmartObj> EntryFrom(Annotation& place)
{
    while (place && !*place)
        ++place;
    return place ? *place : SP<BSmartObj>();
}

// Where `current` stands from `place` on; null when it is in the list no more.
Annotation PlaceOf(Annotation place, const SP<BSmartObj>& current)
{
    while (place && *place != current)
        ++place;
    return place;
}

} // namespace

BNodeItr::BNodeItr(BNode* start, EMode mode)
    : m_start(start)
    , m_current(start)
    , m_activeOnly(mode == ActiveOnly)
{}

void BNodeItr::Restart()
{
    m_current = m_start;
}

// `node` or the next sister that the walk does not skip.
BNode* BNodeItr::Walkable(BNode* node) const
{
    while (node != nullptr && m_activeOnly && !node->IsActive())
        node = node->Sister();
    return node;
}

BNodeItr& BNodeItr::operator++()
{
    if (!m_current)
        return *this;
    // Down if possible, else to a sister, else to a sister of the nearest node above that has one.
    BNode* next = Walkable(NodeAccess::FirstChild(*m_current));
    for (BNode* climb = m_current.Get();
         next == nullptr && climb != nullptr && climb != m_start.Get();
         climb = NodeAccess::Parent(*climb))
        next = Walkable(climb->Sister());
    m_current = next;
    return *this;
}

BNode* BNodeItr::operator++(int)
{
    BNode* const former = Current();
    ++*this;
    return former;
}

BNodeChildItr::BNodeChildItr(const BNode& node)
    : m_node(const_cast<BNode*>(&node)) // the node is counted, and changed by RemoveCurrent alone
    , m_current(NodeAccess::FirstChild(node))
{}

void BNodeChildItr::Restart()
{
    m_current = NodeAccess::FirstChild(*m_node);
}

BNodeChildItr& BNodeChildItr::operator++()
{
    if (m_current)
        m_current = NodeAccess::Parent(*m_current) == m_node ? m_current->Sister() : nullptr;
    return *this;
}

BNode* BNodeChildItr::operator++(int)
{
    BNode* const former = Current();
    ++*this;
    return former;
}

void BNodeChildItr::RemoveCurrent()
{
    const SP<BNode> removed = m_current;
    ++*this;
    m_node->RemoveChild(removed.Get());
}

BNodeAttribItr::BNodeAttribItr(BNode& node)
    : m_node(&node)
{
    Restart();
}

void BNodeAttribItr::Restart()
{
    StandOn(0);
}

// Or on the next entry that is not null.
void BNodeAttribItr::StandOn(int place)
{
    const AttributeList& list = NodeAccess::Attributes(*m_node);
    while (place < list.Count() && list.At(place) == nullptr)
        ++place;
    m_place = place;
    m_current = place < list.Count() ? list.At(place) : nullptr;
}

BNodeAttribItr& BNodeAttribItr::operator++()
{
    if (!m_current)
        return *this;
    const AttributeList& list = NodeAccess::Attributes(*m_node);
    if (m_place >= list.Count() || list.At(m_place) != m_current.Get())
        m_place = list.Find(m_current.Get());
    StandOn(m_place + 1);
    return *this;
}

BAttribute* BNodeAttribItr::operator++(int)
{
    BAttribute* const former = Current();
    ++*this;
    return former;
}

void BNodeAttribItr::RemoveCurrent()
{
    const SP<BAttribute> removed = m_current;
    ++*this;
    m_node->RemoveAttrib(removed.Get());
}

BNodeAnnotationItr::BNodeAnnotationItr(BNode& node)
    : m_node(&node)
{
    Restart();
}

void BNodeAnnotationItr::Restart()
{
    StandOn(NodeAccess::FirstAnnotation(*m_node));
}

void BNodeAnnotationItr::StandOn(DList<SP<BSmartObj>>::Iterator place)
{
    m_current = EntryFrom(place);
    m_place = place;
    m_changes = NodeAccess::AnnotationChanges(*m_node);
}

BNodeAnnotationItr& BNodeAnnotationItr::operator++()
{
    if (m_current && m_changes != NodeAccess::AnnotationChanges(*m_node))
        m_place = PlaceOf(NodeAccess::FirstAnnotation(*m_node), m_current);
    StandOn(m_place ? ++m_place : m_place);
    return *this;
}

BSmartObj* BNodeAnnotationItr::operator++(int)
{
    BSmartObj* const former = Current();
    ++*this;
    return former;
}

void BNodeAnnotationItr::RemoveCurrent()
{
    const SP<BSmartObj> removed = m_current;
    ++*this;
    const std::uint32_t expected = NodeAccess::AnnotationChanges(*m_node) + 1;
    if (m_node->RemoveAnnotation(removed.Get()) &&
        NodeAccess::AnnotationChanges(*m_node) == expected)
        m_changes = expected; // the list lost the entry behind and nothing else
}
