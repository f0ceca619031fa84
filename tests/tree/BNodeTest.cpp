#include "core/tree/BNode.h"

#include "core/operation/Messages.h"
#include "core/tree/BNodeItr.h"

#include "tests/operation/RecordingDispatcher.h"
#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using Message = RecordingDispatcher::Message;

std::uint64_t Number(const void* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

} // namespace

TEST(BNode, ChildrenStandWhereTheIndexPutsThem)
{
    const SP<BNode> root = TreeOf("root(A)");
    BNode* a = root->Child(0);
    EXPECT_TRUE(root->AddChild(Named(QD_W("B")).Get(), 1)) << "not below ChildNum: appended";
    EXPECT_TRUE(root->AddChild(Named(QD_W("C")).Get(), 0)) << "behind the first";
    EXPECT_TRUE(root->AddChild(Named(QD_W("D")).Get(), 99));
    const SP<BNode> refused = Named(QD_W("X"));
    for (const int index : {1, 2, 3})
        EXPECT_FALSE(root->AddChild(refused.Get(), index)) << index;
    EXPECT_FALSE(root->AddChild(a, -1)) << "has a parent";
    EXPECT_FALSE(root->AddChild(nullptr, -1));
    EXPECT_FALSE(root->AddChild(root.Get(), -1));
    EXPECT_FALSE(a->AddChild(root.Get(), -1)) << "would be above itself";
    EXPECT_EQ(refused->Parent(), nullptr);
    EXPECT_EQ(TextOf(*root), "root(A C B D)");
    EXPECT_EQ(a->Sister(), root->Child(1));
    for (const BNode* none :
         {root->Child(3)->Sister(), root->Sister(), root->Child(-1), root->Child(4)})
        EXPECT_EQ(none, nullptr);
    EXPECT_TRUE(root->IsGrandParent(a) && !a->IsGrandParent(a) && !a->IsGrandParent(nullptr));
    EXPECT_TRUE(a->Includes(a) && !a->Includes(root.Get()) && !a->Includes(nullptr));
}

TEST(BNode, RemovedChildrenLoseTheirParentOrDie)
{
    const SP<BNode> root = TreeOf("root(kept(inner) b)");
    const SP<BNode> kept = root->Child(0);
    BNode* inner = kept->Child(0);
    root->Child(1)->SetObj(new CountedPayload);
    EXPECT_EQ(CountedPayload::alive, 1);
    EXPECT_FALSE(root->RemoveChild(inner) || root->RemoveChild(QD_W("kept/inner")))
        << "not its own child";
    EXPECT_FALSE(root->RemoveChild(QD_W("none")) || root->RemoveChild(2));
    EXPECT_TRUE(root->RemoveChild(QD_W("B")));
    EXPECT_EQ(CountedPayload::alive, 0);
    EXPECT_TRUE(root->RemoveChild(0));
    EXPECT_EQ(kept->Parent(), nullptr);
    EXPECT_TRUE(root->AddChild(kept.Get(), -1));
    SP<BNode> other(new BNode);
    other->AddChild(inner->Root(), -1);
    EXPECT_EQ(other->Child(0), root.Get());
    other = nullptr;
    EXPECT_EQ(root->Parent(), nullptr) << "a dead parent leaves no pointer behind";
}

TEST(BNode, PathsLeadToTheFirstMatchWithoutRegardToCase)
{
    const SP<BNode> root = TreeOf("root(a(b ) A)");
    BNode* a = root->Child(0);
    BNode* b = a->Child(0);
    BNode* empty = a->Child(1);
    BNode* strasse = Append(*root, QD_W("Stra\u00DFe"));
    struct Case {
        const WChar* path;
        BNode* found;
    };
    const Case cases[] = {
        {QD_W("a"), a},        {QD_W("A"), a},           {QD_W("a/b"), b},
        {QD_W("//A/B"), b},    {QD_W("a/b/c"), nullptr}, {QD_W("b"), nullptr},
        {QD_W("a/"), empty},   {QD_W(""), nullptr},      {QD_W("/"), nullptr},
        {QD_W("ab"), nullptr}, {nullptr, nullptr},       {QD_W("STRASSE"), strasse},
    };
    for (const Case& c : cases)
        EXPECT_EQ(root->Child(c.path), c.found) << BString(c.path).CStr();
    EXPECT_EQ(root->QueryChild(QD_W("a/b")), b);
}

namespace {

/// A node's children as they should be.
struct Twin {
    struct Child {
        SP<BNode> node;
        WString text;
    };

    [[nodiscard]] std::vector<Child>::iterator Find(const WString& text)
    {
        return std::find_if(children.begin(), children.end(),
                            [&](const Child& child) { return child.text == text; });
    }
    [[nodiscard]] BNode* At(std::size_t i) const
    {
        return i < children.size() ? children[i].node.Get() : nullptr;
    }

    std::vector<Child> children;
};

} // namespace

TEST(BNode, ChildrenAreWhereANaiveListHasThemWhateverHappens)
{
    const SP<BNode> root = Named(QD_W("root"));
    Twin twin;
    std::mt19937 random(1);
    const auto below = [&](std::size_t end) { return std::size_t{random()} % end; };
    const auto anyText = [&] {
        return WString(QD_W("t")) + WString::FromInt(static_cast<int>(below(200)));
    };
    const auto add = [&] {
        const WString text = anyText();
        const bool behindTheFirst = below(3) == 0;
        const SP<BNode> child = Named(text.Upper().CStr());
        ASSERT_TRUE(root->AddChild(child.Get(), behindTheFirst ? 0 : -1));
        const bool isSecond = behindTheFirst && !twin.children.empty();
        twin.children.insert(isSecond ? twin.children.begin() + 1 : twin.children.end(),
                             {child, text});
    };
    const auto remove = [&] {
        const std::size_t count = twin.children.size();
        const std::size_t places[] = {0, count - 1, count / 2, below(count)};
        auto removed = twin.children.begin() + static_cast<std::ptrdiff_t>(places[below(4)]);
        switch (below(3)) {
        case 0:
            ASSERT_TRUE(root->RemoveChild(static_cast<int>(removed - twin.children.begin())));
            break;
        case 1: ASSERT_TRUE(root->RemoveChild(removed->node.Get())); break;
        default:
            removed = twin.Find(removed->text);
            ASSERT_TRUE(root->RemoveChild(removed->text.CStr()));
        }
        EXPECT_EQ(removed->node->RefCount(), 1);
        EXPECT_EQ(removed->node->Sister(), nullptr);
        twin.children.erase(removed);
    };
    for (const unsigned int additions :
         {90u, 40u, 70u, 15u, 100u, 0u, 0u, 55u, 45u}) { // of a hundred changes
        for (int change = 0; change < 600; ++change) {
            if (twin.children.empty() || below(100) < additions)
                add();
            else
                remove();
            const std::size_t count = twin.children.size();
            ASSERT_EQ(root->ChildNum(), static_cast<int>(count));
            const std::size_t any = below(count + 1);
            ASSERT_EQ(root->Child(static_cast<int>(any)), twin.At(any));
            if (any < count && any % 2 == 0) {
                twin.children[any].text = anyText();
                twin.At(any)->SetText(twin.children[any].text);
            }
            for (std::size_t i : {any, any + 1, count - 1})
                ASSERT_TRUE(i >= count || twin.At(i)->Sister() == twin.At(i + 1));
            const WString text = anyText();
            const auto found = twin.Find(text);
            ASSERT_EQ(root->Child(text.CStr()),
                      found != twin.children.end() ? found->node.Get() : nullptr);
        }
        std::size_t walked = 0;
        for (BNodeChildItr itr(*root); itr; ++itr)
            ASSERT_EQ(itr.Current(), twin.At(walked++));
        ASSERT_EQ(walked, twin.children.size());
    }
    const WString text = root->Child(0)->GetText();
    root->RemoveChildren();
    EXPECT_EQ(root->Child(text.CStr()), nullptr);
    EXPECT_EQ(twin.At(0)->Parent(), nullptr);
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

TEST(BNode, AttributesAreUniqueByNameAndAnnotationsByIdentity)
{
    const SP<BNode> node = Named(QD_W("node"));
    const SP<NumberAttribute> first(new NumberAttribute(QD_W("size"), 1));
    EXPECT_TRUE(node->AddAttrib(first.Get()));
    EXPECT_FALSE(node->AddAttrib(first.Get()) || node->AddAttrib(nullptr));
    EXPECT_TRUE(node->AddAttrib(new NumberAttribute(QD_W("Size"), 2))) << "case matters";
    EXPECT_TRUE(node->AddAttrib(new NumberAttribute(QD_W("size"), 3))) << "replaces the first";
    ASSERT_EQ(node->AttribNum(), 2);
    EXPECT_EQ(static_cast<NumberAttribute*>(node->Attrib(0))->m_value, 2);
    EXPECT_EQ(static_cast<NumberAttribute*>(node->Attrib(QD_W("size")))->m_value, 3);
    for (const BAttribute* none : {node->Attrib(2), node->Attrib(-1), node->Attrib(WString())})
        EXPECT_EQ(none, nullptr);
    EXPECT_FALSE(node->RemoveAttrib(first.Get()) || node->RemoveAttrib(QD_W("none")));
    EXPECT_FALSE(node->RemoveAttrib(static_cast<BAttribute*>(nullptr)));
    EXPECT_TRUE(node->RemoveAttrib(WString(QD_W("Size"))));
    EXPECT_TRUE(node->RemoveAttrib(0));
    EXPECT_EQ(node->AttribNum(), 0);

    const SP<BSmartObj> remark(new CountedPayload);
    EXPECT_TRUE(node->AddAnnotation(remark.Get()) && node->AddAnnotation(new CountedPayload));
    EXPECT_FALSE(node->AddAnnotation(remark.Get()) || node->AddAnnotation(nullptr));
    EXPECT_EQ(node->AnnotationNum(), 2);
    EXPECT_TRUE(node->RemoveAnnotation(remark.Get()));
    EXPECT_FALSE(node->RemoveAnnotation(remark.Get()));
    node->RemoveAnnotations();
    EXPECT_EQ(CountedPayload::alive, 1);

    std::vector<SP<BSmartObj>> many;
    for (int i = 0; i < 40; ++i) {
        many.emplace_back(new CountedPayload);
        ASSERT_TRUE(node->AddAnnotation(many.back().Get()));
    }
    for (std::size_t i = many.size(); i-- > 0;) { // every second to the end, the last first
        ASSERT_FALSE(node->AddAnnotation(many[i].Get()));
        if (i % 2 != 0)
            continue;
        ASSERT_TRUE(node->RemoveAnnotation(many[i].Get()));
        ASSERT_FALSE(node->RemoveAnnotation(many[i].Get()));
        ASSERT_TRUE(node->AddAnnotation(many[i].Get()));
    }
    BNodeAnnotationItr itr(*node);
    for (const int i : {1, 3, 37, 39, 38, 36, 2, 0}) {
        while (itr && itr.Current() != many[static_cast<std::size_t>(i)])
            ++itr;
        EXPECT_TRUE(itr) << i;
    }
    node->RemoveAnnotations();
    EXPECT_TRUE(node->AddAnnotation(many[0].Get()));
}

TEST(BNode, EveryChangeIsSentOnceWhenTheRootSaysSo)
{
    RecordingDispatcher dispatcher;
    const SP<BNode> root(new BNode);
    EXPECT_TRUE(dispatcher.Sent().empty()) << "no object, no message";
    const SP<BNode> child(new BNode);
    const SP<BSmartObj> object(new CountedPayload);
    const SP<NumberAttribute> tag(new NumberAttribute(QD_W("t"), 1));
    const std::uint64_t r = Number(root.Get());
    const std::uint64_t c = Number(child.Get());

    const auto expect = [&](const char* what, std::vector<Message> messages) {
        EXPECT_EQ(dispatcher.Sent(), messages) << what;
    };
    root->AddChild(child.Get(), -1);
    expect("add", {{kMessageNodeChildAdded, c, 0}});
    const SP<BNode> second(new BNode);
    root->AddChild(second.Get(), 0);
    expect("add behind the first", {{kMessageNodeChildAdded, Number(second.Get()), 1}});
    root->RemoveChild(second.Get());
    root->RemoveChild(second.Get());
    expect("remove", {{kMessageNodeChildrenRemoved, r, 0}});
    child->SetText(QD_W("x"));
    child->SetText(WString(QD_W("x")));
    expect("text, changed or not",
           {{kMessageNodeTextChanged, c, 0}, {kMessageNodeTextChanged, c, 0}});
    child->AddAttrib(tag.Get());
    child->AddAttrib(tag.Get());
    child->AddAttrib(new NumberAttribute(QD_W("t"), 2));
    child->RemoveAttrib(QD_W("t"));
    child->RemoveAttribs();
    expect("attributes", {{kMessageNodeAttributesChanged, c, 0},
                          {kMessageNodeAttributesChanged, c, 0},
                          {kMessageNodeAttributesChanged, c, 0}});
    child->AddAnnotation(object.Get());
    child->RemoveAnnotations();
    child->RemoveAnnotations();
    expect("annotations",
           {{kMessageNodeAttributesChanged, c, 0}, {kMessageNodeAttributesChanged, c, 0}});
    child->SetObj(object.Get());
    child->SetObj(object.Get());
    expect("object", {{kMessageNodeObjectChanged, c, 0}});
    child->Activate(true);
    child->Deactivate();
    expect("active", {{kMessageNodeActiveChanged, c, 0}});
    child->Lock(true);
    child->Lock(true);
    expect("locked", {{kMessageNodeLockedChanged, c, 0}});

    child->IsMessageDispatcher(false);
    EXPECT_TRUE(child->IsMessageDispatcher()) << "only a root's flag can be set";
    root->IsMessageDispatcher(false);
    child->SetText(QD_W("silent"));
    child->Clear();
    root->RemoveChildren();
    expect("a silent tree", {});
    root->IsMessageDispatcher(true);
    root->Clear();
    expect("nothing to clear", {});
    root->AddAttrib(tag.Get());
    root->AddAnnotation(object.Get());
    root->AddChild(second.Get(), -1);
    root->SetObj(object.Get());
    static_cast<void>(dispatcher.Sent());
    root->Clear();
    expect("clear", {{kMessageNodeAttributesChanged, r, 0},
                     {kMessageNodeAttributesChanged, r, 0},
                     {kMessageNodeChildrenRemoved, r, 0},
                     {kMessageNodeObjectChanged, r, 0}});
}

// The sanitizers watch for what the functions touch afterwards.
TEST(BNode, AReceiverMayLetGoOfTheNodeThatReports)
{
    const SP<BNode> source = TreeOf("source(below)");
    const SP<BAttribute> tag(new NumberAttribute(QD_W("t"), 1));
    source->AddAttrib(tag.Get());
    using Change = std::function<void(BNode&)>;
    const Change changes[] = {
        [](BNode& node) { node.AddChild(new BNode, -1); },
        [](BNode& node) { node.RemoveChild(0); },
        [](BNode& node) { node.RemoveChildren(); },
        [](BNode& node) { node.SetText(QD_W("x")); },
        [](BNode& node) { node.SetObj(new CountedPayload); },
        [](BNode& node) { node.Deactivate(); },
        [](BNode& node) { node.Lock(true); },
        [&](BNode& node) { node.AddAttrib(tag.Get()); },
        [&](BNode& node) { node.RemoveAnnotation(source.Get()); },
        [](BNode& node) { node.Clear(); },
        [&](BNode& node) { node.Copy(*source); },
    };
    for (const Change& change : changes) {
        const SP<BNode> root = TreeOf("root");
        BNode* const node = new CountedNode;
        ASSERT_TRUE(root->AddChild(node, -1));
        Append(*node, QD_W("child"));
        node->AddAnnotation(source.Get());
        RecordingDispatcher dispatcher;
        dispatcher.OnSend([&](const Message&) { root->RemoveChildren(); });
        change(*node);
        EXPECT_EQ(root->ChildNum(), 0);
        EXPECT_EQ(CountedNode::alive, 0);
    }
}

namespace {

/// Keeps a node, wherever it stands.
class Keeper : public NumberAttribute {
public:
    explicit Keeper(SP<BNode> kept)
        : NumberAttribute(QD_W("keeper"), 0)
        , m_kept(std::move(kept))
    {}

private:
    SP<BNode> m_kept;
};

} // namespace

TEST(BNode, ReportsBeforeItDiesOfWhatItLetsGo)
{
    struct Case {
        unsigned int message;
        void (*put)(BNode&, Keeper*); // where the node's last reference stands
        void (*change)(BNode&);
    };
    const auto asObject = [](BNode& node, Keeper* keeper) { node.SetObj(keeper); };
    const auto asChild = [](BNode& node, Keeper* keeper) { node.AddChild(new BNode(keeper), -1); };
    const auto asAttribute = [](BNode& node, Keeper* keeper) { node.AddAttrib(keeper); };
    const auto asAnnotation = [](BNode& node, Keeper* keeper) { node.AddAnnotation(keeper); };
    const Case cases[] = {
        {kMessageNodeObjectChanged, asObject, [](BNode& node) { node.SetObj(nullptr); }},
        {kMessageNodeObjectChanged, asObject, [](BNode& node) { node.Clear(); }},
        {kMessageNodeChildrenRemoved, asChild, [](BNode& node) { node.RemoveChild(0); }},
        {kMessageNodeChildrenRemoved, asChild, [](BNode& node) { node.RemoveChild(QD_W("")); }},
        {kMessageNodeChildrenRemoved, asChild, [](BNode& node) { node.RemoveChildren(); }},
        {kMessageNodeAttributesChanged, asAttribute, [](BNode& node) { node.RemoveAttrib(0); }},
        {kMessageNodeAttributesChanged, asAttribute, [](BNode& node) { node.RemoveAttribs(); }},
        {kMessageNodeAttributesChanged, asAttribute,
         [](BNode& node) { node.AddAttrib(new NumberAttribute(QD_W("keeper"), 1)); }},
        {kMessageNodeAttributesChanged, asAnnotation,
         [](BNode& node) { node.RemoveAnnotation(BNodeAnnotationItr(node).Current()); }},
        {kMessageNodeAttributesChanged, asAnnotation,
         [](BNode& node) { node.RemoveAnnotations(); }},
    };
    for (const Case& c : cases) {
        BNode* const node = new CountedNode;
        c.put(*node, new Keeper(node));
        RecordingDispatcher dispatcher;
        int alive = 0;
        dispatcher.OnSend([&](const Message&) { alive = CountedNode::alive; });
        c.change(*node);
        EXPECT_EQ(alive, 1) << c.message;
        EXPECT_EQ(dispatcher.Sent(), (std::vector<Message>{{c.message, Number(node), 0}}));
        EXPECT_EQ(CountedNode::alive, 0) << c.message;
    }
}

namespace {

/// Has answers of its own for what is below it.
class OwnAnswers : public BNode {
public:
    using BNode::IsMessageDispatcher;
    bool IsMessageDispatcher() const override { return !m_silent && BNode::IsMessageDispatcher(); }
    BNode* Root() override { return m_root != nullptr ? m_root : BNode::Root(); }

    bool m_silent = false;
    BNode* m_root = nullptr;
};

} // namespace

TEST(BNode, EachNodeAboveIsAskedForTheRootAndItsFlag)
{
    const SP<BNode> top = Named(QD_W("top"));
    const SP<OwnAnswers> middle(new OwnAnswers);
    ASSERT_TRUE(top->AddChild(middle.Get(), -1));
    BNode* const bottom = AppendLine(*middle, 3);
    RecordingDispatcher dispatcher;
    const auto reports = [&] {
        bottom->SetText(QD_W("x"));
        return !dispatcher.Sent().empty();
    };
    EXPECT_TRUE(reports());
    EXPECT_EQ(bottom->Root(), top);
    middle->m_silent = true;
    middle->m_root = middle.Get();
    EXPECT_FALSE(reports());
    EXPECT_EQ(bottom->Root(), middle);
    middle->m_silent = false;
    top->IsMessageDispatcher(false);
    EXPECT_FALSE(reports());
    top->RemoveChild(middle.Get());
    EXPECT_TRUE(reports()) << "a root of its own";
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

TEST(BNode, CopiesShareWhatIsBesideANodeAndCopyWhatIsBelow)
{
    const SP<BNode> root = TreeOf("root(a(b))");
    BNode* a = root->Child(0);
    a->Child(0)->Deactivate();
    root->SetObj(new CountedPayload);
    root->AddAttrib(new NumberAttribute(QD_W("t"), 1));
    root->AddAnnotation(new CountedPayload);
    const SP<BNode> parent = TreeOf("parent(old(gone))");
    BNode* copy = parent->Child(0);

    copy->Copy(*root);
    EXPECT_EQ(TextOf(*parent), "parent(root(a(b)))");
    EXPECT_EQ(copy->GetObj(), root->GetObj());
    EXPECT_EQ(copy->Attrib(0), root->Attrib(0));
    EXPECT_EQ(copy->AnnotationNum(), 1);
    EXPECT_NE(copy->Child(0), a);
    EXPECT_EQ(copy->Child(0)->Root(), parent);
    EXPECT_FALSE(copy->Child(QD_W("a/b"))->IsActive());
    *a = *root; // a copy of what is above
    EXPECT_EQ(TextOf(*root), "root(root(a(b)))");
    *root = *root->Child(0); // and of what is below
    EXPECT_EQ(CountedPayload::alive, 2);
    *root = *root;
    EXPECT_EQ(TextOf(*root), "root(a(b))");

    root->IsMessageDispatcher(false);
    const SP<BNode> taken = copy;
    *taken = *root;
    parent->RemoveChild(copy);
    EXPECT_TRUE(taken->IsMessageDispatcher()) << "it did not count as long as it was a child";
    *taken = *root;
    EXPECT_FALSE(taken->IsMessageDispatcher());
}

TEST(BNode, DepthDoesNotMatter)
{
    constexpr int kDepth = 300'000;
    SP<BNode> top(new BNode);
    BNode* bottom = AppendLine(*top, kDepth);
    bottom->SetObj(new CountedPayload);
    EXPECT_EQ(bottom->Root(), top.Get());
    EXPECT_TRUE(bottom->IsMessageDispatcher());
    EXPECT_EQ(top->AllocatedMemory(false), 100U);
    const SP<BNode> copy(new BNode);
    copy->Copy(*top);
    EXPECT_TRUE(top->Includes(bottom));
    const SP<BNode> kept = bottom->Parent();
    top = nullptr;
    EXPECT_EQ(kept->Parent(), nullptr);
    EXPECT_EQ(kept->ChildNum(), 1);

    SP<BNode> chain; // each the object of the next
    for (int i = 0; i < kDepth; ++i)
        chain = SP<BNode>(new BNode(chain.Get()));
    chain = nullptr;
    EXPECT_EQ(CountedPayload::alive, 1);
}
