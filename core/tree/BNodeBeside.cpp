#include "core/tree/BNodeBeside.h"

#include "core/operation/Messages.h"
#include "core/tree/BNode.h"

#include <memory>
#include <utility>

// Attributes and annotations of a node.
//
// Attributes are searched one by one: a node has few of them, and their names are the answers of
// virtual functions, which no index could follow. Annotations are compared by identity and may be
// many, so `AnnotationList` indexes them.
//
// What is removed dies when no list has it any more: its destructor may come back to the node, or
// let go of it.

namespace {

// What a look-up gives that finds nothing.
constexpr int kNone = -1;

int PlaceOf(const AttributeList& attributes, const WString& name)
{
    for (int place = 0; place < attributes.Count(); ++place) {
        const BAttribute* const attribute = attributes.At(place);
        if (attribute != nullptr && attribute->Name() == name)
            return place;
    }
    return kNone;
}

int PlaceOf(const AttributeList& attributes, int index)
{
    return index >= 0 && index < attributes.Count() ? index : kNone;
}

int PlaceOf(const AttributeList& attributes, const BAttribute* attribute)
{
    return PlaceOf(attributes, attributes.Find(attribute));
}

} // namespace

bool BNode::AddAttrib(BAttribute* attribute)
{
    if (attribute == nullptr)
        return false;
    if (m_attributes.IsNull()) { // the first takes no memory and has no namesake
        m_attributes.Append(attribute);
        Report(kMessageNodeAttributesChanged);
        return true;
    }
    const SP<BAttribute> added(attribute);
    SP<BAttribute> removed; // dies when nothing touches the node any more
    const int namesake = AttribNum() != 0 ? PlaceOf(m_attributes, added->Name()) : kNone;
    if (namesake != kNone && m_attributes.At(namesake) == attribute)
        return false;
    m_attributes.Append(attribute);
    if (namesake != kNone)
        removed = m_attributes.RemoveAt(namesake);
    Report(kMessageNodeAttributesChanged);
    return true;
}

int BNode::AttribNum() const
{
    return m_attributes.Count();
}

// By name or index.
template <class Key>
BAttribute* BNode::FindAttrib(const Key& key) const
{
    const int place = PlaceOf(m_attributes, key);
    return place != kNone ? m_attributes.At(place) : nullptr;
}

BAttribute* BNode::Attrib(int index) const
{
    return FindAttrib(index);
}

BAttribute* BNode::Attrib(const WChar* name) const
{
    return Attrib(WString(name));
}

BAttribute* BNode::Attrib(WString name) const
{
    return FindAttrib(name);
}

// By name, index or identity.
template <class Key>
bool BNode::RemoveFoundAttrib(const Key& key)
{
    const int place = PlaceOf(m_attributes, key);
    if (place == kNone)
        return false;
    const SP<BNode> held = Held();
    m_attributes.RemoveAt(place);
    Report(kMessageNodeAttributesChanged);
    return true;
}

bool BNode::RemoveAttrib(BAttribute* attribute)
{
    return attribute != nullptr && RemoveFoundAttrib(attribute);
}

bool BNode::RemoveAttrib(int index)
{
    return RemoveFoundAttrib(index);
}

bool BNode::RemoveAttrib(const WChar* name)
{
    return RemoveAttrib(WString(name));
}

bool BNode::RemoveAttrib(WString name)
{
    return RemoveFoundAttrib(name);
}

void BNode::RemoveAttribs()
{
    if (AttribNum() == 0)
        return;
    const auto removed = std::move(m_attributes); // destroyed once the list is empty
    Report(kMessageNodeAttributesChanged);
}

BNode::Annotations& BNode::MakeAnnotations()
{
    if (Annotated() == nullptr) {
        auto made = std::make_unique<Annotations>();
        if (m_isLoading)
            made->loading = m_loading;
        m_isLoading = false;
        m_annotations = made.release();
    }
    return *m_annotations;
}

int BNode::AnnotationNum() const
{
    const Annotations* const annotations = Annotated();
    return annotations != nullptr ? annotations->list.Count() : 0;
}

bool BNode::AddAnnotation(BSmartObj* annotation)
{
    const SP<BSmartObj> added(annotation);
    if (!added || MakeAnnotations().list.Find(annotation))
        return false;
    ++m_annotations->changes;
    m_annotations->list.Append(added);
    Report(kMessageNodeAttributesChanged);
    return true;
}

bool BNode::RemoveAnnotation(BSmartObj* annotation)
{
    Annotations* const annotations = Annotated();
    if (annotation == nullptr || annotations == nullptr)
        return false;
    const auto place = annotations->list.Find(annotation);
    if (!place)
        return false;
    const SP<BNode> held = Held();
    ++annotations->changes;
    annotations->list.Remove(place);
    Report(kMessageNodeAttributesChanged);
    return true;
}

void BNode::RemoveAnnotations()
{
    if (AnnotationNum() == 0)
        return;
    ++m_annotations->changes;
    const auto removed = std::move(m_annotations->list);
    Report(kMessageNodeAttributesChanged);
}
