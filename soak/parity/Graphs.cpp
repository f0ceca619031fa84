// Documents: trees of named nodes with attributes, annotations, objects that several nodes share,
// derived classes, bit arrays, and objects that lead to one another.

#include "core/archive/BArchive.h"
#include "core/base/ClassRegistry.h"
#include "core/geometry/BBitArray.h"
#include "core/geometry/BFColor.h"
#include "core/tree/BNode.h"

#include "soak/parity/Sheet.h"

#include <filesystem>
#include <vector>

namespace {

constexpr const char* kDocument = "class ParityDocument";

/// A value of every kind that an archive writes, and a link.
struct Fields {
    explicit Fields(Dice* dice = nullptr)
    {
        if (dice == nullptr)
            return;
        narrow = RandomNarrow(*dice);
        wide = RandomText(*dice);
        real = RandomDouble(*dice);
        single = static_cast<float>(dice->Below(1000)) / 7;
        large = RandomInteger(*dice);
        integer = static_cast<int>(RandomInteger(*dice));
        small = static_cast<unsigned short>(dice->Next());
        letter = static_cast<char>(dice->Next());
        const auto red = static_cast<float>(dice->Below(256)) / 255;
        colour = BFColor(red, 0.5F, 1 - red, 1);
    }
    void Write(BArchive& archive, const BSmartObj* link) const
    {
        archive << narrow << wide << real << single << large << integer << small << letter << colour
                << link;
    }
    void Read(BArchive& archive)
    {
        archive >> narrow >> wide >> real >> single >> large >> integer >> small >> letter >>
            colour >> index;
        archive.TakeOutLater(reinterpret_cast<std::uintptr_t>(index));
    }
    [[nodiscard]] std::string Text() const
    {
        return Words(narrow, wide, real, single, large, integer, small, static_cast<int>(letter),
                     colour.Red(), colour.Blue());
    }

    BString narrow;
    WString wide;
    double real = 0;
    float single = 0;
    std::int64_t large = 0;
    int integer = 0;
    unsigned short small = 0;
    char letter = 0;
    BFColor colour;
    void* index = nullptr; // of the link, until associations are updated
};

class ParityItem : public BSmartObj {
public:
    explicit ParityItem(Dice* dice = nullptr)
        : fields(dice)
    {}
    void WriteData(BArchive& archive) const override { fields.Write(archive, link); }
    void UpdateAssociations(BArchive& archive) override
    {
        link = archive.QueryObject(fields.index).Get();
    }
    int Version() const override { return 3; }
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        const SP<ParityItem> item(new ParityItem);
        item->fields.Read(archive);
        return item;
    }

    Fields fields;
    BSmartObj* link = nullptr; // not counted: it may lead back here
};

class ParityAttribute : public BAttribute {
public:
    explicit ParityAttribute(WString name, int number = 0)
        : value(number)
        , m_name(name)
    {}
    WString Name() const override { return m_name; }
    void WriteData(BArchive& archive) const override { archive << m_name << value; }
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        WString name;
        int number = 0;
        archive >> name >> number;
        return new ParityAttribute(name, number);
    }

    const int value;

private:
    WString m_name;
};

/// A node with fields of its own behind those of its base.
class ParityNode : public BNode {
public:
    explicit ParityNode(Dice* dice = nullptr)
        : fields(dice)
    {}
    void WriteData(BArchive& archive) const override
    {
        BNode::WriteData(archive);
        fields.Write(archive, nullptr);
    }
    int Version() const override { return 5; }
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        const SP<ParityNode> node(new ParityNode);
        node->ReadData(archive);
        node->fields.Read(archive);
        return node;
    }

    Fields fields;
};

void Register()
{
    RegisterArchiveCallback(BSmartObj::ClassName(typeid(ParityItem)), &ParityItem::Read);
    RegisterArchiveCallback(BSmartObj::ClassName(typeid(ParityAttribute)), &ParityAttribute::Read);
    RegisterArchiveCallback(BSmartObj::ClassName(typeid(ParityNode)), &ParityNode::Read);
}

SP<BSmartObj> RandomBits(Dice& dice)
{
    const int planes = 1 + dice.Below(20), width = 1 + dice.Below(9), height = 1 + dice.Below(9);
    const SP<BBitArray> bits(new BBitArray(planes, width, height));
    for (int left = dice.Below(40); left > 0; --left) {
        const int x = dice.Below(width), y = dice.Below(height), plane = dice.Below(planes);
        bits->SetBit(x, y, plane);
    }
    return bits;
}

/// A tree with what is beside it; breaks the circles that it made in the end.
class Graph {
public:
    explicit Graph(Dice& dice)
        : m_dice(dice)
    {
        const int count = 1 + dice.Below(dice.OneIn(10) ? 200 : 20);
        for (int i = 1 + dice.Below(6); i > 0; --i)
            m_objects.push_back(RandomObject());
        for (int i = 0; i < count; ++i)
            AddNode();
        for (const SP<BSmartObj>& object : m_objects)
            if (auto* const item = dynamic_cast<ParityItem*>(object.Get()))
                item->link = dice.OneIn(2) ? m_objects[dice.Next() % m_objects.size()].Get()
                                           : m_nodes[dice.Next() % m_nodes.size()].Get();
    }
    ~Graph() { m_nodes.front()->Clear(); }
    Graph(const Graph&) = delete;
    Graph& operator=(const Graph&) = delete;

    void Save(const char* name)
    {
        BArchive archive(WString(QD_W(".\\")) + Wide(name), BArchive::ModeWrite, kDocument, 2);
        archive.Insert(m_nodes.front().Get(), "root");
        for (const SP<BSmartObj>& object : m_objects) {
            const BString label = RandomNarrow(m_dice);
            archive.Insert(object.Get(), m_dice.OneIn(2) ? label.CStr() : nullptr);
        }
        archive.Flush();
    }

private:
    SP<BSmartObj> RandomObject()
    {
        if (m_dice.OneIn(3))
            return RandomBits(m_dice);
        return new ParityItem(&m_dice);
    }
    void AddNode()
    {
        const SP<BNode> node(m_dice.OneIn(4) ? new ParityNode(&m_dice) : new BNode);
        node->SetText(RandomText(m_dice));
        if (!m_nodes.empty())
            m_nodes[m_dice.Next() % m_nodes.size()]->AddChild(node.Get(), m_dice.Below(3) - 1);
        m_nodes.push_back(node);
        for (int left = m_dice.Below(3); left > 0; --left) {
            const WString name = RandomText(m_dice);
            node->AddAttrib(new ParityAttribute(name, m_dice.Below(100)));
        }
        if (m_dice.OneIn(2))
            node->SetObj(m_objects[m_dice.Next() % m_objects.size()].Get());
        if (m_dice.OneIn(4))
            node->AddAnnotation(m_objects[m_dice.Next() % m_objects.size()].Get());
        if (m_dice.OneIn(8))
            node->Activate(false);
    }

    Dice& m_dice;
    std::vector<SP<BSmartObj>> m_objects;
    std::vector<SP<BNode>> m_nodes; // the root first
};

std::string TextOf(const BSmartObj* object)
{
    if (const auto* const bits = dynamic_cast<const BBitArray*>(object))
        return Words("bits", bits->Planes(), bits->Width(), bits->Height(),
                     ShowBytes({reinterpret_cast<const char*>(bits->Data()), bits->DataSize()}));
    if (const auto* const item = dynamic_cast<const ParityItem*>(object))
        return "item " + item->fields.Text() + (item->link == nullptr ? "" : " linked to ") +
               (item->link == nullptr ? "" : item->link->ClassName());
    return object == nullptr ? "none" : object->ClassName();
}

void TellNode(Sheet& sheet, const std::string& name, const BNode& node)
{
    std::string attributes;
    for (int i = 0; i < node.AttribNum(); ++i) {
        const auto* const attribute = dynamic_cast<ParityAttribute*>(node.Attrib(i));
        attributes += attribute == nullptr ? "?" : Words(attribute->Name(), attribute->value, "");
    }
    const auto* const derived = dynamic_cast<const ParityNode*>(&node);
    sheet.Tell("Graph.Node", name,
               Words(node.GetText(), node.ChildNum(), node.IsActive(), node.AnnotationNum(),
                     attributes, TextOf(node.GetObj()),
                     derived == nullptr ? "" : derived->fields.Text()));
    for (int i = 0; i < node.ChildNum(); ++i)
        TellNode(sheet, name, *node.Child(i));
}

} // namespace

void SaveGraphs(Sheet& sheet, std::uint64_t seed, int count)
{
    Register();
    for (int i = 1; i <= count; ++i) {
        sheet.BeginRound(static_cast<std::uint64_t>(i));
        Dice dice(seed, static_cast<std::uint64_t>(i));
        Graph(dice).Save("graph.qda");
        sheet.Tell("Graph", "", DigestOfFile("graph.qda"));
        if (i % 100 == 0)
            std::filesystem::rename("graph.qda", "graph-" + std::to_string(i) + ".qda");
    }
}

void ReadGraph(Sheet& sheet, const std::string& name)
{
    Register();
    BArchive archive(WString(QD_W(".\\")) + Wide(name), BArchive::ModeRead, kDocument, 2);
    const SP<BSmartObj> object = archive.TakeOut("root");
    auto* const root = dynamic_cast<BNode*>(object.Get());
    if (root == nullptr)
        return sheet.Tell("Graph.Node", name, "none");
    TellNode(sheet, name, *root);
}
