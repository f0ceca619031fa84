#pragma once

#include "bench/archive/PeerTree.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>
#include <vector>

// The library's own format, read by hand into the peers' tree. It trusts the file: no size, count
// or index is checked, nobody is asked whether what was read is sound, and the classes are known.
// The file is in memory as a whole, read twice: once for the objects, once for what they refer to.

struct HandPeer : PeerTree {
    static std::shared_ptr<PeerNode> Load(const std::filesystem::path& path)
    {
        std::vector<char> bytes(std::filesystem::file_size(path));
        std::ifstream(path, std::ios::binary)
            .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        HandPeer peer;
        Cursor cursor{bytes.data()};
        cursor.NarrowText(); // the document's class
        cursor.Take<std::int32_t>();
        cursor.NarrowText(); // the archive's
        cursor.Take<std::int32_t>();
        while (cursor.next != bytes.data() + bytes.size())
            peer.ReadRecord(cursor);
        for (const Node& node : peer.m_nodes)
            peer.Link(node);
        return std::static_pointer_cast<PeerNode>(peer.m_objects.at(1));
    }

private:
    struct Cursor {
        const char* next;

        template <class T>
        T Take()
        {
            T value;
            std::memcpy(&value, next, sizeof value);
            next += sizeof value;
            return value;
        }
        std::string_view NarrowText()
        {
            ++next; // the tag
            const auto length = Take<std::uint32_t>();
            next += length;
            return {next - length, length};
        }
        PeerText Text()
        {
            PeerText text(Take<std::uint32_t>(), u' ');
            std::memcpy(text.data(), next, 2 * text.size());
            next += 2 * text.size();
            return text;
        }
    };
    struct Node {
        PeerNode* node;
        const char* references; // its payload
    };

    void ReadRecord(Cursor& cursor)
    {
        const std::string_view digits = cursor.NarrowText();
        std::size_t index = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), index, 16);
        cursor.NarrowText(); // the label
        const char kind = cursor.NarrowText()[6];
        cursor.Take<std::int32_t>();
        const auto size = cursor.Take<std::uint64_t>();
        if (index >= m_objects.size())
            m_objects.resize(index + 1 + index / 2);
        Cursor payload{cursor.next};
        m_objects[index] = kind == 'B'   ? ReadNode(payload)
                           : kind == 'M' ? ReadMeasure(payload)
                                         : ReadPayload(payload);
        cursor.next += size;
    }
    std::shared_ptr<PeerObject> ReadNode(Cursor payload)
    {
        auto node = std::make_shared<PeerNode>();
        m_nodes.push_back({node.get(), payload.next});
        return node;
    }
    static std::shared_ptr<PeerObject> ReadMeasure(Cursor payload)
    {
        auto measure = std::make_shared<PeerMeasure>();
        measure->name = payload.Text();
        measure->value = payload.Take<double>();
        return measure;
    }
    static std::shared_ptr<PeerObject> ReadPayload(Cursor payload)
    {
        auto read = std::make_shared<PeerPayload>();
        read->x = payload.Take<double>();
        read->y = payload.Take<double>();
        read->z = payload.Take<double>();
        read->text = payload.Text();
        return read;
    }
    template <class T>
    std::shared_ptr<T> Object(Cursor& cursor)
    {
        return std::static_pointer_cast<T>(m_objects[cursor.Take<std::uint64_t>()]);
    }
    template <class T>
    void ReadObjects(Cursor& cursor, std::vector<std::shared_ptr<T>>& objects)
    {
        const auto count = cursor.Take<std::uint32_t>();
        objects.reserve(count);
        for (std::uint32_t i = 0; i < count; ++i)
            objects.push_back(Object<T>(cursor));
    }
    void Link(const Node& read)
    {
        PeerNode& node = *read.node;
        Cursor cursor{read.references};
        node.object = Object<PeerObject>(cursor);
        ReadObjects(cursor, node.children);
        ReadObjects(cursor, node.attributes);
        cursor.NarrowText();
        node.parent = Object<PeerNode>(cursor);
        const char flags = cursor.Take<char>();
        node.active = (flags & 1) != 0;
        node.locked = (flags & 2) != 0;
        node.text = cursor.Text();
        ReadObjects(cursor, node.annotations);
    }

    std::vector<std::shared_ptr<PeerObject>> m_objects{1}; // by index; 0 is null
    std::vector<Node> m_nodes;
};
