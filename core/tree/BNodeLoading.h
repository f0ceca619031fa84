#pragma once

#include "core/tree/BNode.h"

#include <cstdint>
#include <vector>

// What the record of a node refers to, from `Read` until the references are objects.
struct BNode::Loading {
    std::uint64_t object = 0;
    std::vector<std::uint64_t> children;
    std::vector<std::uint64_t> attributes;
    std::vector<std::uint64_t> annotations;
    std::uint64_t parent = 0;
    bool isAssociated = false;  // of all that, only `parent` still counts
    bool parentIsThere = false; // the archive has rebuilt the parent, so it has to list this node
};
