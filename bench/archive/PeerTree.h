#pragma once

#include "bench/archive/TreeWorkload.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// The workload's tree as one would write it for a serialisation library, with all that a BNode has:
// UTF-16 text, flags, a link to the parent, lists of attributes and annotations, and objects of
// which only the base is known and which may be shared.

using PeerText = std::u16string;

inline PeerText ToPeerText(const std::string& text)
{
    return PeerText(text.begin(), text.end());
}

struct PeerObject {
    virtual ~PeerObject() = default;

    template <typename Archive>
    void serialize(Archive&, unsigned int)
    {}
};

struct PeerPayload : PeerObject {
    double x = 0;
    double y = 0;
    double z = 0;
    PeerText text;
};

struct PeerAttribute : PeerObject {
    PeerText name;
};

struct PeerMeasure : PeerAttribute {
    double value = 0;
};

struct PeerNode : PeerObject {
    std::shared_ptr<PeerObject> object;
    std::vector<std::shared_ptr<PeerNode>> children;
    std::vector<std::shared_ptr<PeerAttribute>> attributes;
    std::vector<std::shared_ptr<PeerObject>> annotations;
    PeerText text;
    std::weak_ptr<PeerNode> parent;
    bool active = true;
    bool locked = false;
};

struct PeerTree {
    static std::shared_ptr<PeerNode> Make(int count)
    {
        std::vector<std::shared_ptr<PeerPayload>> payloads;
        for (int i = 0; i < kPayloadCount; ++i) {
            auto payload = std::make_shared<PeerPayload>();
            payload->x = i;
            payload->y = 2.0 * i;
            payload->z = 3.0 * i;
            payload->text = u"payload";
            payloads.push_back(std::move(payload));
        }
        std::vector<std::shared_ptr<PeerNode>> nodes;
        nodes.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            auto node = std::make_shared<PeerNode>();
            node->text = ToPeerText(NodeName(i));
            auto measure = std::make_shared<PeerMeasure>();
            measure->name = u"length";
            measure->value = 0.25 * i;
            node->attributes.push_back(std::move(measure));
            if (i % 4 == 0)
                node->object = payloads[static_cast<std::size_t>(i / 4 % kPayloadCount)];
            if (i != 0) {
                const auto& parent = nodes[static_cast<std::size_t>((i - 1) / kFanOut)];
                node->parent = parent;
                parent->children.push_back(node);
            }
            nodes.push_back(std::move(node));
        }
        return nodes.front();
    }

    static TreeSum Sum(const std::shared_ptr<PeerNode>& root)
    {
        TreeSum sum;
        AddUp(*root, sum);
        return sum;
    }

private:
    static void AddUp(const PeerNode& node, TreeSum& sum)
    {
        const auto* payload = dynamic_cast<const PeerPayload*>(node.object.get());
        const auto* measure = dynamic_cast<const PeerMeasure*>(node.attributes.at(0).get());
        sum.Add(node.text.back(), measure->value, payload != nullptr ? payload->x : 0);
        for (const auto& child : node.children)
            AddUp(*child, sum);
    }
};
