#pragma once

#include "core/archive/BArchive.h"
#include "core/base/ClassRegistry.h"
#include "core/tree/BNode.h"

#include <memory>
#include <string>

/// An object that counts how many of its kind live.
class CountedPayload : public BSmartObj {
public:
    CountedPayload() { ++alive; }
    ~CountedPayload() override { --alive; }
    std::uint64_t AllocatedMemory() const override { return 100; }

    static SP<BSmartObj> Read(BArchive&, int) { return SP<BSmartObj>(new CountedPayload); }
    static void Register() { RegisterArchiveCallback(ClassName(typeid(CountedPayload)), &Read); }

    static inline int alive = 0;
};

/// An attribute with a number.
class NumberAttribute : public BAttribute {
public:
    NumberAttribute(const WChar* name, int value)
        : m_name(name)
        , m_value(value)
    {}
    WString Name() const override { return m_name; }
    void WriteData(BArchive& archive) const override { archive << m_name << m_value; }

    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        SP<NumberAttribute> tag(new NumberAttribute(nullptr, 0));
        archive >> tag->m_name >> tag->m_value;
        return tag;
    }
    static void Register() { RegisterArchiveCallback(ClassName(typeid(NumberAttribute)), &Read); }

    WString m_name;
    int m_value;
};

inline SP<BNode> Named(const WChar* text)
{
    SP<BNode> node(new BNode);
    node->SetText(text);
    return node;
}

/// A child of that name, appended.
inline BNode* Append(BNode& parent, const WChar* text)
{
    const SP<BNode> child = Named(text);
    return parent.AddChild(child.Get(), -1) ? child.Get() : nullptr;
}

/// The texts of a node's children, in order, with a blank between them; "-" for a null entry.
inline WString Order(const BNode& node)
{
    WString order;
    for (int i = 0; i < node.ChildNum(); ++i) {
        if (i != 0)
            order += QD_W(' ');
        order += node.Child(i) != nullptr ? node.Child(i)->GetText() : WString(QD_W("-"));
    }
    return order;
}
