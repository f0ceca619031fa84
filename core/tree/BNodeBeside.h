#pragma once

#include "core/base/DList.h"
#include "core/tree/AnnotationList.h"
#include "core/tree/BNode.h"

#include <cstdint>

/// What stands beside a node. Most nodes have no attributes and no annotations, so it is made for
/// the first one, and stays.
struct BNode::Beside {
    DList<SP<BAttribute>> attributes;
    AnnotationList annotations;
    std::uint32_t changes = 0; // of both, so that iterators know whether their places are good
};
