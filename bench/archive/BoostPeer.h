#pragma once

#include "bench/archive/PeerTree.h"

#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/array_wrapper.hpp>
#include <boost/serialization/base_object.hpp>
#include <boost/serialization/export.hpp>
#include <boost/serialization/shared_ptr.hpp>
#include <boost/serialization/split_free.hpp>
#include <boost/serialization/vector.hpp>
#include <boost/serialization/weak_ptr.hpp>
#include <filesystem>
#include <fstream>

BOOST_SERIALIZATION_SPLIT_FREE(PeerText)
BOOST_CLASS_IMPLEMENTATION(PeerText, boost::serialization::object_serializable)
BOOST_CLASS_TRACKING(PeerText, boost::serialization::track_never)

namespace boost::serialization {

template <typename Archive>
void save(Archive& archive, const PeerText& text, unsigned int)
{
    const auto length = static_cast<std::uint32_t>(text.size());
    archive << length << make_array(text.data(), text.size());
}

template <typename Archive>
void load(Archive& archive, PeerText& text, unsigned int)
{
    std::uint32_t length = 0;
    archive >> length;
    text.resize(length);
    archive >> make_array(text.data(), text.size());
}

template <typename Archive>
void serialize(Archive& archive, PeerPayload& payload, unsigned int)
{
    archive& base_object<PeerObject>(payload);
    archive& payload.x& payload.y& payload.z& payload.text;
}

template <typename Archive>
void serialize(Archive& archive, PeerAttribute& attribute, unsigned int)
{
    archive& base_object<PeerObject>(attribute);
    archive& attribute.name;
}

template <typename Archive>
void serialize(Archive& archive, PeerMeasure& measure, unsigned int)
{
    archive& base_object<PeerAttribute>(measure);
    archive& measure.value;
}

template <typename Archive>
void serialize(Archive& archive, PeerNode& node, unsigned int)
{
    archive& base_object<PeerObject>(node);
    archive& node.object& node.children& node.attributes& node.text& node.parent& node.active;
    archive& node.locked& node.annotations;
}

} // namespace boost::serialization

BOOST_CLASS_EXPORT(PeerPayload)
BOOST_CLASS_EXPORT(PeerMeasure)
BOOST_CLASS_EXPORT(PeerNode)

struct BoostPeer : PeerTree {
    static void Save(const std::filesystem::path& path, const std::shared_ptr<PeerNode>& root)
    {
        std::ofstream file(path, std::ios::binary);
        file.exceptions(std::ios::failbit | std::ios::badbit);
        boost::archive::binary_oarchive archive(file);
        archive << root;
    }

    static std::shared_ptr<PeerNode> Load(const std::filesystem::path& path)
    {
        std::ifstream file(path, std::ios::binary);
        boost::archive::binary_iarchive archive(file);
        std::shared_ptr<PeerNode> root;
        archive >> root;
        return root;
    }
};
