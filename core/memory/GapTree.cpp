#include "core/memory/GapTree.h"

#include <algorithm>
#include <cassert>
#include <utility>

// Blocks are large and few change at a time, but there may be ten thousand, and first fit by a walk
// over the gaps looks at all of them. A heap's lists by size would be as fast and place elsewhere:
// first fit keeps blocks at the low addresses together, so that whole frames become empty and go
// back to the system.
//
// A search goes down from the root: left as long as a gap there is large enough, as the first one
// is wanted. A treap, as it keeps its balance by rotations that touch a node and its parent, so
// that the largest gap of a subtree is told again for those two alone. Each node knows that of both
// its subtrees, so that nobody looks at a child whose way he does not go: with many blocks, each
// look is for a line of memory that the processor has not got.
namespace {

/// xorshift32, Marsaglia, J. Stat. Softw. 8 (2003), 14.
std::uint32_t NextRandom(std::uint32_t& state) noexcept
{
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    return state;
}

} // namespace

void GapTree::AddFrame(Place& end, char* start, std::uint64_t size) noexcept
{
    end.m_start = start + size;
    end.m_gap = size;
    Place* last = m_root;
    while (last != nullptr && last->m_right != nullptr)
        last = last->m_right;
    Link(end, last, last != nullptr ? last->m_right : m_root);
}

void GapTree::RemoveFrame(Place& end) noexcept
{
    assert(end.m_size == 0 && end.m_gap > 0);
    Unlink(end);
}

GapTree::Place* GapTree::FindGap(std::uint64_t size) const noexcept
{
    if (m_root == nullptr || m_root->LargestGap() < size)
        return nullptr;
    Place* place = m_root;
    for (;;) {
        if (place->m_largestLeft >= size)
            place = place->m_left;
        else if (place->m_gap >= size)
            return place;
        else
            place = place->m_right;
    }
}

void GapTree::Insert(Place& place, std::uint64_t size, Place& next) noexcept
{
    assert(size <= next.m_gap && place.m_gap == 0);
    place.m_start = next.GapStart();
    place.m_size = size;
    next.m_gap -= size;
    TellAbove(next, next.LargestGap());
    if (next.m_left == nullptr) {
        Link(place, &next, next.m_left);
        return;
    }
    Place* previous = next.m_left;
    while (previous->m_right != nullptr)
        previous = previous->m_right;
    Link(place, previous, previous->m_right);
}

void GapTree::Remove(Place& place) noexcept
{
    assert(place.m_size > 0); // no frame's end, and not taken out before
    Place* next = place.m_right;
    if (next != nullptr) {
        while (next->m_left != nullptr)
            next = next->m_left;
    } else {
        const Place* child = &place;
        for (next = place.m_parent; next->m_left != child; next = next->m_parent)
            child = next;
    }
    Unlink(place);
    next->m_gap += place.m_gap + place.m_size;
    place.m_size = 0;
    TellAbove(*next, next->LargestGap());
}

/// Hangs `place` on as a leaf and balances the tree.
void GapTree::Link(Place& place, Place* parent, Place*& link) noexcept
{
    link = &place;
    place.m_parent = parent;
    place.m_left = place.m_right = nullptr;
    place.m_largestLeft = place.m_largestRight = 0;
    place.m_priority = NextRandom(m_random);
    TellAbove(place, place.m_gap);
    while (place.m_parent != nullptr && place.m_parent->m_priority < place.m_priority)
        Raise(place);
}

void GapTree::Unlink(Place& place) noexcept
{
    while (place.m_left != nullptr && place.m_right != nullptr)
        Raise(place.m_left->m_priority > place.m_right->m_priority ? *place.m_left
                                                                   : *place.m_right);
    TellAbove(place, std::max(place.m_largestLeft, place.m_largestRight));
    Place* const child = place.m_left != nullptr ? place.m_left : place.m_right;
    LinkTo(place) = child;
    if (child != nullptr)
        child->m_parent = place.m_parent;
}

/// Changes places with the parent, the order staying as it is.
void GapTree::Raise(Place& place) noexcept
{
    Place& parent = *place.m_parent;
    const bool isLeft = parent.m_left == &place;
    Place*& inner = isLeft ? place.m_right : place.m_left;
    std::uint64_t& largestInner = isLeft ? place.m_largestRight : place.m_largestLeft;
    (isLeft ? parent.m_left : parent.m_right) = inner;
    (isLeft ? parent.m_largestLeft : parent.m_largestRight) = largestInner;
    if (inner != nullptr)
        inner->m_parent = &parent;
    LinkTo(parent) = &place;
    inner = &parent;
    largestInner = parent.LargestGap();
    place.m_parent = parent.m_parent;
    parent.m_parent = &place;
}

/// The link that leads to `place`.
GapTree::Place*& GapTree::LinkTo(Place& place) noexcept
{
    if (place.m_parent == nullptr)
        return m_root;
    return place.m_parent->m_left == &place ? place.m_parent->m_left : place.m_parent->m_right;
}

/// Tells those above `place` whom it concerns that `largest` is the largest gap from there on.
void GapTree::TellAbove(const Place& place, std::uint64_t largest) noexcept
{
    const Place* child = &place;
    for (Place* parent = child->m_parent; parent != nullptr; parent = parent->m_parent) {
        std::uint64_t& told =
            parent->m_left == child ? parent->m_largestLeft : parent->m_largestRight;
        if (std::exchange(told, largest) == largest)
            return;
        child = parent;
        largest = parent->LargestGap();
    }
}
