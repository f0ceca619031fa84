#include "core/archive/BArchive.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeItr.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"
#include "tests/archive/ArchiveTestObjects.h"
#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

// A node record as a file could hold it, in the format 8.
struct NodeRecord {
    std::vector<int> children;
    int parent = 0;
    int object = 0;
    int childCount = -1; // -1: as many as there are
};

std::string Number4(int value)
{
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

std::string Reference(int index)
{
    return Number4(index) + Number4(0);
}

std::string RecordOf(int index, const std::string& label, const std::string& className, int version,
                     const std::string& payload)
{
    const auto text = [](const std::string& t) {
        return "S" + Number4(static_cast<int>(t.size())) + t;
    };
    return text(std::to_string(index)) + text(label) + text(className) + Number4(version) +
           Reference(static_cast<int>(payload.size())) + payload;
}

class BNodeArchiveTest : public testing::Test {
protected:
    BNodeArchiveTest() { CountedPayload::Register(); }

    // An archive of nodes with the indices 1, 2, ... (up to 9) and the labels "1", ...
    void Put(const std::vector<NodeRecord>& nodes)
    {
        std::string bytes = "S\3\0\0\0Doc\0\0\0\0S\x08\0\0\0BArchive\x08\0\0\0"s;
        int index = 0;
        for (const NodeRecord& node : nodes) {
            std::string payload = Reference(node.object);
            payload += Number4(node.childCount >= 0 ? node.childCount
                                                    : static_cast<int>(node.children.size()));
            for (const int child : node.children)
                payload += Reference(child);
            payload += Number4(0) + "S\0\0\0\0"s + Reference(node.parent) + "\1"s + Number4(1) +
                       "n\0"s + Number4(0);
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
        const std::string payload = Reference(0) + Number4(0) + Number4(0) + "S\1\0\0\0\x80"s +
                                    Reference(0) + "\2"s +
                                    (version == 0 ? ""s : Number4(1) + "w\0"s);
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

// The sanitizers watch for what a refused graph leaves behind.
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
        {"its own parent", {{{}, 1}}, false},
        {"above its parent", {{{2}, 2}, {{1}, 1}}, false},
        {"a circle of three", {{{2}, 3}, {{3}, 1}, {{1}, 2}}, false},
        {"a circle below", {{{2}}, {{3}, 3}, {{2}, 2}}, false},
        {"its own object", {{{}, 0, 1}}, false},
        {"the object of its child", {{{2}}, {{}, 1, 1}}, false},
        {"an object that is another child", {{{2, 3}}, {{}, 1, 3}, {{}, 1}}, true},
        {"twice in one list", {{{2, 2}}, {{}, 1}}, false},
        {"in two lists", {{{2, 3}}, {{3}, 1}, {{}, 1}}, false},
        {"a child of another parent", {{{2, 3}}, {{}, 3}, {{}, 1}}, false},
        {"a child without parent", {{{2}}, {{}, 0}}, false},
        {"a parent that does not know it", {{{}, 2, 2}, {{}, 0}}, false},
        {"a parent that is not there", {{{}, 7}}, true},
        {"a child that is not there", {{{7}}}, true},
        {"a count beyond the record", {{{2}, 0, 0, 1000}, {{}, 1}}, false},
        {"a count of all ones", {{{2}, 0, 0, 0x7FFFFFFF}, {{}, 1}}, false},
    };
    for (const Case& c : cases) {
        Put(c.nodes);
        const SP<BNode> node = TakeOut("1");
        EXPECT_EQ(static_cast<bool>(node), c.good) << c.what;
        EXPECT_TRUE(!node || node->ChildNum() == static_cast<int>(c.nodes[0].children.size()));
    }
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
    constexpr int kDepth = 1'000'000;
    constexpr int kWidth = 100'000;
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
