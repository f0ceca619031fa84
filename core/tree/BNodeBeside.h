#pragma once

#include "core/tree/AnnotationList.h"
#include "core/tree/BNode.h"

#include <cstdint>

/// The annotations of a node, made for the first one; they stay.
struct BNode::Annotations {
    AnnotationList list;
    std::uint32_t changes = 0;     // so that iterators know whether their places are good
    const char* loading = nullptr; // of a node that gets annotations before its associations
};

/// Null where there were none yet.
inline BNode::Annotations* BNode::Annotated() const noexcept
{
    return m_isLoading ? nullptr : m_annotations;
}
