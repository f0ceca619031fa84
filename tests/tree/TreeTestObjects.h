#pragma once

#include "core/archive/BArchive.h"
#include "core/base/ClassRegistry.h"
#include "core/tree/BNode.h"

#include "tests/LifeCount.h"

#include <string>
#include <string_view>

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

/// An attribute "t" that keeps an object.
class KeepingAttribute : public NumberAttribute {
public:
    explicit KeepingAttribute(SP<BSmartObj> kept)
        : NumberAttribute(QD_W("t"), 0)
        , m_kept(kept)
    {}

private:
    SP<BSmartObj> m_kept;
};

/// A node that counts how many of its kind live.
class CountedNode : public BNode {
public:
    CountedNode() { ++alive; }
    ~CountedNode() override { --alive; }

    static inline int alive = 0;
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

/// A tree as text: "S(A(A1 A2) B)"; "-" stands for a null entry.
inline std::string TextOf(const BNode& node)
{
    std::string text = node.GetText().AsString().CStr();
    for (int i = 0; i < node.ChildNum(); ++i) {
        text += i == 0 ? '(' : ' ';
        text += node.Child(i) != nullptr ? TextOf(*node.Child(i)) : "-";
    }
    return node.ChildNum() != 0 ? text + ')' : text;
}

/// The tree that such a text describes.
inline SP<BNode> TreeOf(std::string_view text)
{
    SP<BNode> root(new BNode);
    BNode* node = root.Get();
    for (const char character : text) {
        if (character == '(' || character == ' ') {
            node = Append(character == '(' ? *node : *node->Parent(), nullptr);
        } else if (character == ')') {
            node = node->Parent();
        } else {
            WString longer = node->GetText();
            longer += static_cast<WChar>(character);
            node->SetText(longer);
        }
    }
    return root;
}

/// The lowest of `depth` nodes, each the only child of the one before and the first of `top`.
inline BNode* AppendLine(BNode& top, int depth)
{
    BNode* bottom = &top;
    for (int i = 0; i < depth; ++i)
        bottom = Append(*bottom, nullptr);
    return bottom;
}
