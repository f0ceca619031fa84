#include "core/tree/BNode.h"
#include "core/tree/BNodeBeside.h"
#include "core/tree/BNodeItr.h"

#include <memory>
#include <utility>
#include <vector>

// First a copy is made that nobody else sees, then this node takes it over by the members that
// report. So `other` may stand below this node, whose children are removed on the way, or above it,
// and memory that is missing mostly shows before anything has changed.
void BNode::Copy(const BNode& other)
{
    if (&other == this)
        return;
    const SP<BNode> held = Held();
    const SP<BNode> copy(new BNode);
    copy->CopyTreeOf(other);
    const bool isMessageDispatcher = std::exchange(copy->m_isMessageDispatcher, false);

    SetText(copy->m_text);
    Activate(copy->m_isActive);
    Lock(copy->m_isLocked);
    SetObj(copy->m_object.Get());
    RemoveAttribs();
    for (BNodeAttribItr itr(*copy); itr; ++itr)
        AddAttrib(itr.Current());
    RemoveAnnotations();
    for (BNodeAnnotationItr itr(*copy); itr; ++itr)
        AddAnnotation(itr.Current());
    RemoveChildren();
    while (const SP<BNode> child = copy->Child(0)) {
        copy->RemoveChild(child.Get());
        AddChild(child.Get(), -1);
    }
    IsMessageDispatcher(isMessageDispatcher);
}

// Fills this new node and makes the nodes below it, without a report.
void BNode::CopyTreeOf(const BNode& other)
{
    std::vector<std::pair<const BNode*, BNode*>> open{{&other, this}};
    while (!open.empty()) {
        const auto [source, copy] = open.back();
        open.pop_back();
        copy->m_object = source->m_object;
        copy->m_attributes = source->m_attributes;
        if (const Annotations* const annotations = source->Annotated())
            copy->MakeAnnotations().list = annotations->list;
        copy->m_text = source->m_text; // not by `Rename`: no list here has an index of texts yet
        copy->m_isActive = source->m_isActive;
        copy->m_isLocked = source->m_isLocked;
        copy->m_isMessageDispatcher = source->m_isMessageDispatcher;
        for (const SP<BNode>& child : source->m_children) {
            if (!child)
                continue;
            const SP<BNode> childCopy(new BNode);
            copy->Append(*childCopy);
            open.emplace_back(child.Get(), childCopy.Get());
        }
    }
}
