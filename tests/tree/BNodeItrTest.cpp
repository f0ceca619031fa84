#include "core/tree/BNodeItr.h"

#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

static_assert(BNodeItr::EMode{7} != BNodeItr::All); // any value may be asked for

/// The texts of the nodes that are left to walk, with a blank between them.
WString Rest(BNodeItr itr)
{
    WString texts;
    for (; itr; ++itr) {
        if (!texts.IsEmpty())
            texts += QD_W(' ');
        texts += itr.Current()->GetText();
    }
    return texts;
}

/// S with the children A (A1, A2 with A21) and B (B1).
struct SmallTree {
    SP<BNode> s = TreeOf("S(A(A1 A2(A21)) B(B1))");
    BNode* a = s->Child(0);
    BNode* b = s->Child(1);
    BNode* a1 = a->Child(0);
    SP<BNode> a2 = a->Child(1);
    BNode* b1 = b->Child(0);
};

} // namespace

TEST(BNodeItr, WalksASubtreeAndNothingElse)
{
    const SmallTree tree;
    EXPECT_EQ(Rest(BNodeItr(tree.a2.Get(), BNodeItr::All)), QD_W("A2 A21"));
    EXPECT_EQ(Rest(BNodeItr(tree.b1, BNodeItr::All)), QD_W("B1"));
    EXPECT_EQ(Rest(BNodeItr(nullptr, BNodeItr::All)), QD_W(""));
    tree.a->Deactivate();
    tree.a2->Deactivate();
    EXPECT_EQ(Rest(BNodeItr(tree.s.Get(), BNodeItr::All)), QD_W("S A A1 A2 A21 B B1"));
    EXPECT_EQ(Rest(BNodeItr(tree.s.Get(), BNodeItr::ActiveOnly)), QD_W("S B B1"));
    EXPECT_EQ(Rest(BNodeItr(tree.a, BNodeItr::ActiveOnly)), QD_W("A A1"))
        << "the start in any case";
}

TEST(BNodeItr, CopiesWalkOnTheirOwn)
{
    const SmallTree tree;
    BNodeItr itr(tree.s.Get(), BNodeItr::All);
    ++(++itr);
    BNodeItr copy = itr;
    EXPECT_EQ(Rest(itr), QD_W("A1 A2 A21 B B1"));
    while (itr)
        ++itr;
    EXPECT_FALSE(itr.IsValid() || ++itr) << "nothing happens at the end";
    EXPECT_EQ(copy.Current(), tree.a1);
    itr = std::move(copy);
    EXPECT_EQ(itr++, tree.a1);
    EXPECT_EQ(itr.Current(), tree.a2);
    tree.s->Deactivate();
    itr.Restart();
    EXPECT_EQ(itr.Current(), tree.s);
}

TEST(BNodeItr, StaysSafeWhenTheTreeIsEditedElsewhere)
{
    struct Case {
        const char* what;
        const WChar* stand;
        void (*edit)(SmallTree&);
        const WChar* rest; // behind the node at which the iterator stands
    };
    const Case cases[] = {
        {"added below", QD_W("B1"), [](SmallTree& t) { Append(*t.b1, QD_W("new")); }, QD_W("new")},
        {"next moved", QD_W("A1"),
         [](SmallTree& t) { t.a->RemoveChild(1), t.b->AddChild(t.a2.Get(), -1); },
         QD_W("B B1 A2 A21")},
        {"taken out", QD_W("A2"), [](SmallTree& t) { t.a->RemoveChild(1); }, QD_W("A21")},
        {"moved", QD_W("A2"),
         [](SmallTree& t) { t.a->RemoveChild(1), t.s->AddChild(t.a2.Get(), 0); }, QD_W("A21 B B1")},
        {"held by the iterator alone", QD_W("A"), [](SmallTree& t) { t.s->RemoveChild(t.a); },
         QD_W("A1")},
        {"parent taken out", QD_W("A1"), [](SmallTree& t) { t.s->RemoveChild(t.a); }, QD_W("")},
        {"tree dropped", QD_W("A2"), [](SmallTree& t) { t.s = nullptr; }, QD_W("A21 B B1")},
        {"next deactivated", QD_W("A1"), [](SmallTree& t) { t.a2->Deactivate(); }, QD_W("B B1")},
    };
    for (const Case& c : cases) {
        SmallTree tree;
        BNodeItr itr(tree.s.Get(), BNodeItr::ActiveOnly);
        while (itr && itr.Current()->GetText() != c.stand)
            ++itr;
        ASSERT_TRUE(itr) << c.what;
        c.edit(tree);
        ++itr;
        EXPECT_EQ(Rest(itr), c.rest) << c.what;
    }
}

namespace {

/// Walks six elements of a node, which `add` and `remove` give to it and take away.
template <class Itr, class Element, class Add, class Remove>
void WalkWhateverHappens(std::vector<SP<Element>> elements, Add add, Remove remove)
{
    const SP<BNode> node(new BNode);
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_TRUE(add(*node, elements[i].Get()));
    Itr itr(*node);
    EXPECT_EQ(itr++, elements[0]);
    itr.RemoveCurrent();
    EXPECT_EQ(itr.Current(), elements[2]);
    remove(*node, elements[3].Get());
    ++itr;
    EXPECT_EQ(itr.Current(), elements[4]) << "the one between was removed elsewhere";
    add(*node, elements[5].Get());
    itr.RemoveCurrent();
    EXPECT_EQ(itr.Current(), elements[5]) << "it was added behind";
    Itr copy = itr;
    remove(*node, elements[5].Get());
    const SP<BNode> other(new BNode);
    for (const std::size_t moved : {5u, 1u})
        EXPECT_TRUE(add(*other, elements[moved].Get()));
    elements.pop_back();
    EXPECT_EQ(itr.Current()->RefCount(), 3) << "the two iterators hold it as the other node does";
    ++itr;
    EXPECT_FALSE(itr.IsValid()) << "moved elsewhere";
    copy.RemoveCurrent();
    EXPECT_FALSE(copy);
    for (itr.Restart(); itr;)
        itr.RemoveCurrent();
    itr.RemoveCurrent();
    ++itr;
    EXPECT_FALSE(itr) << "nothing happens at the end";
    EXPECT_FALSE(Itr(*node));
}

} // namespace

TEST(BNodeItr, OfPartsWalkWhatTheNodeHoldsWhateverHappensToIt)
{
    std::vector<SP<BNode>> children;
    std::vector<SP<BAttribute>> attributes;
    std::vector<SP<BSmartObj>> annotations;
    for (int i = 0; i < 6; ++i) {
        children.emplace_back(new BNode);
        attributes.emplace_back(new NumberAttribute(WString::FromInt(i), 0));
        annotations.emplace_back(new CountedPayload);
    }
    WalkWhateverHappens<BNodeChildItr>(
        std::move(children), [](BNode& node, BNode* child) { return node.AddChild(child, -1); },
        [](BNode& node, BNode* child) { node.RemoveChild(child); });
    WalkWhateverHappens<BNodeAttribItr>(
        std::move(attributes), [](BNode& node, BAttribute* added) { return node.AddAttrib(added); },
        [](BNode& node, BAttribute* removed) { node.RemoveAttrib(removed); });
    WalkWhateverHappens<BNodeAnnotationItr>(
        std::move(annotations),
        [](BNode& node, BSmartObj* added) { return node.AddAnnotation(added); },
        [](BNode& node, BSmartObj* removed) { node.RemoveAnnotation(removed); });
}

TEST(BNodeAttribItr, MayBeSteppedWhileItsListIsEmptied)
{
    const SP<BNode> node(new BNode);
    node->AddAttrib(new NumberAttribute(QD_W("a"), 0));
    BNodeAttribItr itr(*node);
    const auto step = [&itr] { ++itr; };
    node->AddAttrib(new KeepingAttribute(new Curious(step)));
    node->AddAttrib(new NumberAttribute(QD_W("z"), 0));
    node->RemoveAttribs();
    EXPECT_FALSE(itr);
}
