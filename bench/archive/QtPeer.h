#pragma once

#include "bench/archive/TreeWorkload.h"

#include <QDataStream>
#include <QFile>
#include <QHash>
#include <QString>
#include <QVector>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <vector>

// The workload's tree written by hand over QDataStream: each object once, behind its number and its
// class; afterwards its number alone.

struct QtPeer {
    enum class Class : quint8 { Node, Measure, Payload };

    struct Object {
        virtual ~Object() = default;
        virtual Class GetClass() const = 0;
        virtual void Write(QDataStream& stream, QtPeer& peer) const = 0;
        virtual void Read(QDataStream& stream, QtPeer& peer) = 0;
    };

    struct Payload : Object {
        Class GetClass() const override { return Class::Payload; }
        void Write(QDataStream& stream, QtPeer&) const override { stream << x << y << z << text; }
        void Read(QDataStream& stream, QtPeer&) override { stream >> x >> y >> z >> text; }
        double x = 0, y = 0, z = 0;
        QString text;
    };

    struct Measure : Object {
        Class GetClass() const override { return Class::Measure; }
        void Write(QDataStream& stream, QtPeer&) const override { stream << name << value; }
        void Read(QDataStream& stream, QtPeer&) override { stream >> name >> value; }
        QString name;
        double value = 0;
    };

    struct Node : Object {
        Class GetClass() const override { return Class::Node; }
        void Write(QDataStream& stream, QtPeer& peer) const override
        {
            peer.WriteObject(stream, object.get());
            peer.WriteObjects(stream, children);
            peer.WriteObjects(stream, attributes);
            stream << text << active << locked;
            peer.WriteObject(stream, parent);
            peer.WriteObjects(stream, annotations);
        }
        void Read(QDataStream& stream, QtPeer& peer) override
        {
            object = peer.ReadObject(stream);
            peer.ReadObjects(stream, children);
            peer.ReadObjects(stream, attributes);
            stream >> text >> active >> locked;
            parent = static_cast<Node*>(peer.ReadObject(stream).get());
            peer.ReadObjects(stream, annotations);
        }
        std::shared_ptr<Object> object;
        std::vector<std::shared_ptr<Node>> children;
        std::vector<std::shared_ptr<Object>> attributes;
        std::vector<std::shared_ptr<Object>> annotations;
        QString text;
        bool active = true;
        bool locked = false;
        Node* parent = nullptr;
    };

    void WriteObject(QDataStream& stream, const Object* object)
    {
        if (object == nullptr) {
            stream << quint32(0);
            return;
        }
        quint32& number = m_numbers[object];
        if (number != 0) {
            stream << number;
            return;
        }
        number = static_cast<quint32>(m_numbers.size());
        stream << number << object->GetClass();
        object->Write(stream, *this);
    }

    template <typename T>
    void WriteObjects(QDataStream& stream, const std::vector<std::shared_ptr<T>>& objects)
    {
        stream << static_cast<quint32>(objects.size());
        for (const auto& object : objects)
            WriteObject(stream, object.get());
    }

    std::shared_ptr<Object> ReadObject(QDataStream& stream)
    {
        quint32 number = 0;
        stream >> number;
        if (number == 0)
            return nullptr;
        if (number <= m_objects.size())
            return m_objects[number - 1];
        Class kind = {};
        stream >> kind;
        const std::shared_ptr<Object> object = Make(kind);
        m_objects.push_back(object);
        object->Read(stream, *this);
        return object;
    }

    template <typename T>
    void ReadObjects(QDataStream& stream, std::vector<std::shared_ptr<T>>& objects)
    {
        quint32 count = 0;
        stream >> count;
        objects.reserve(count);
        for (quint32 i = 0; i < count; ++i)
            objects.push_back(std::static_pointer_cast<T>(ReadObject(stream)));
    }

    static std::shared_ptr<Object> Make(Class kind)
    {
        switch (kind) {
        case Class::Node: return std::make_shared<Node>();
        case Class::Measure: return std::make_shared<Measure>();
        default: return std::make_shared<Payload>();
        }
    }

    static std::shared_ptr<Node> Make(int count)
    {
        std::vector<std::shared_ptr<Payload>> payloads;
        for (int i = 0; i < kPayloadCount; ++i) {
            auto payload = std::make_shared<Payload>();
            payload->x = i;
            payload->y = 2.0 * i;
            payload->z = 3.0 * i;
            payload->text = QStringLiteral("payload");
            payloads.push_back(std::move(payload));
        }
        std::vector<Node*> nodes;
        nodes.reserve(static_cast<std::size_t>(count));
        std::shared_ptr<Node> root;
        for (int i = 0; i < count; ++i) {
            auto node = std::make_shared<Node>();
            node->text = QString::fromStdString(NodeName(i));
            auto measure = std::make_shared<Measure>();
            measure->name = QStringLiteral("length");
            measure->value = 0.25 * i;
            node->attributes.push_back(std::move(measure));
            if (i % 4 == 0)
                node->object = payloads[static_cast<std::size_t>(i / 4 % kPayloadCount)];
            nodes.push_back(node.get());
            if (i == 0) {
                root = std::move(node);
                continue;
            }
            node->parent = nodes[static_cast<std::size_t>((i - 1) / kFanOut)];
            node->parent->children.push_back(std::move(node));
        }
        return root;
    }

    static TreeSum Sum(const std::shared_ptr<Node>& root)
    {
        TreeSum sum;
        AddUp(*root, sum);
        return sum;
    }

    static void Save(const std::filesystem::path& path, const std::shared_ptr<Node>& root)
    {
        QFile file(QString::fromStdString(path.string()));
        file.open(QIODevice::WriteOnly);
        QDataStream stream(&file);
        QtPeer().WriteObject(stream, root.get());
        if (stream.status() != QDataStream::Ok || !file.flush())
            throw std::runtime_error("not saved");
    }

    static std::shared_ptr<Node> Load(const std::filesystem::path& path)
    {
        QFile file(QString::fromStdString(path.string()));
        file.open(QIODevice::ReadOnly);
        QDataStream stream(&file);
        const std::shared_ptr<Object> root = QtPeer().ReadObject(stream);
        if (stream.status() != QDataStream::Ok)
            throw std::runtime_error("not loaded");
        return std::static_pointer_cast<Node>(root);
    }

private:
    static void AddUp(const Node& node, TreeSum& sum)
    {
        const auto* payload = dynamic_cast<const Payload*>(node.object.get());
        const auto* measure = dynamic_cast<const Measure*>(node.attributes.at(0).get());
        sum.Add(node.text.back().unicode(), measure->value, payload != nullptr ? payload->x : 0);
        for (const auto& child : node.children)
            AddUp(*child, sum);
    }

    QHash<const Object*, quint32> m_numbers;
    std::vector<std::shared_ptr<Object>> m_objects;
};
