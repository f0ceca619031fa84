#include "core/tree/BBank.h"

#include "tests/operation/RecordingDispatcher.h"
#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

std::string Narrow(const WChar* text)
{
    return text != nullptr ? WString(text).AsString().CStr() : "null";
}

} // namespace

TEST(BBank, TellsPathsFromOtherTexts)
{
    const std::tuple<const WChar*, bool, bool> cases[] = {
        {nullptr, false, false},       {QD_W(""), false, false},    {QD_W("//"), true, false},
        {QD_W("/"), true, false},      {QD_W("///"), false, false}, {QD_W("//a"), false, false},
        {QD_W("a.b-c_1"), true, true}, {QD_W("/a/b"), true, false}, {QD_W("a//b"), false, false},
        {QD_W("a/"), false, false},    {QD_W("a b"), false, false}, {QD_W("\u00E4"), false, false},
        {QD_W("AZaz09"), true, true},  {QD_W("a@"), false, false},  {QD_W("`"), false, false},
        {QD_W("a/[/b"), false, false}, {QD_W("{"), false, false},   {QD_W("\uFF21"), false, false},
    };
    for (const auto& [path, isPath, isName] : cases) {
        EXPECT_EQ(BBank::PathSyntaxError(path), !isPath) << Narrow(path);
        EXPECT_EQ(BBank::CheckName(path), isName) << Narrow(path);
    }
}

TEST(BBank, ContainersAreMadeAsFarAsTheyAreMissing)
{
    const SP<BNode> root = Named(QD_W("root"));
    BBank bank(root);
    EXPECT_EQ(bank.Root(), root);
    BNode* b = bank.Container(QD_W("/a/b"));
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->Parent(), root->Child(0));
    EXPECT_EQ(b->GetObj(), nullptr);
    EXPECT_EQ(bank.Container(QD_W("A/B")), b);
    EXPECT_EQ(bank.Container(QD_W("//")), root.Get());
    EXPECT_EQ(bank.Container(QD_W("c/d e/f")), nullptr);
    EXPECT_EQ(bank.Container(QD_W("d/")), nullptr);
    EXPECT_EQ(TextOf(*root), "root(a(b) c d)") << "the names before a wrong one are there";
    for (const WChar* path : {QD_W(""), QD_W("/"), QD_W("//e"), static_cast<const WChar*>(nullptr)})
        EXPECT_EQ(bank.Container(path), nullptr) << Narrow(path);
    EXPECT_EQ(root->ChildNum(), 3);

    SP<BNode> found;
    EXPECT_TRUE(bank.ExistsContainer(QD_W("/A/b"), found));
    EXPECT_EQ(found, b);
    EXPECT_FALSE(bank.ExistsContainer(QD_W("/A/none"), found));
    EXPECT_EQ(found, nullptr);
    EXPECT_TRUE(bank.ExistsContainer(QD_W("//"), found));
    EXPECT_EQ(found, root);
    EXPECT_FALSE(bank.ExistsContainer(nullptr, found));
    EXPECT_FALSE(bank.ExistsContainer(QD_W("b")));

    BBank nowhere(nullptr);
    EXPECT_FALSE(nowhere.ExistsContainer(QD_W("//")) || nowhere.Container(QD_W("a")) != nullptr);
    EXPECT_TRUE(nowhere.Node(QD_W("//")) == nullptr && nowhere.Path(b).IsEmpty());
}

TEST(BBank, NodesToFillAreMadeBelowNodesWithoutAnObject)
{
    const SP<BNode> root = Named(QD_W("root"));
    BBank bank(root);
    BNode* a = bank.Node(QD_W("/a"));
    EXPECT_EQ(BBank::PATH(a), QD_W("/a")) << "nothing was there";
    EXPECT_EQ(BBank::PATH(bank.Node(QD_W("/a"))), QD_W("/a/001"));
    EXPECT_EQ(BBank::PATH(bank.Node(QD_W("/A"))), QD_W("/a/002"));
    EXPECT_EQ(BBank::PATH(bank.Node(QD_W("//"))), QD_W("/002")) << "its second child";
    a->SetObj(new CountedPayload);
    EXPECT_EQ(bank.Node(QD_W("/a")), a);
    EXPECT_EQ(bank.Node(QD_W("b c")), nullptr);
    EXPECT_EQ(bank.Node(nullptr), nullptr);
}

TEST(BBank, HandsOutNothingThatAReceiverTookAway)
{
    using Make = BNode* (*)(BBank&);
    const Make makers[] = {
        [](BBank& bank) { return bank.Container(QD_W("made/below")); },
        [](BBank& bank) { return bank.Container(QD_W("there/made")); },
        [](BBank& bank) { return bank.Node(QD_W("there")); },
    };
    using Edit = void (*)(BBank&);
    const Edit edits[] = {
        [](BBank& bank) { bank.Root()->Clear(); },
        [](BBank& bank) { bank = BBank(nullptr); },
        [](BBank& bank) { bank = BBank(TreeOf("other")); },
    };
    for (const Make make : makers) {
        for (const Edit edit : edits) {
            for (int at = 1; at <= 4; ++at) { // the message that the receiver waits for
                BBank bank(TreeOf("root(there)"));
                RecordingDispatcher dispatcher;
                int messages = 0;
                dispatcher.OnSend([&](const RecordingDispatcher::Message&) {
                    if (++messages == at)
                        edit(bank);
                });
                const BNode* const made = make(bank);
                EXPECT_EQ(made != nullptr, bank.Root() && bank.Root()->Includes(made));
            }
        }
    }
}

TEST(BBank, NodesAndObjectsHavePaths)
{
    const SP<BNode> top = Named(QD_W("top"));
    BBank whole(top);
    BNode* b = whole.Container(QD_W("root/a/b"));
    BNode* root = top->Child(0);
    const BBank bank(root);
    EXPECT_EQ(BBank::PATH(top.Get()), QD_W("//"));
    EXPECT_EQ(BBank::PATH(b), QD_W("/root/a/b"));
    EXPECT_EQ(whole.Path(b), QD_W("/root/a/b"));
    EXPECT_EQ(bank.Path(b), QD_W("/a/b")) << "from the bank's own root";
    EXPECT_EQ(bank.Path(root), QD_W("//"));
    const SP<BSmartObj> object(new CountedPayload);
    for (const WString& none : {BBank::PATH(nullptr), bank.Path(top.Get()), bank.Path(nullptr),
                                bank.PathOfObject(object.Get()), bank.PathOfObject(nullptr),
                                bank.PathOfObject(object->UniqueID())})
        EXPECT_TRUE(none.IsEmpty());
    whole.Container(QD_W("root/c"))->SetObj(object.Get());
    EXPECT_EQ(bank.PathOfObject(object.Get()), QD_W("/c"));
    b->SetObj(object.Get());
    root->Child(0)->Deactivate();
    EXPECT_EQ(bank.PathOfObject(object.Get()), QD_W("/a/b")) << "the first, active or not";
    EXPECT_EQ(whole.PathOfObject(object->UniqueID()), QD_W("/root/a/b"));
    b->SetText(QD_W("x y"));
    EXPECT_EQ(BBank::PATH(b), QD_W("/root/a/x y"));
}

TEST(BBank, PathsAreJoinedAndCut)
{
    const WChar* const joined[][3] = {
        {QD_W("//"), QD_W("a"), QD_W("/a")},     {QD_W("/x"), QD_W("/y"), QD_W("/x/y")},
        {QD_W("x"), QD_W("y/z"), QD_W("x/y/z")}, {QD_W("/x"), QD_W("//"), QD_W("")},
        {QD_W("//"), QD_W("/a"), QD_W("/a")},    {QD_W(""), QD_W("a"), QD_W("")},
        {QD_W("a"), QD_W(""), QD_W("")},         {QD_W("a b"), QD_W("c"), QD_W("")},
    };
    for (const auto& [base, rel, path] : joined)
        EXPECT_EQ(BBank::ConcatPath(base, rel), path) << Narrow(base) << Narrow(rel);

    const WChar* const cuts[][2] = {
        // null: none
        {QD_W("/a/b"), QD_W("/a")}, {QD_W("a/b/c"), QD_W("a/b")}, {QD_W("/a"), QD_W("//")},
        {QD_W("a"), QD_W("//")},    {QD_W("//"), nullptr},        {QD_W(""), nullptr},
        {nullptr, nullptr},
    };
    for (const auto& [path, parent] : cuts) {
        WString found = QD_W("as it was");
        EXPECT_EQ(BBank::ParentPath(path, found), parent != nullptr) << Narrow(path);
        EXPECT_EQ(found, parent != nullptr ? parent : QD_W("as it was")) << Narrow(path);
    }
    WString path = QD_W("/a/b/c");
    while (BBank::ParentPath(path, path)) {
    }
    EXPECT_EQ(path, QD_W("//")) << "a path may be cut in place";
}

TEST(BBank, APathLiesAboveAnother)
{
    const std::tuple<const WChar*, const WChar*, bool> cases[] = {
        {QD_W("//"), QD_W("a"), true},      {QD_W("/a"), QD_W("A/b"), true},
        {QD_W("a"), QD_W("/a/b/c"), true},  {QD_W("/a b"), QD_W("/A B/\u00E4"), true},
        {QD_W("//"), QD_W("//"), false},    {QD_W("/a"), QD_W("/A"), false},
        {QD_W("/a"), QD_W("/ab/c"), false}, {QD_W("/a/b"), QD_W("/a"), false},
        {QD_W("/a"), QD_W("//"), false},    {QD_W(""), QD_W("/a"), false},
        {QD_W("/a"), QD_W(""), false},      {QD_W("/"), QD_W("/a"), false},
    };
    for (const auto& [upper, lower, isAbove] : cases)
        EXPECT_EQ(BBank::IsGrandParent(upper, lower), isAbove)
            << Narrow(upper) << ' ' << Narrow(lower);
}
