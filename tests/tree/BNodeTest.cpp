#include "core/tree/BNode.h"

#include "core/operation/Messages.h"
#include "core/tree/BBank.h"
#include "core/tree/BNodeItr.h"
#include "core/tree/BVisitor.h"

#include "tests/operation/RecordingDispatcher.h"
#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

namespace {

using Message = RecordingDispatcher::Message;
using Messages = RecordingDispatcher::Messages;

std::uint64_t Number(const void* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

class HoldingAttribute : public BAttribute {
public:
    explicit HoldingAttribute(SP<BSmartObj> held)
        : m_held(std::move(held))
    {}
    WString Name() const override { return QD_W("holding"); }

private:
    SP<BSmartObj> m_held;
};

} // namespace

TEST(BNode, ChildrenStandWhereTheIndexPutsThem)
{
    const SP<BNode> root(new BNode);
    for (const int index : {-1, 1, 0, 99}) { // at the end, there too, behind the first, at the end
        const SP<BNode> child = Named(WString::FromInt(index));
        RecordingDispatcher dispatcher;
        EXPECT_TRUE(root->AddChild(child.Get(), index)) << index;
        const std::uint64_t place =
            index == 0 ? 1 : static_cast<std::uint64_t>(root->ChildNum() - 1);
        EXPECT_EQ(dispatcher.Sent(),
                  (Messages{{kMessageNodeChildAdded, Number(child.Get()), place}}));
    }
    EXPECT_EQ(TextOf(*root), "(-1 0 1 99)");
    BNode* const a = root->Child(3);
    const SP<BNode> refused(new BNode);
    for (const int index : {1, 2, 3})
        EXPECT_FALSE(root->AddChild(refused.Get(), index)) << index;
    EXPECT_FALSE(root->AddChild(a, -1)) << "has a parent";
    EXPECT_FALSE(root->AddChild(nullptr, -1) || root->AddChild(root.Get(), -1));
    EXPECT_FALSE(a->AddChild(root.Get(), -1) || AppendLine(*a, 3)->AddChild(root.Get(), -1))
        << "would be above itself";
    EXPECT_EQ(refused->Parent(), nullptr);
    EXPECT_EQ(root->Root(), root);
}

TEST(BNode, KnowsItsRelatives)
{
    SP<BNode> root = TreeOf("root(kept(inner) b)");
    const SP<BNode> kept = root->Child(0);
    BNode* const inner = kept->Child(0);
    for (const BNode* none : {root->Sister(), root->Child(-1), root->Parent()})
        EXPECT_EQ(none, nullptr);
    EXPECT_TRUE(root->IsGrandParent(kept.Get()) && root->IsGrandParent(inner));
    EXPECT_FALSE(kept->IsGrandParent(kept.Get()) || kept->IsGrandParent(nullptr) ||
                 kept->IsGrandParent(root.Get()));
    EXPECT_TRUE(kept->Includes(kept.Get()) && root->Includes(inner));
    EXPECT_FALSE(kept->Includes(root.Get()) || kept->Includes(nullptr));
    root->Child(1)->SetObj(new CountedPayload);
    EXPECT_FALSE(root->RemoveChild(inner) || root->RemoveChild(QD_W("kept/inner")))
        << "not its own child";
    EXPECT_FALSE(root->RemoveChild(QD_W("none")) || root->RemoveChild(2) || root->RemoveChild(-1));
    EXPECT_TRUE(root->RemoveChild(QD_W("B")));
    EXPECT_EQ(CountedPayload::alive, 0) << "nobody else holds it";
    root = nullptr;
    EXPECT_EQ(kept->Parent(), nullptr) << "a dead parent leaves no pointer behind";
}

TEST(BNode, PathsLeadToTheFirstMatchWithoutRegardToCase)
{
    const SP<BNode> root = TreeOf("root(a(b ) A)");
    BNode* a = root->Child(0);
    BNode* b = a->Child(0);
    BNode* empty = a->Child(1);
    BNode* strasse = Append(*root, QD_W("Stra\u00DFe"));
    const std::pair<const WChar*, BNode*> cases[] = {
        {QD_W("a"), a},        {QD_W("A"), a},           {QD_W("a/b"), b},
        {QD_W("//A/B"), b},    {QD_W("a/b/c"), nullptr}, {QD_W("b"), nullptr},
        {QD_W("a/"), empty},   {QD_W(""), nullptr},      {QD_W("/"), nullptr},
        {QD_W("ab"), nullptr}, {nullptr, nullptr},       {QD_W("STRASSE"), strasse},
    };
    for (const auto& [path, found] : cases)
        EXPECT_EQ(root->Child(path), found) << BString(path).CStr();
    EXPECT_EQ(root->QueryChild(QD_W("a/b")), b);
}

TEST(BNode, ChildrenAreWhereANaiveListHasThemWhateverHappens)
{
    struct Child {
        SP<BNode> node;
        WString text;
    };
    const SP<BNode> root = Named(QD_W("root"));
    std::vector<Child> twin; // as they should be
    std::mt19937 random(1);
    const auto below = [&](std::size_t end) { return std::size_t{random()} % end; };
    const auto anyText = [&] {
        return WString(QD_W("t")) + WString::FromInt(static_cast<int>(below(200)));
    };
    const auto find = [&](const WString& text) {
        return std::ranges::find(twin, text, &Child::text);
    };
    const auto at = [&](std::size_t i) { return i < twin.size() ? twin[i].node.Get() : nullptr; };
    const auto add = [&] {
        const WString text = anyText();
        const bool isBehindFirst = below(3) == 0;
        const SP<BNode> child = Named(text.Upper().CStr());
        ASSERT_TRUE(root->AddChild(child.Get(), isBehindFirst ? 0 : -1));
        twin.insert(isBehindFirst && !twin.empty() ? twin.begin() + 1 : twin.end(), {child, text});
    };
    const auto remove = [&] {
        const std::size_t places[] = {0, twin.size() - 1, twin.size() / 2, below(twin.size())};
        const std::size_t place = places[below(4)];
        auto removed = twin.begin() + static_cast<std::ptrdiff_t>(place);
        switch (below(3)) {
        case 0: ASSERT_TRUE(root->RemoveChild(static_cast<int>(place))); break;
        case 1: ASSERT_TRUE(root->RemoveChild(removed->node.Get())); break;
        default: removed = find(removed->text); ASSERT_TRUE(root->RemoveChild(removed->text));
        }
        EXPECT_EQ(removed->node->RefCount(), 1);
        EXPECT_EQ(removed->node->Sister(), nullptr);
        twin.erase(removed);
    };
    for (const unsigned int additions :
         {90u, 40u, 70u, 15u, 100u, 0u, 0u, 55u, 45u}) { // of 100 changes
        for (int change = 0; change < 600; ++change) {
            twin.empty() || below(100) < additions ? add() : remove();
            ASSERT_EQ(root->ChildNum(), static_cast<int>(twin.size()));
            const std::size_t any = below(twin.size() + 1);
            ASSERT_EQ(root->Child(static_cast<int>(any)), at(any));
            ASSERT_EQ(BNodeChildItr(*root).Current(), at(0));
            if (any < twin.size() && any % 2 == 0) {
                twin[any].text = anyText();
                twin[any].node->SetText(twin[any].text);
            }
            for (const std::size_t i : {any, any + 1, twin.size() - 1})
                ASSERT_TRUE(i >= twin.size() || at(i)->Sister() == at(i + 1));
            const WString text = anyText();
            const auto found = find(text);
            ASSERT_EQ(root->Child(text.CStr()), found != twin.end() ? found->node.Get() : nullptr);
        }
        std::size_t walked = 0;
        for (BNodeChildItr itr(*root); itr; ++itr)
            ASSERT_EQ(itr.Current(), at(walked++));
        ASSERT_EQ(walked, twin.size());
    }
    const WString text = root->Child(0)->GetText();
    root->RemoveChildren();
    EXPECT_EQ(root->Child(text.CStr()), nullptr);
    EXPECT_EQ(twin[0].node->Parent(), nullptr);
}

TEST(BNode, SuggestsTextsThatNoChildHas)
{
    EXPECT_EQ(BNode().ChildTextSuggestion(QD_W("X")), QD_W("X001"));
    const SP<BNode> root = TreeOf("root(plane003 x)");
    EXPECT_EQ(root->ChildTextSuggestion(QD_W("Plane")), QD_W("Plane004"));
    EXPECT_EQ(root->ChildTextSuggestion(WString()), QD_W("003"));
    for (int i = 2; i < 1000; ++i)
        Append(*root, QD_W("x"));
    EXPECT_EQ(root->ChildTextSuggestion(QD_W("P")), QD_W("P1001"));
}

TEST(BNode, AttributesAreUniqueByName)
{
    const SP<BNode> node(new BNode);
    EXPECT_FALSE(node->Attrib(0) || node->Attrib(QD_W("size")) || node->RemoveAttrib(0));
    const SP<NumberAttribute> first(new NumberAttribute(QD_W("size"), 1));
    EXPECT_TRUE(node->AddAttrib(first.Get()));
    EXPECT_FALSE(node->AddAttrib(first.Get()) || node->AddAttrib(nullptr));
    for (const int index : {-1, 1, 5})
        EXPECT_FALSE(node->Attrib(index) || node->RemoveAttrib(index)) << index;
    EXPECT_TRUE(node->AddAttrib(new NumberAttribute(QD_W("Size"), 2))) << "case matters";
    EXPECT_TRUE(node->AddAttrib(new NumberAttribute(QD_W("size"), 3))) << "replaces the first";
    ASSERT_EQ(node->AttribNum(), 2);
    EXPECT_EQ(static_cast<NumberAttribute*>(node->Attrib(0))->m_value, 2);
    EXPECT_EQ(static_cast<NumberAttribute*>(node->Attrib(1))->m_value, 3);
    EXPECT_EQ(node->Attrib(QD_W("size")), node->Attrib(1));
    EXPECT_EQ(node->Attrib(WString(QD_W("none"))), nullptr);
    EXPECT_FALSE(node->RemoveAttrib(first.Get()) || node->RemoveAttrib(QD_W("none")));
    EXPECT_FALSE(node->RemoveAttrib(static_cast<BAttribute*>(nullptr)));
    EXPECT_TRUE(node->RemoveAttrib(WString(QD_W("Size"))));
    EXPECT_TRUE(node->RemoveAttrib(0));
    EXPECT_EQ(node->AttribNum(), 0);
    node->AddAttrib(new NumberAttribute(QD_W("a"), 0)), node->AddAttrib(first.Get());
    first->m_name = QD_W("a");
    EXPECT_TRUE(node->AddAttrib(first.Get())) << "in place of its namesake, and stands there twice";
    BNodeAttribItr itr(*node);
    EXPECT_TRUE(itr++ == first && itr++ == first && !itr);
}

TEST(BNode, AnnotationsAreUniqueByIdentity)
{
    const SP<BNode> node(new BNode);
    const SP<BSmartObj> none(new CountedPayload);
    EXPECT_FALSE(node->AddAnnotation(nullptr) || node->RemoveAnnotation(none.Get()));
    for (const std::size_t count : {2U, 40U}) { // from 16 on they have an index
        std::vector<SP<BSmartObj>> order;
        for (std::size_t i = 0; i < count; ++i) {
            order.emplace_back(new CountedPayload);
            EXPECT_TRUE(node->AddAnnotation(order.back().Get()));
        }
        const std::vector<SP<BSmartObj>> all = order;
        for (std::size_t i = count; i-- > 0;) { // every second to the end, the last first
            EXPECT_FALSE(node->AddAnnotation(all[i].Get()));
            if (i % 2 != 0)
                continue;
            EXPECT_TRUE(node->RemoveAnnotation(all[i].Get()));
            EXPECT_FALSE(node->RemoveAnnotation(all[i].Get()));
            EXPECT_TRUE(node->AddAnnotation(all[i].Get()));
            std::rotate(std::ranges::find(order, all[i]), std::ranges::find(order, all[i]) + 1,
                        order.end());
        }
        EXPECT_FALSE(node->RemoveAnnotation(none.Get()) || node->RemoveAnnotation(nullptr));
        EXPECT_EQ(node->AnnotationNum(), static_cast<int>(count));
        BNodeAnnotationItr itr(*node);
        for (const SP<BSmartObj>& annotation : order)
            EXPECT_EQ(itr++, annotation);
        node->RemoveAnnotations();
    }
    EXPECT_EQ(node->AnnotationNum(), 0);
    EXPECT_EQ(CountedPayload::alive, 1);
}

namespace {

constexpr unsigned int kBeside = kMessageNodeAttributesChanged;
constexpr unsigned int kBelow = kMessageNodeChildrenRemoved;

/// What may be done to a node, which has a child, an attribute "t", an annotation and an object,
/// and which messages that sends.
struct Change {
    void (*make)(BNode&);
    std::vector<unsigned int> sent;
};
const Change kChanges[] = {
    {[](BNode& node) { node.SetText(QD_W("x")); }, {kMessageNodeTextChanged}},
    {[](BNode& node) { node.SetText(node.GetText()); }, {kMessageNodeTextChanged}},
    {[](BNode& node) { node.RemoveChild(QD_W("none")); }, {}},
    {[](BNode& node) { node.RemoveChild(0); }, {kBelow}},
    {[](BNode& node) { node.RemoveChildren(); }, {kBelow}},
    {[](BNode& node) { node.AddAttrib(new NumberAttribute(QD_W("new"), 1)); }, {kBeside}},
    {[](BNode& node) { node.AddAttrib(node.Attrib(0)); }, {}},
    {[](BNode& node) { node.AddAttrib(new NumberAttribute(QD_W("t"), 2)); }, {kBeside}},
    {[](BNode& node) { node.RemoveAttrib(QD_W("none")); }, {}},
    {[](BNode& node) { node.RemoveAttrib(QD_W("t")); }, {kBeside}},
    {[](BNode& node) { node.RemoveAttribs(); }, {kBeside}},
    {[](BNode& node) { node.AddAnnotation(new CountedPayload); }, {kBeside}},
    {[](BNode& node) { node.RemoveAnnotation(&node); }, {}},
    {[](BNode& node) { node.RemoveAnnotation(BNodeAnnotationItr(node).Current()); }, {kBeside}},
    {[](BNode& node) { node.RemoveAnnotations(); }, {kBeside}},
    {[](BNode& node) { node.SetObj(nullptr); }, {kMessageNodeObjectChanged}},
    {[](BNode& node) { node.SetObj(node.GetObj()); }, {}},
    {[](BNode& node) { node.Deactivate(); }, {kMessageNodeActiveChanged}},
    {[](BNode& node) { node.Lock(true); }, {kMessageNodeLockedChanged}},
    {[](BNode& node) { node.Activate(true), node.Lock(false); }, {}},
    {[](BNode& node) { node.Clear(); }, {kBeside, kBeside, kBelow, kMessageNodeObjectChanged}},
    {[](BNode& node) {
         const SP<BNode> held(&node);
         node.Clear(), node.Clear(), node.Deactivate(), node.Deactivate();
     },
     {kBeside, kBeside, kBelow, kMessageNodeObjectChanged, kMessageNodeActiveChanged}},
    {[](BNode& node) { node.Copy(BNode()); },
     {kMessageNodeTextChanged, kMessageNodeObjectChanged, kBeside, kBeside, kBelow}},
};

/// A child of `root` as the changes want it.
BNode* AppendFullNode(BNode& root)
{
    BNode* const node = new CountedNode;
    root.AddChild(node, -1);
    Append(*node, QD_W("child"));
    node->AddAttrib(new NumberAttribute(QD_W("t"), 1));
    node->AddAnnotation(new CountedPayload);
    node->SetObj(new CountedPayload);
    return node;
}

} // namespace

TEST(BNode, EveryChangeIsSentOnceWhenTheRootSaysSo)
{
    for (const Change& change : kChanges) {
        SCOPED_TRACE(&change - kChanges);
        const SP<BNode> root(new BNode);
        BNode* const node = AppendFullNode(*root);
        RecordingDispatcher dispatcher;
        change.make(*node);
        Messages expected;
        for (const unsigned int number : change.sent)
            expected.push_back({number, Number(node), 0});
        EXPECT_EQ(dispatcher.Sent(), expected);
        root->RemoveChildren();
        BNode* const silent = AppendFullNode(*root);
        silent->IsMessageDispatcher(false);
        EXPECT_TRUE(silent->IsMessageDispatcher()) << "only a root's flag can be set";
        root->IsMessageDispatcher(false);
        static_cast<void>(dispatcher.Sent());
        change.make(*silent);
        EXPECT_TRUE(dispatcher.Sent().empty());
    }
}

// The sanitizers watch for what the functions touch afterwards.
TEST(BNode, AReceiverMayLetGoOfTheNodeThatReports)
{
    for (const Change& change : kChanges) {
        const SP<BNode> root(new BNode);
        BNode* const node = AppendFullNode(*root);
        RecordingDispatcher dispatcher;
        dispatcher.OnSend([&](const Message&) { root->RemoveChildren(); });
        change.make(*node);
        EXPECT_EQ(CountedNode::alive, change.sent.empty() ? 1 : 0) << &change - kChanges;
    }
}

TEST(BNode, ReportsBeforeItDiesOfWhatItLetsGo)
{
    using Put = void (*)(BNode&, KeepingAttribute*);
    const Put puts[] = {
        [](BNode& node, KeepingAttribute* keeper) { node.SetObj(keeper); },
        [](BNode& node, KeepingAttribute* keeper) { node.AddChild(new BNode(keeper), -1); },
        [](BNode& node, KeepingAttribute* keeper) { node.AddAttrib(keeper); },
        [](BNode& node, KeepingAttribute* keeper) { node.AddAnnotation(keeper); },
    };
    int deaths = 0;
    for (const Put put : puts) { // where the node's last reference stands
        for (const Change& change : kChanges) {
            BNode* const node = new CountedNode;
            put(*node, new KeepingAttribute(node));
            RecordingDispatcher dispatcher;
            dispatcher.OnSend([](const Message&) { EXPECT_EQ(CountedNode::alive, 1); });
            change.make(*node);
            if (CountedNode::alive == 0)
                ++deaths;
            else
                node->Clear();
            EXPECT_EQ(CountedNode::alive, 0) << &change - kChanges;
        }
    }
    EXPECT_EQ(deaths, 4 + 5 + 6 + 5) << "each change that lets go of such a thing";
}

TEST(BNode, EachNodeAboveIsAskedForTheRootAndItsFlag)
{
    struct OwnAnswers : BNode {
        using BNode::IsMessageDispatcher;
        bool IsMessageDispatcher() const override { return !own && BNode::IsMessageDispatcher(); }
        BNode* Root() override { return own ? this : BNode::Root(); }
        bool own = false;
    };
    const SP<BNode> top(new BNode);
    const SP<OwnAnswers> middle(new OwnAnswers);
    ASSERT_TRUE(top->AddChild(middle.Get(), -1));
    BNode* const bottom = AppendLine(*middle, 3);
    EXPECT_EQ(bottom->Root(), top);
    EXPECT_TRUE(bottom->IsMessageDispatcher());
    middle->own = true;
    EXPECT_EQ(bottom->Root(), middle);
    EXPECT_FALSE(bottom->IsMessageDispatcher());
    middle->own = false;
    top->IsMessageDispatcher(false);
    EXPECT_FALSE(bottom->IsMessageDispatcher());
    top->RemoveChild(middle.Get());
    EXPECT_TRUE(bottom->IsMessageDispatcher()) << "a root of its own";
}

TEST(BNode, FlagsAnswerForTheBranch)
{
    const SP<BNode> root = TreeOf("root(a(b))");
    BNode* a = root->Child(0);
    BNode* b = a->Child(0);
    EXPECT_TRUE(b->IsBranchActive() && !b->IsLocked());
    a->Deactivate();
    EXPECT_TRUE(b->IsActive() && !b->IsBranchActive() && root->IsBranchActive());

    a->SetObj(new CountedPayload);
    b->SetObj(a->GetObj());
    root->SetObj(new CountedPayload);
    EXPECT_EQ(root->AllocatedMemory(false), 300U);
    EXPECT_EQ(root->AllocatedMemory(true), 100U);
}

TEST(BNode, ACopySharesWhatIsBesideANodeAndCopiesWhatIsBelow)
{
    const SP<BNode> root = TreeOf("root(a(b))");
    BNode* a = root->Child(0);
    a->Child(0)->Deactivate();
    a->Lock(true);
    root->Lock(true);
    root->SetObj(new CountedPayload);
    root->AddAttrib(new NumberAttribute(QD_W("t"), 1));
    root->AddAnnotation(new CountedPayload);
    a->AddAnnotation(root->GetObj());
    const SP<BNode> parent(new BNode);
    BNode* const copy = AppendFullNode(*parent);
    copy->AddAttrib(new NumberAttribute(QD_W("old"), 1));
    copy->Deactivate();

    RecordingDispatcher dispatcher;
    copy->Copy(*root);
    const Messages sent = dispatcher.Sent();
    EXPECT_EQ(sent.size(), 10U) << "of what is below nothing";
    EXPECT_EQ(sent.back(), (Message{kMessageNodeChildAdded, Number(copy->Child(0)), 0}));
    EXPECT_EQ(TextOf(*copy), "root(a(b))");
    EXPECT_TRUE(copy->IsActive() && copy->IsLocked() && copy->Child(0)->IsLocked());
    EXPECT_FALSE(copy->Child(QD_W("a/b"))->IsActive());
    EXPECT_EQ(copy->GetObj(), root->GetObj());
    EXPECT_EQ(copy->AttribNum(), 1);
    EXPECT_EQ(copy->Attrib(0), root->Attrib(0));
    EXPECT_EQ(copy->AnnotationNum(), 1);
    EXPECT_FALSE(copy->AddAnnotation(BNodeAnnotationItr(*root).Current())) << "the same one";
    EXPECT_EQ(copy->Child(0)->AnnotationNum(), 1);
    EXPECT_NE(copy->Child(0), a);
    EXPECT_EQ(copy->Child(0)->Root(), parent);
}

TEST(BNode, ANodeMayBeCopiedOntoItselfOrARelative)
{
    const SP<BNode> root = TreeOf("root(a(b))");
    *root->Child(0) = *root; // a copy of what is above
    EXPECT_EQ(TextOf(*root), "root(root(a(b)))");
    *root = *root->Child(0); // and of what is below
    EXPECT_EQ(TextOf(*root), "root(a(b))");
    *root = *root;
    EXPECT_EQ(TextOf(*root), "root(a(b))");
}

TEST(BNode, OnlyARootTakesTheFlagForMessagesOver)
{
    const SP<BNode> silent(new BNode), parent(new BNode), copy(new BNode);
    silent->IsMessageDispatcher(false);
    parent->AddChild(copy.Get(), -1);
    *copy = *silent;
    parent->RemoveChild(copy.Get());
    EXPECT_TRUE(copy->IsMessageDispatcher());
    *copy = *silent;
    EXPECT_FALSE(copy->IsMessageDispatcher());
}

TEST(BNode, DepthDoesNotMatter)
{
    constexpr int kDepth = 300'000;
    SP<BNode> top(new BNode);
    BNode* bottom = AppendLine(*top, kDepth);
    bottom->SetObj(new CountedPayload);
    EXPECT_EQ(bottom->Root(), top.Get());
    EXPECT_TRUE(bottom->IsMessageDispatcher() && bottom->IsBranchActive() && top->Includes(bottom));
    EXPECT_EQ(top->AllocatedMemory(false), 100U);
    EXPECT_EQ(BBank::PATH(bottom).Length(), std::size_t{kDepth});
    const SP<BVisitor> visitor(new BVisitor);
    top->Traverse(visitor.Get());
    top->TraverseObjects(visitor.Get());
    const SP<BNode> copy(new BNode);
    copy->Copy(*top);
    const SP<BNode> kept = bottom->Parent();
    top = nullptr;
    EXPECT_EQ(kept->Parent(), nullptr);
    EXPECT_EQ(kept->ChildNum(), 1);

    SP<BNode> chain; // each the object of the next, then its annotation, then its attribute's
    for (int i = 0; i < kDepth; ++i) {
        const SP<BNode> next(new BNode(i < kDepth / 3 ? chain.Get() : nullptr));
        if (i >= 2 * kDepth / 3)
            next->AddAttrib(new HoldingAttribute(chain));
        else if (i >= kDepth / 3)
            next->AddAnnotation(chain.Get());
        chain = next;
    }
    chain = nullptr;
    EXPECT_EQ(CountedPayload::alive, 1);
    BNode* const last = AppendLine(*(top = new BNode), 63); // what is below it is put aside
    for (int i = 0; i < 2 * kDepth; ++i)
        last->AddChild(new BNode(kept.Get()), -1);
    top = nullptr;
}
