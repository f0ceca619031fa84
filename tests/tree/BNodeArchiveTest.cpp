#include "core/archive/BArchive.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeItr.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"
#include "tests/archive/ArchiveTestObjects.h"
#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

// A node record as a file could hold it, in the format 8.
struct NodeRecord {
    std::vector<int> children;
    int parent = 0;
    int object = 0;
    int childCount = kAsManyAsThereAre;
    int annotation = 0;

    static constexpr int kAsManyAsThereAre = -1;
};

std::string Reference(int index)
{
    return BytesOf(index) + BytesOf(0);
}

std::string RecordOf(int index, const std::string& label, const std::string& className, int version,
                     const std::string& payload)
{
    const auto text = [](const std::string& t) {
        return "S" + BytesOf(static_cast<int>(t.size())) + t;
    };
    return text(std::to_string(index)) + text(label) + text(className) + BytesOf(version) +
           Reference(static_cast<int>(payload.size())) + payload;
}

// A derived node with a payload of its own: nothing of its base, which it builds up itself. It
// refuses itself when a child that the file names cannot be its own.
class Feature : public BNode {
public:
    explicit Feature(const WChar* text = nullptr) { SetText(text); }

    void WriteData(BArchive& archive) const override
    {
        archive << GetText() << ChildNum();
        for (int i = 0; i < ChildNum(); ++i)
            archive << static_cast<const BSmartObj*>(Child(i));
        archive << static_cast<const BSmartObj*>(m_further) << GetObj();
    }
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        const SP<Feature> feature(new Feature);
        WString text;
        int count = 0;
        archive >> text >> count;
        feature->SetText(text);
        for (feature->m_indices.resize(static_cast<std::size_t>(count) + 2);
             void*& index : feature->m_indices) {
            archive >> index;
            archive.TakeOutLater(reinterpret_cast<std::uintptr_t>(index));
        }
        return feature;
    }
    void UpdateAssociations(BArchive& archive) override
    {
        BNode::UpdateAssociations(archive);
        SetObj(archive.QueryObject(m_indices.back()).Get());
        m_indices.pop_back();
        for (void* index : m_indices) {
            BNode* const child = dynamic_cast<BNode*>(archive.QueryObject(index).Get());
            m_isWhole = (child == nullptr || AddChild(child, -1)) && m_isWhole;
        }
    }
    bool VerifyObj() override { return BNode::VerifyObj() && m_isWhole; }
    int Version() const override { return 0; }
    static void Register() { RegisterArchiveCallback(ClassName(typeid(Feature)), &Read); }

    BNode* m_further = nullptr; // is written as one more child

private:
    std::vector<void*> m_indices;
    bool m_isWhole = true; // no child that the file names was refused
};

class BNodeArchiveTest : public testing::Test {
protected:
    BNodeArchiveTest()
    {
        CountedPayload::Register();
        Feature::Register();
    }

    void Save(BNode* node, const char* label)
    {
        BArchive archive(m_path, BArchive::ModeWrite, "class Doc", 0);
        archive.Insert(node, label);
        EXPECT_TRUE(archive.Flush());
    }

    // An archive of nodes with the indices 1, 2, ... (up to 9) and the labels "1", ...
    void Put(const std::vector<NodeRecord>& nodes)
    {
        std::string bytes = "S\3\0\0\0Doc\0\0\0\0S\x08\0\0\0BArchive\x08\0\0\0"s;
        int index = 0;
        for (const NodeRecord& node : nodes) {
            std::string payload = Reference(node.object);
            payload += BytesOf(node.childCount != NodeRecord::kAsManyAsThereAre
                                   ? node.childCount
                                   : static_cast<int>(node.children.size()));
            for (const int child : node.children)
                payload += Reference(child);
            payload += BytesOf(0) + "S\0\0\0\0"s + Reference(node.parent) + "\1"s + BytesOf(1) +
                       "n\0"s + BytesOf(node.annotation != 0 ? 1 : 0) +
                       (node.annotation != 0 ? Reference(node.annotation) : ""s);
            ++index;
            bytes += RecordOf(index, std::to_string(index), "class BNode", 2, payload);
        }
        WriteFileBytes(m_folder / "a.qda", bytes);
    }

    [[nodiscard]] SP<BNode> TakeOut(const char* label)
    {
        BArchive archive(m_path, BArchive::ModeRead, "class Doc", 0);
        return TakeOutAs<BNode>(archive, label);
    }

    TemporaryFolder m_folder;
    WString m_path = m_folder.Path("a.qda");
};

} // namespace

// That nothing is lost on the way is shown by the golden archives.
TEST_F(BNodeArchiveTest, APartBringsWhatIsBelowAndTheWholeFindsItAgain)
{
    SP<BNode> root = TreeOf("root(part(leaf))");
    SP<BNode> part = root->Child(0);
    part->Child(0)->SetObj(new CountedPayload);
    part->AddAnnotation(part->Child(0));
    {
        BArchive archive(m_path, BArchive::ModeWrite, "class Doc", 0);
        archive.Insert(part.Get(), "part"); // its parent goes along
        archive.Insert(root.Get(), "root");
    }
    root = part = nullptr;
    EXPECT_EQ(CountedPayload::alive, 0);

    BArchive archive(m_path, BArchive::ModeRead, "class Doc", 0);
    part = TakeOutAs<BNode>(archive, "part");
    ASSERT_TRUE(part);
    EXPECT_EQ(part->Parent(), nullptr);
    EXPECT_EQ(TextOf(*part), "part(leaf)");
    EXPECT_FALSE(part->AddAnnotation(part->Child(0))) << "it is the same node again";
    root = TakeOutAs<BNode>(archive, "root");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->Child(0), part);
    EXPECT_EQ(part->Parent(), root);
    root->AddChild(Named(QD_W("c")).Get(), 0);
    EXPECT_EQ(TextOf(*root), "root(part(leaf) c)");
}

TEST_F(BNodeArchiveTest, OlderPayloadsHaveNarrowTextAndNoAnnotations)
{
    for (const int version : {0, 1}) {
        SCOPED_TRACE(version);
        const std::string payload = Reference(0) + BytesOf(0) + BytesOf(0) + "S\1\0\0\0\x80"s +
                                    Reference(0) + "\2"s +
                                    (version == 0 ? ""s : BytesOf(1) + "w\0"s);
        WriteFileBytes(m_folder / "a.qda", "S\3\0\0\0Doc\0\0\0\0S\x08\0\0\0BArchive\x08\0\0\0"s +
                                               RecordOf(1, "1", "BNode", version, payload));
        const SP<BNode> node = TakeOut("1");
        ASSERT_TRUE(node);
        EXPECT_EQ(node->GetText(), version == 0 ? QD_W("\u20AC") : QD_W("w"));
        EXPECT_FALSE(node->IsActive());
        EXPECT_TRUE(node->IsLocked());
        EXPECT_EQ(node->AnnotationNum(), 0);
    }
}

// The child lists decide. The sanitizers watch for what a refused graph leaves behind.
TEST_F(BNodeArchiveTest, GraphsThatAreNoTreesAreRefused)
{
    struct Case {
        const char* what;
        std::vector<NodeRecord> nodes;
        bool good;
    };
    constexpr int kAll = NodeRecord::kAsManyAsThereAre;
    const Case cases[] = {
        {"a tree", {{{2, 3}}, {{}, 1}, {{}, 1}}, true},
        {"its own child", {{{1}, 1}}, false},
        {"above its parent", {{{2}, 2}, {{1}, 1}}, false},
        {"a circle of three", {{{2}, 3}, {{3}, 1}, {{1}, 2}}, false},
        {"a circle below", {{{2}}, {{3}, 3}, {{2}, 2}}, false},
        {"twice in one list", {{{2, 2}}, {{}, 1}}, false},
        {"in two lists", {{{2, 3}}, {{3}, 1}, {{}, 1}}, false},
        {"in two lists, its parent's first", {{{3, 2}}, {{3}, 1}, {{}, 1}}, false},
        {"its own parent", {{{}, 1}}, true},
        {"a child of another parent", {{{2, 3}}, {{}, 3}, {{}, 1}}, true},
        {"a child without parent", {{{2}}, {{}, 0}}, true},
        {"a parent that does not know it", {{{}, 2, 2}, {{}, 0}}, true},
        {"a parent that is not there", {{{}, 7}}, true},
        {"a child that is not there", {{{7}}}, true},
        {"its own object", {{{}, 0, 1}}, true},
        {"its own annotation", {{{}, 0, 0, kAll, 1}}, true},
        {"the object of its child", {{{2}}, {{}, 1, 1}}, true},
        {"the annotation of its child", {{{2}}, {{}, 1, 0, kAll, 1}}, true},
        {"each other's object", {{{}, 0, 2}, {{}, 0, 1}}, true},
        {"above its object", {{{}, 0, 2}, {{1}}}, true},
        {"an object that is another child", {{{2, 3}}, {{}, 1, 3}, {{}, 1}}, true},
        {"its own object and child", {{{1}, 0, 1}}, false},
        {"its own child, and other's objects", {{{1}, 0, 2}, {{}, 0, 3}, {{}, 0, 2}}, false},
        {"a count beyond the record", {{{2}, 0, 0, 1000}, {{}, 1}}, false},
        {"a count of all ones", {{{2}, 0, 0, 0x7FFFFFFF}, {{}, 1}}, false},
        {"a negative count", {{{}, 0, 0, -2}}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Put(c.nodes);
        const SP<BNode> node = TakeOut("1");
        ASSERT_EQ(static_cast<bool>(node), c.good);
        if (!node)
            continue;
        EXPECT_EQ(node->ChildNum(), static_cast<int>(c.nodes[0].children.size()));
        EXPECT_EQ(node->GetObj() != nullptr, c.nodes[0].object != 0);
        EXPECT_EQ(node->AnnotationNum(), c.nodes[0].annotation != 0 ? 1 : 0);
        EXPECT_TRUE(node->Parent() == nullptr || node->Parent() == node->GetObj());
        node->Clear(); // breaks the circles
    }
}

TEST_F(BNodeArchiveTest, ARefusedTreeLeavesTheNodesThatWereGivenAlone)
{
    Put({{{2, 3, 3}, 0, 4}, {{}, 1}, {{}, 1}, {{}, 0, 4}});
    BArchive archive(m_path, BArchive::ModeRead, "class Doc", 0);
    const SP<BNode> part = TakeOutAs<BNode>(archive, "2");
    ASSERT_TRUE(part);
    EXPECT_FALSE(archive.TakeOut("1"));
    EXPECT_EQ(part->Parent(), nullptr);
    EXPECT_EQ(archive.QueryObject(archive.IndexToPtr(2)), part);
    EXPECT_FALSE(archive.QueryObject(archive.IndexToPtr(3)));
    EXPECT_FALSE(archive.VerifyObjects());
    EXPECT_FALSE(archive.TakeOut("2")) << "the archive is spoiled";
}

// Wherever it stands, and whatever stands below it.
TEST_F(BNodeArchiveTest, ADerivedNodeMayHaveAPayloadOfItsOwn)
{
    const SP<BNode> root = TreeOf("r(a b)");
    const auto addFeature = [](BNode& parent) {
        const SP<Feature> feature(new Feature(QD_W("F")));
        EXPECT_TRUE(parent.AddChild(feature.Get(), -1));
        feature->AddChild(TreeOf("p(q)").Get(), -1);
        feature->AddChild(new Feature(QD_W("G")), -1);
        return feature.Get();
    };
    Append(*addFeature(*root)->Child(1), QD_W("x"));
    const SP<BNode> annotation = new Feature;
    addFeature(*annotation);
    root->AddAnnotation(annotation.Get());
    root->Child(0)->SetObj(addFeature(*root->Child(1)));
    root->Child(1)->AddAnnotation(root.Get());
    {
        BArchive archive(m_path, BArchive::ModeWrite, "class Doc", 0);
        archive.Insert(root.Get(), "root");
        archive.Insert(root->Child(2)->Child(0), "p");
    }
    for (const bool partFirst : {false, true}) {
        BArchive archive(m_path, BArchive::ModeRead, "class Doc", 0);
        const SP<BNode> part = partFirst ? TakeOutAs<BNode>(archive, "p") : nullptr;
        EXPECT_TRUE(!part || part->Parent() == nullptr);
        const SP<BNode> read = TakeOutAs<BNode>(archive, "root");
        ASSERT_TRUE(read);
        EXPECT_EQ(TextOf(*read), "r(a b(F(p(q) G)) F(p(q) G(x)))");
        EXPECT_EQ(read->Child(0)->GetObj(), read->Child(1)->Child(0));
        EXPECT_TRUE(!part || part == read->Child(2)->Child(0));
        BNodeAnnotationItr itr(*read);
        EXPECT_EQ(TextOf(*dynamic_cast<BNode*>(itr.Current())), "(F(p(q) G))");
        EXPECT_TRUE(read->Child(1)->RemoveAnnotation(read.Get())) << "it leads back to the root";
    }
    root->Clear();
}

// Two lists of which one is built by the derived class: whichever comes first, and a circle through
// the derived one's object.
TEST_F(BNodeArchiveTest, ADerivedNodeMakesNoCircleOfChildren)
{
    const SP<BNode> plain = Named(QD_W("p"));
    const SP<Feature> feature(new Feature(QD_W("F")));
    plain->AddChild(feature.Get(), -1);
    feature->m_further = plain.Get();
    feature->SetObj(feature.Get());
    feature->AddChild(new BNode(new CountedPayload), -1);
    Save(plain.Get(), "p");
    EXPECT_FALSE(TakeOut("p")) << "AddChild refuses";
    Save(feature.Get(), "F");
    EXPECT_FALSE(TakeOut("F")) << "the plain one's list has a node above it";
    EXPECT_EQ(CountedPayload::alive, 1) << "of what was refused nothing is left";
    feature->SetObj(nullptr);
}

TEST_F(BNodeArchiveTest, ADamagedChildLeavesANullEntry)
{
    Put({{{2, 3, 4}}, {{}, 1}, {{}, 1, 0, 99}, {{}, 1}});
    SP<BNode> root = TakeOut("1");
    ASSERT_TRUE(root);
    EXPECT_EQ(TextOf(*root), "n(n - n)");
    EXPECT_EQ(root->Child(0)->Sister(), root->Child(2));
    EXPECT_EQ(root->Child(QD_W("n")), root->Child(0));
    EXPECT_TRUE(root->AddChild(new BNode, 0));
    EXPECT_EQ(TextOf(*root), "n(n  - n)");
    root->RemoveChild(0);
    root->RemoveChild(0);
    EXPECT_TRUE(root->AddChild(Named(QD_W("s")).Get(), 0)) << "behind the null entry";
    EXPECT_EQ(TextOf(*root), "n(- s n)");
    EXPECT_TRUE(root->RemoveChild(0)) << "a null entry like any other";
    EXPECT_EQ(TextOf(*root), "n(s n)");
    root->RemoveChildren();

    Put({{{2, 3, 4, 5}}, {{}, 1}, {{}, 1}, {{}, 1}, {{}, 1, 0, 99}});
    root = TakeOut("1");
    ASSERT_TRUE(root);
    EXPECT_EQ(TextOf(*root), "n(n n n -)");
    root->RemoveChild(0);
    for (int i = 0; i < 20; ++i)
        Append(*root, QD_W("n"));
    EXPECT_EQ(root->Child(QD_W("N")), root->Child(0)) << "the first, also by an index";
}

TEST_F(BNodeArchiveTest, DepthAndWidthDoNotMatter)
{
    constexpr int kDepth = 300'000;
    constexpr int kWidth = 50'000;
    SP<BNode> root(new BNode);
    BNode* bottom = AppendLine(*root, kDepth);
    for (int i = 0; i < kWidth; ++i)
        bottom->AddChild(new BNode, -1);
    BArchive(m_path, BArchive::ModeWrite, "class Doc", 0).Insert(root.Get(), "root");
    root = nullptr;
    root = TakeOut("root");
    ASSERT_TRUE(root);
    int count = 0;
    for (BNodeItr itr(root.Get(), BNodeItr::All); itr; ++itr)
        ++count;
    EXPECT_EQ(count, 1 + kDepth + kWidth);
}
