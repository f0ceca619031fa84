#pragma once

#include "bench/archive/PeerTree.h"

#include <cereal/archives/binary.hpp>
#include <cereal/types/memory.hpp>
#include <cereal/types/polymorphic.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>
#include <filesystem>
#include <fstream>

namespace cereal {

template <typename Archive>
void serialize(Archive& archive, PeerPayload& payload)
{
    archive(payload.x, payload.y, payload.z, payload.text);
}

template <typename Archive>
void serialize(Archive& archive, PeerMeasure& measure)
{
    archive(measure.name, measure.value);
}

template <typename Archive>
void serialize(Archive& archive, PeerNode& node)
{
    archive(node.object, node.children, node.attributes, node.text, node.parent, node.active,
            node.locked, node.annotations);
}

// The base's own function must not be taken for these.
template <typename Archive>
struct specialize<Archive, PeerPayload, specialization::non_member_serialize> {};
template <typename Archive>
struct specialize<Archive, PeerMeasure, specialization::non_member_serialize> {};
template <typename Archive>
struct specialize<Archive, PeerNode, specialization::non_member_serialize> {};

} // namespace cereal

CEREAL_REGISTER_TYPE(PeerPayload)
CEREAL_REGISTER_TYPE(PeerMeasure)
CEREAL_REGISTER_TYPE(PeerNode)
CEREAL_REGISTER_POLYMORPHIC_RELATION(PeerObject, PeerPayload)
CEREAL_REGISTER_POLYMORPHIC_RELATION(PeerAttribute, PeerMeasure)
CEREAL_REGISTER_POLYMORPHIC_RELATION(PeerObject, PeerNode)

struct CerealPeer : PeerTree {
    static void Save(const std::filesystem::path& path, const std::shared_ptr<PeerNode>& root)
    {
        std::ofstream file(path, std::ios::binary);
        file.exceptions(std::ios::failbit | std::ios::badbit);
        cereal::BinaryOutputArchive archive(file);
        archive(root);
    }

    static std::shared_ptr<PeerNode> Load(const std::filesystem::path& path)
    {
        std::ifstream file(path, std::ios::binary);
        cereal::BinaryInputArchive archive(file);
        std::shared_ptr<PeerNode> root;
        archive(root);
        return root;
    }
};
