#include "core/archive/BArchive.h"
#include "core/geometry/BBitArray.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeItr.h"

#include "tests/FileBytes.h"
#include "tests/archive/ArchiveTestObjects.h"
#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

using namespace std::string_literals;

namespace {

// A node record as a file could hold it, in the format 8.
struct NodeRecord {
    std::vector<int> children;
    int parent = 0;
    int object = 0;
    int annotation = 0;
    int annotationCount = 1;            // if there is one, how often
    std::optional<int> childCount = {}; // if not as many as there are
    std::vector<int> attributes = {};
};

std::string Reference(int index)
{
    return BytesOf(static_cast<std::uint64_t>(index));
}

std::string PayloadOf(const NodeRecord& node)
{
    const int count = node.childCount.value_or(static_cast<int>(node.children.size()));
    std::string bytes = Reference(node.object) + BytesOf(count);
    for (const int child : node.children)
        bytes += Reference(child);
    bytes += BytesOf(static_cast<int>(node.attributes.size()));
    for (const int attribute : node.attributes)
        bytes += Reference(attribute);
    bytes += TextBytes("") + Reference(node.parent) + "\1" + BytesOf(1) + "n\0"s;
    bytes += BytesOf(node.annotation == 0 ? 0 : node.annotationCount);
    for (int i = 0; node.annotation != 0 && i < node.annotationCount; ++i)
        bytes += Reference(node.annotation);
    return bytes;
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

// A derived node that adds something of its own before the record's references are objects.
class Prepared : public BNode {
public:
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        const SP<Prepared> prepared(new Prepared);
        if (annotatesFirst)
            prepared->AddAnnotation(new CountedPayload);
        prepared->ReadData(archive);
        if (!annotatesFirst)
            prepared->AddAnnotation(new CountedPayload);
        prepared->AddAttrib(new NumberAttribute(QD_W("own"), 1));
        prepared->AddChild(Named(QD_W("own")).Get(), -1);
        return prepared;
    }
    static void Register() { RegisterArchiveCallback(ClassName(typeid(Prepared)), &Read); }

    static inline bool annotatesFirst = false;
};

class BNodeArchiveTest : public ArchiveFileTest {
protected:
    BNodeArchiveTest()
    {
        CountedPayload::Register();
        NumberAttribute::Register();
        Feature::Register();
        Prepared::Register();
    }

    // An archive of nodes with the index texts "1", "2", ...
    void PutNodes(const std::vector<NodeRecord>& nodes)
    {
        std::string bytes = HeaderBytes("class Doc", 7);
        for (std::uint64_t index = 0; const NodeRecord& node : nodes) {
            const std::string text = BSmartObj::Id(++index).CStr();
            bytes += RecordBytes(text, "", "class BNode", 2, PayloadOf(node));
        }
        Put(bytes);
    }

    [[nodiscard]] SP<BNode> TakeOut(const char* label)
    {
        BArchive archive = Opened();
        return TakeOutAs<BNode>(archive, label);
    }
};

constexpr const char* kOddLabel = " label with blanks \xE4";

// Texts, counts and labels of unusual kinds.
void WriteOdd(BArchive& archive)
{
    const WChar texts[][8] = {
        {0},
        {QD_W(' ')},
        {QD_W('/')},
        {0xD83D, 0xDE00},                         // a pair of surrogates
        {0xDC00, 0xD800},                         // surrogates that are none
        {0xFEFF, 0xFFFF, 0x00AD},                 // marks and ignorables
        {0x20AC, 0x00E9, 0x0391, 0x221E, 0x4E2D}, // of the code page, look-alikes, neither
        {1, 9, 10, 13, 127, 0x80},
    };
    const SP<BNode> root = Named(QD_W("odd"));
    for (const auto& text : texts)
        Append(*root, text);
    const SP<BBitArray> bits(new BBitArray(9, 3, 2));
    bits->SetBit(1, 1, 8);
    BNode* shared = root->Child(1);
    shared->SetObj(bits.Get());
    shared->AddAnnotation(bits.Get());
    shared->AddAnnotation(new BBitArray(1, 0, 0));
    root->Child(2)->SetObj(bits.Get());
    root->Child(2)->AddAttrib(new NumberAttribute(QD_W(""), std::numeric_limits<int>::min()));
    root->Child(2)->AddAttrib(new NumberAttribute(texts[3], -1));
    root->Child(3)->Deactivate();
    root->Child(4)->Lock(true);
    archive.Insert(root.Get(), "2");
    archive.Insert(shared, kOddLabel);
}

} // namespace

// What is read and written again is the same file: nothing was lost on the way.
TEST_F(BNodeArchiveTest, IsWrittenAndReadTheSameOnEachPlatform)
{
    constexpr const char* kDocClass = "class Odd\xDF";
    constexpr int kDocVersion = std::numeric_limits<int>::min();
    const std::string kept = FileBytes(GoldenFile("archive/odd.qda"));
    EXPECT_TRUE(Written(&WriteOdd, kDocClass, kDocVersion) == kept);
    Put(kept);
    SP<BSmartObj> root, shared;
    {
        BArchive archive = Opened(kDocClass, kDocVersion);
        root = archive.TakeOut("2");
        shared = archive.TakeOut(kOddLabel);
    }
    const auto write = [&](BArchive& archive) {
        archive.Insert(root.Get(), "2");
        archive.Insert(shared.Get(), kOddLabel);
    };
    EXPECT_TRUE(Written(write, kDocClass, kDocVersion) == kept);
}

TEST_F(BNodeArchiveTest, TextsOfAnyLengthStandInBothEncodings)
{
    for (const int length : {0, 1, 127, 128, 129, 5000, 300'000}) {
        SCOPED_TRACE(length);
        const SP<BNode> node(new BNode);
        WString text;
        text.Fill(static_cast<std::size_t>(length), QD_W('\u20AC'));
        node->SetText(text);
        const std::string file =
            Written([&](BArchive& archive) { archive.Insert(node.Get(), "n"); });
        const std::string narrow(static_cast<std::size_t>(length), '\x80');
        EXPECT_TRUE(file.find(Reference(0) + BytesOf(0) + BytesOf(0) + TextBytes(narrow) +
                              Reference(0) + "\1" + BytesOf(length)) != std::string::npos);
        const SP<BNode> read = TakeOut("n");
        ASSERT_TRUE(read);
        EXPECT_EQ(read->GetText(), text);
    }
}

TEST_F(BNodeArchiveTest, OlderPayloadsHaveNarrowTextAndNoAnnotations)
{
    for (const int version : {0, 1}) {
        SCOPED_TRACE(version);
        Put(HeaderBytes("class Doc", 7) +
            RecordBytes("1", "", "BNode", version,
                        Reference(0) + BytesOf(0) + BytesOf(0) + TextBytes("\x80") + Reference(0) +
                            "\2" + (version == 0 ? ""s : BytesOf(1) + "w\0"s)));
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
    const Case cases[] = {
        {"a tree", {{{2, 3}}, {{}, 1}, {{}, 1}}, true},
        {"its own child", {{{1}, 1}}, false},
        {"above its parent", {{{2}, 2}, {{1}, 1}}, false},
        {"a circle below", {{{2}}, {{3}, 3}, {{2}, 2}}, false},
        {"twice in one list", {{{2, 2}}, {{}, 1}}, false},
        {"in two lists", {{{2, 3}}, {{3}, 1}, {{}, 1}}, false},
        {"in two lists, its parent's first", {{{3, 2}}, {{3}, 1}, {{}, 1}}, false},
        {"a child of another parent", {{{2, 3}}, {{}, 3}, {{}, 1}}, true},
        {"a parent that does not know it", {{{}, 2, 2}, {{}, 0}}, true},
        {"a child that is not there", {{{7}}}, true},
        {"its own annotation", {{{}, 0, 0, 1}}, true},
        {"the object of its child", {{{2}}, {{}, 1, 1}}, true},
        {"the annotation of its child", {{{2}}, {{}, 1, 0, 1}}, true},
        {"an object that is another child", {{{2, 3}}, {{}, 1, 3}, {{}, 1}}, true},
        {"its own object and child", {{{1}, 0, 1}}, false},
        {"its own child, and other's objects", {{{1}, 0, 2}, {{}, 0, 3}, {{}, 0, 2}}, false},
        {"a count beyond the record", {{{2}, 0, 0, 0, 1, 1000}, {{}, 1}}, false},
        {"a count of all ones", {{{2}, 0, 0, 0, 1, 0x7FFFFFFF}, {{}, 1}}, false},
        {"a negative count", {{{}, 0, 0, 0, 1, -2}}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        PutNodes(c.nodes);
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

TEST_F(BNodeArchiveTest, NullEntriesKeepTheirPlacesThroughARandomHistory)
{
    constexpr int kEntries = 200;
    std::vector<NodeRecord> records(1);
    for (int entry = 0; entry < kEntries; ++entry) {
        const bool isNode = entry % 5 == 3;
        records[0].children.push_back(isNode ? static_cast<int>(records.size()) + 1 : 0);
        if (isNode)
            records.push_back({{}, 1});
    }
    PutNodes(records);
    const SP<BNode> root = TakeOut("1");
    ASSERT_TRUE(root && root->ChildNum() == kEntries);
    std::vector<const BNode*> expected;
    for (int entry = 0; entry < kEntries; ++entry)
        expected.push_back(root->Child(entry));
    std::mt19937 random(1);
    while (!expected.empty()) {
        const auto place = static_cast<std::ptrdiff_t>(random() % expected.size());
        if (random() % 4 == 0) {
            const bool isBehindFirst = random() % 2 == 0;
            const SP<BNode> child(new BNode);
            ASSERT_TRUE(root->AddChild(child.Get(), isBehindFirst ? 0 : -1));
            expected.insert(isBehindFirst ? expected.begin() + 1 : expected.end(), child.Get());
        } else {
            static_cast<void>(root->RemoveChild(static_cast<int>(place)));
            expected.erase(expected.begin() + place);
        }
        ASSERT_EQ(root->ChildNum(), static_cast<int>(expected.size()));
        const BNode* next = nullptr;
        for (auto i = static_cast<int>(expected.size()); i-- > 0;) {
            const BNode* const child = root->Child(i);
            ASSERT_EQ(child, expected[static_cast<std::size_t>(i)]);
            ASSERT_TRUE(child == nullptr || child->Sister() == next);
            next = child != nullptr ? child : next;
        }
    }
}

TEST_F(BNodeArchiveTest, ARefusedTreeLeavesTheNodesThatWereGivenAlone)
{
    PutNodes({{{2, 3, 3}, 0, 4}, {{}, 1}, {{}, 1}, {{}, 0, 4}});
    BArchive archive = Opened();
    const SP<BNode> part = TakeOutAs<BNode>(archive, "2");
    ASSERT_TRUE(part);
    EXPECT_FALSE(archive.TakeOut("1"));
    EXPECT_EQ(part->Parent(), nullptr);
    EXPECT_EQ(archive.QueryObject(archive.IndexToPtr(2)), part);
    EXPECT_FALSE(archive.QueryObject(archive.IndexToPtr(3)));
    EXPECT_FALSE(archive.VerifyObjects());
    EXPECT_FALSE(archive.TakeOut("2")) << "the archive is spoiled";
}

// A derived node with a payload of its own may stand anywhere, whatever stands below it.
TEST_F(BNodeArchiveTest, APartBringsWhatIsBelowAndTheWholeFindsItAgain)
{
    const auto feature = [](const char* below) {
        const SP<BNode> made(new Feature(QD_W("F")));
        EXPECT_TRUE(made->AddChild(TreeOf(below).Get(), -1));
        return made;
    };
    const SP<BNode> root = TreeOf("r(a)");
    root->AddChild(feature("p(q)").Get(), -1);
    root->Child(1)->AddChild(feature("x").Get(), -1);
    root->Child(0)->SetObj(feature("y").Get());
    root->AddAnnotation(feature("z").Get());
    Written([&](BArchive& archive) {
        archive.Insert(root->Child(0), "a"); // its parent goes along
        archive.Insert(root.Get(), "root");
        archive.Insert(root->Child(1)->Child(0), "p");
    });
    for (const auto& [label, text] :
         {std::pair("root", "r(a F(p(q) F(x)))"), {"p", "p(q)"}, {"a", "a"}}) {
        BArchive archive = Opened();
        const SP<BNode> part = TakeOutAs<BNode>(archive, label);
        ASSERT_TRUE(part);
        EXPECT_EQ(part->Parent(), nullptr);
        EXPECT_EQ(TextOf(*part), text);
        const SP<BNode> read = TakeOutAs<BNode>(archive, "root");
        ASSERT_TRUE(read);
        EXPECT_EQ(TextOf(*read), "r(a F(p(q) F(x)))");
        EXPECT_TRUE(read->Includes(part.Get())) << "it is the same node again";
        EXPECT_EQ(TextOf(dynamic_cast<BNode&>(*read->Child(0)->GetObj())), "F(y)");
        EXPECT_EQ(TextOf(dynamic_cast<BNode&>(*BNodeAnnotationItr(*read).Current())), "F(z)");
    }
}

TEST_F(BNodeArchiveTest, WhatADerivedNodeAddsInReadStandsBeforeWhatTheRecordNames)
{
    const SP<BNode> saved(new Prepared);
    saved->AddAnnotation(new CountedPayload);
    saved->AddAttrib(new NumberAttribute(QD_W("saved"), 2));
    Append(*saved, QD_W("saved"));
    Written([&](BArchive& archive) { archive.Insert(saved.Get(), "node"); });
    for (const bool annotatesFirst : {true, false}) {
        Prepared::annotatesFirst = annotatesFirst;
        const SP<BNode> node = TakeOut("node");
        ASSERT_TRUE(node);
        EXPECT_EQ(TextOf(*node), "(own saved)");
        ASSERT_EQ(node->AttribNum(), 2);
        EXPECT_EQ(node->Attrib(0)->Name(), QD_W("own"));
        EXPECT_EQ(node->Attrib(1)->Name(), QD_W("saved"));
        EXPECT_EQ(node->AnnotationNum(), 2);
    }
}

TEST_F(BNodeArchiveTest, InAnArchiveThatIsOfVersion6ReferencesHave32Bits)
{
    const SP<BNode> node(new BNode);
    node->AddChild(new BNode, -1);
    ArchiveOfVersion6 archive(m_path, BArchive::ModeWrite, "class Doc", 7);
    archive.Insert(node.Get(), "n");
    EXPECT_TRUE(archive.Flush());
    const std::string file = FileBytes(m_folder / "a.qda"), none = BytesOf(0);
    const std::string rest = "\1" + none + none;
    EXPECT_NE(file.find(none + BytesOf(1) + BytesOf(2) + none + TextBytes("") + none + rest),
              std::string::npos);
    EXPECT_TRUE(file.ends_with(none + none + none + TextBytes("") + BytesOf(1) + rest));
}

TEST_F(BNodeArchiveTest, ReferencesHave64Bits)
{
    Put(HeaderBytes("class Doc", 7) +
        RecordBytes("1", "", "class BNode", 2, PayloadOf({{-1, 2}, 0, -1})) +
        RecordBytes("2", "", "class BNode", 2, PayloadOf({})) +
        RecordBytes("ffffffffffffffff", "", "class BNode", 2, PayloadOf({})));
    const SP<BNode> node = TakeOut("1");
    ASSERT_TRUE(node);
    EXPECT_EQ(TextOf(*node), "n(n n)");
    EXPECT_EQ(node->GetObj(), node->Child(0));
    node->Clear();
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
    for (BNode* const top : {plain.Get(), static_cast<BNode*>(feature.Get())}) {
        Written([&](BArchive& archive) { archive.Insert(top, "top"); });
        EXPECT_FALSE(TakeOut("top")); // AddChild refuses; the plain one's list has a node above it
    }
    EXPECT_EQ(CountedPayload::alive, 1) << "of what was refused nothing is left";
    feature->SetObj(nullptr);
}

TEST_F(BNodeArchiveTest, ADamagedChildLeavesANullEntry)
{
    PutNodes({{{2, 3, 4}}, {{}, 1}, {{}, 1, 0, 0, 1, 99}, {{}, 1}});
    SP<BNode> root = TakeOut("1");
    ASSERT_TRUE(root);
    EXPECT_EQ(TextOf(*root), "n(n - n)");
    EXPECT_EQ(root->Child(0)->Sister(), root->Child(2));
    EXPECT_EQ(root->Child(QD_W("n")), root->Child(0));
    root->RemoveChild(0);
    EXPECT_TRUE(root->AddChild(Named(QD_W("s")).Get(), 0)) << "behind the null entry";
    EXPECT_EQ(TextOf(*root), "n(- s n)");
    EXPECT_TRUE(root->RemoveChild(0)) << "a null entry like any other";
    EXPECT_EQ(TextOf(*root), "n(s n)");

    PutNodes({{{2, 4, 3}}, {{}, 1}, {{}, 1, 0, 0, 1, 99}, {{}, 1}});
    root = TakeOut("1");
    ASSERT_TRUE(root);
    for (int i = 0; i < 40; ++i)
        Append(*root, QD_W("n"));
    EXPECT_EQ(root->Child(QD_W("N")), root->Child(0)) << "the first, also by an index";
    EXPECT_TRUE(root->RemoveChild(1) && root->RemoveChild(1)) << "the null entry behind a hole";
    EXPECT_EQ(root->ChildNum(), 41);
    EXPECT_NE(root->Child(1), nullptr);

    PutNodes({{{}, 0, 0, 0, 1, {}, {9, 1}}}); // none there, and one that is no attribute
    root = TakeOut("1");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->AttribNum(), 2);
    EXPECT_FALSE(root->Attrib(0) || root->Attrib(QD_W("t")) || BNodeAttribItr(*root));
    EXPECT_TRUE(root->AddAttrib(new NumberAttribute(QD_W("t"), 1)) && root->RemoveAttrib(0));
    EXPECT_EQ(BNodeAttribItr(*root).Current(), root->Attrib(1)) << "a null entry is passed over";

    PutNodes({{{}, 0, 0, 9}});
    root = TakeOut("1");
    ASSERT_TRUE(root);
    EXPECT_FALSE(BNodeAnnotationItr(*root));
    const SP<BSmartObj> remark(new CountedPayload);
    root->AddAnnotation(remark.Get());
    EXPECT_EQ(BNodeAnnotationItr(*root).Current(), remark) << "a null annotation is passed over";

    constexpr int kMany = 20; // they have an index
    PutNodes({{{}, 0, 0, 2, kMany}, {}});
    root = TakeOut("1");
    ASSERT_TRUE(root);
    const SP<BSmartObj> same = BNodeAnnotationItr(*root).Current();
    int walked = 0;
    for (BNodeAnnotationItr itr(*root); itr && walked <= kMany; ++itr)
        ++walked;
    EXPECT_EQ(walked, kMany) << "the same one again and again";
    while (root->RemoveAnnotation(same.Get()))
        --walked;
    EXPECT_EQ(walked, 0);
}

// It takes minutes when each that names the root is followed up to it.
TEST_F(BNodeArchiveTest, ALineWhoseNodesAllNameItsRootIsRefused)
{
    constexpr int kDepth = 50'000;
    std::vector<NodeRecord> nodes(kDepth, NodeRecord{{2, 1}});
    for (int i = 1; i < kDepth; ++i)
        nodes[static_cast<std::size_t>(i)].children[0] = i + 2;
    nodes.back().children.assign(kDepth, 1);
    PutNodes(nodes);
    EXPECT_FALSE(TakeOut("1"));
}

TEST_F(BNodeArchiveTest, DepthAndWidthDoNotMatter)
{
    constexpr int kDepth = 300'000;
    constexpr int kWidth = 50'000;
    SP<BNode> root(new BNode);
    BNode* bottom = AppendLine(*root, kDepth);
    for (int i = 0; i < kWidth; ++i)
        bottom->AddChild(new BNode, -1);
    Written([&](BArchive& archive) { archive.Insert(root.Get(), "root"); });
    root = nullptr;
    root = TakeOut("root");
    ASSERT_TRUE(root);
    int count = 0;
    for (BNodeItr itr(root.Get(), BNodeItr::All); itr; ++itr)
        ++count;
    EXPECT_EQ(count, 1 + kDepth + kWidth);
}
