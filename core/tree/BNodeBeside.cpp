#include "core/tree/BNodeBeside.h"

#include "core/operation/Messages.h"
#include "core/tree/BNode.h"

#include <cassert>
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

using Attributes = DList<SP<BAttribute>>;

Attributes::Iterator PlaceOf(Attributes& attributes, const BAttribute* attribute)
{
    auto place = attributes.begin();
    while (place && *place != attribute)
        ++place;
    return place;
}

Attributes::Iterator PlaceOf(Attributes& attributes, const WString& name)
{
    auto place = attributes.begin();
    while (place && !(*place && (*place)->Name() == name))
        ++place;
    return place;
}

Attributes::Iterator PlaceOf(Attributes& attributes, int index)
{
    auto place = index >= 0 ? attributes.begin() : attributes.end();
    for (; place && index > 0; --index)
        ++place;
    return place;
}

} // namespace

BNode::Beside& BNode::MakeBeside()
{
    if (!m_beside)
        m_beside = std::make_unique<Beside>();
    return *m_beside;
}

bool BNode::AddAttrib(BAttribute* attribute)
{
    if (attribute == nullptr)
        return false;
    const SP<BAttribute> added(attribute);
    SP<BAttribute> removed; // dies when nothing touches the node any more
    Attributes& attributes = MakeBeside().attributes;
    const auto namesake = PlaceOf(attributes, added->Name());
    if (namesake && *namesake == added)
        return false;
    attributes.AddTail(added);
    if (namesake) {
        removed = *namesake;
        attributes.Erase(namesake);
    }
    ReportLists();
    return true;
}

int BNode::AttribNum() const
{
    return m_beside ? m_beside->attributes.Count() : 0;
}

// By name or index.
template <class Key>
BAttribute* BNode::FindAttrib(const Key& key) const
{
    const auto place = m_beside ? PlaceOf(m_beside->attributes, key) : Attributes::Iterator();
    return place ? place->Get() : nullptr;
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
    const auto place = m_beside ? PlaceOf(m_beside->attributes, key) : Attributes::Iterator();
    if (!place)
        return false;
    const SP<BNode> held = Held();
    m_beside->attributes.Erase(place);
    ReportLists();
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
    const auto removed = std::move(m_beside->attributes); // destroyed once the list is empty
    ReportLists();
}

int BNode::AnnotationNum() const
{
    return m_beside ? m_beside->annotations.Count() : 0;
}

bool BNode::AddAnnotation(BSmartObj* annotation)
{
    const SP<BSmartObj> added(annotation);
    if (!added || MakeBeside().annotations.Find(annotation))
        return false;
    m_beside->annotations.Append(added);
    ReportLists();
    return true;
}

bool BNode::RemoveAnnotation(BSmartObj* annotation)
{
    if (annotation == nullptr || !m_beside)
        return false;
    const auto place = m_beside->annotations.Find(annotation);
    if (!place)
        return false;
    const SP<BNode> held = Held();
    m_beside->annotations.Remove(place);
    ReportLists();
    return true;
}

void BNode::RemoveAnnotations()
{
    if (AnnotationNum() == 0)
        return;
    const auto removed = std::move(m_beside->annotations);
    ReportLists();
}

// Every change of the lists ends here, so that iterators notice it.
void BNode::ReportLists()
{
    assert(m_beside);
    ++m_beside->changes;
    Report(kMessageNodeAttributesChanged);
}
