#pragma once

#include "core/tree/BNode.h"

#include <cstddef>
#include <cstdint>
#include <span>

// The indices in a node's record, from `Read` until they are objects. They live in the archive's
// scratch memory.
struct BNode::Loading {
    std::uint64_t object = 0;
    std::span<const std::uint64_t> children;
    std::span<const std::uint64_t> attributes;
    std::span<const std::uint64_t> annotations;
    std::uint64_t parent = 0;
    enum : std::uint8_t { NotVisited, OnTheWay, Done } visit = NotVisited; // see RefuseCircles

    // What the node keeps alive of what may be nodes.
    [[nodiscard]] std::size_t OwnedCount() const
    {
        return 1 + children.size() + annotations.size();
    }
    [[nodiscard]] std::uint64_t Owned(std::size_t i) const
    {
        if (i == 0)
            return object;
        return i <= children.size() ? children[i - 1] : annotations[i - 1 - children.size()];
    }
};

// The parent that a node's record names, where no node has taken it for a child so far.
struct BNode::Claim {
    std::uint64_t parent;
    long archive;       // `UniqueID` of the archive in which that index counts
    bool parentIsThere; // so it should have listed this node
};
