#pragma once

#include "core/archive/BArchive.h"
#include "core/base/ClassRegistry.h"
#include "core/tree/BNode.h"

#include <cstdio>
#include <string>
#include <vector>

// The tree that all archives save and load: `count` nodes, fan-out 10, unique names of ten
// characters, an attribute each (a name and a number), and at every fourth node one of 1000 shared
// payloads (three numbers and a short text).

inline constexpr int kFanOut = 10;
inline constexpr int kPayloadCount = 1000;

inline std::string NodeName(int number)
{
    char name[16];
    std::snprintf(name, sizeof name, "Node%06d", number % 1'000'000);
    return name;
}

/// What a tree holds, added up.
struct TreeSum {
    std::int64_t nodes = 0;
    std::int64_t digits = 0; // the last of each text
    double measures = 0;
    double payloads = 0;

    bool operator==(const TreeSum&) const = default;

    void Add(int lastUnit, double measure, double payload)
    {
        ++nodes;
        digits += lastUnit - '0';
        measures += measure;
        payloads += payload;
    }
};

/// Node `i` is a child of node `(i - 1) / kFanOut`; all numbers are whole quarters, and so their
/// sums.
inline TreeSum ExpectedSum(std::int64_t count)
{
    TreeSum sum;
    for (std::int64_t i = 0; i < count; ++i)
        sum.Add('0' + static_cast<int>(i % 10), 0.25 * static_cast<double>(i),
                i % 4 == 0 ? static_cast<double>(i / 4 % kPayloadCount) : 0);
    return sum;
}

class Measure : public BAttribute {
public:
    Measure() = default;
    Measure(WString name, double value)
        : m_name(name)
        , m_value(value)
    {}
    WString Name() const override { return m_name; }
    [[nodiscard]] double Value() const { return m_value; }
    void WriteData(BArchive& archive) const override { archive << m_name << m_value; }
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        SP<Measure> measure(new Measure);
        archive >> measure->m_name >> measure->m_value;
        return measure;
    }

private:
    WString m_name;
    double m_value = 0;
};

class Payload : public BSmartObj {
public:
    Payload() = default;
    Payload(double x, WString text)
        : m_x(x)
        , m_y(2 * x)
        , m_z(3 * x)
        , m_text(text)
    {}
    [[nodiscard]] double X() const { return m_x; }
    void WriteData(BArchive& archive) const override { archive << m_x << m_y << m_z << m_text; }
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        SP<Payload> payload(new Payload);
        archive >> payload->m_x >> payload->m_y >> payload->m_z >> payload->m_text;
        return payload;
    }

private:
    double m_x = 0;
    double m_y = 0;
    double m_z = 0;
    WString m_text;
};

inline void RegisterWorkloadClasses()
{
    RegisterArchiveCallback(BSmartObj::ClassName(typeid(Measure)), &Measure::Read);
    RegisterArchiveCallback(BSmartObj::ClassName(typeid(Payload)), &Payload::Read);
}

inline SP<BNode> MakeTree(int count)
{
    std::vector<SP<BSmartObj>> payloads;
    for (int i = 0; i < kPayloadCount; ++i)
        payloads.emplace_back(new Payload(i, QD_W("payload")));
    std::vector<BNode*> nodes;
    nodes.reserve(static_cast<std::size_t>(count));
    SP<BNode> root;
    for (int i = 0; i < count; ++i) {
        SP<BNode> node(new BNode);
        node->SetText(WString(BString(NodeName(i).c_str())));
        node->AddAttrib(new Measure(QD_W("length"), 0.25 * i));
        if (i % 4 == 0)
            node->SetObj(payloads[static_cast<std::size_t>(i / 4 % kPayloadCount)].Get());
        if (i == 0)
            root = node;
        else
            nodes[static_cast<std::size_t>((i - 1) / kFanOut)]->AddChild(node.Get(), -1);
        nodes.push_back(node.Get());
    }
    return root;
}

inline void AddUp(const BNode& node, TreeSum& sum)
{
    const auto* payload = dynamic_cast<const Payload*>(node.GetObj());
    const auto* measure = dynamic_cast<const Measure*>(node.Attrib(QD_W("length")));
    const WString text = node.GetText();
    sum.Add(text.CStr()[text.Length() - 1], measure != nullptr ? measure->Value() : -1,
            payload != nullptr ? payload->X() : 0);
    for (const BNode* child = node.Child(0); child != nullptr; child = child->Sister())
        AddUp(*child, sum);
}

inline TreeSum SumOf(const BNode& root)
{
    TreeSum sum;
    AddUp(root, sum);
    return sum;
}
