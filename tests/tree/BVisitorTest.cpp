#include "core/tree/BVisitor.h"

#include "core/operation/Messages.h"

#include "tests/operation/RecordingDispatcher.h"
#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

/// Writes down the calls that it gets: "<S" and ">" for paths, "[a" and "a]" for attributes,
/// "S" for a node, "o" or "-" for an object, "n" for an annotation.
class WritingVisitor : public BVisitor {
public:
    bool TreatNode(BNode* node) override
    {
        Write(node->GetText());
        if (m_onNode)
            m_onNode(*node);
        return m_changes;
    }
    bool Treat(BSmartObj* object) override
    {
        m_calls += object != nullptr ? "o " : "- ";
        if (m_onObject && object != nullptr)
            m_onObject(*object);
        return m_changes && object != nullptr;
    }
    void TreatAnnotation(SP<BSmartObj>, SP<const BSmartObj> owner) override
    {
        m_calls += "n ";
        m_owner = owner;
    }
    void PushPath(BNode* node) override { Write(WString(QD_W("<")) + node->GetText()); }
    void PopPath() override { m_calls += "> "; }
    void PushAttrib(BAttribute* attribute) override { Write(QD_W("[") + attribute->Name()); }
    void PopAttrib(BAttribute* attribute) override { Write(attribute->Name() + QD_W("]")); }

    void Write(const WString& text) { (m_calls += text.AsString().CStr()) += ' '; }

    std::string m_calls;
    SP<const BSmartObj> m_owner;
    bool m_changes = false;
    std::function<void(BNode&)> m_onNode;
    std::function<void(BSmartObj&)> m_onObject;
};

/// Leads visitors through itself in its own way.
class ShyNode : public BNode {
public:
    void Traverse(BVisitor* visitor) override
    {
        static_cast<WritingVisitor*>(visitor)->m_calls += "( ";
        BNode::Traverse(visitor);
        static_cast<WritingVisitor*>(visitor)->m_calls += ") ";
    }
    void TraverseObjects(BVisitor* visitor) override
    {
        static_cast<WritingVisitor*>(visitor)->m_calls += "shy ";
    }
};

/// S with the children A (A1) and B; S and A1 have an object.
class BVisitorTest : public testing::Test {
protected:
    BVisitorTest()
    {
        m_s->SetObj(new CountedPayload);
        m_a1->SetObj(new CountedPayload);
    }

    std::string Calls(void (BNode::*traverse)(BVisitor*), BNode& node)
    {
        m_visitor->m_calls.clear();
        (node.*traverse)(m_visitor.Get());
        return m_visitor->m_calls;
    }

    SP<BNode> m_s = TreeOf("S(A(A1) B)");
    BNode* m_a = m_s->Child(0);
    BNode* m_b = m_s->Child(1);
    BNode* m_a1 = m_a->Child(0);
    SP<WritingVisitor> m_visitor = new WritingVisitor;
};

} // namespace

TEST_F(BVisitorTest, CallsNestAsTheTreeDoes)
{
    m_s->AddAttrib(new NumberAttribute(QD_W("x"), 0));
    m_s->AddAttrib(new NumberAttribute(QD_W("y"), 0));
    m_a->AddAttrib(new NumberAttribute(QD_W("z"), 0));
    m_a->AddAnnotation(new CountedPayload);
    m_a->AddAnnotation(new CountedPayload);
    EXPECT_EQ(Calls(&BNode::Traverse, *m_s),
              "<S [x [y S o <A [z A - n n <A1 A1 o > z] > <B B - > y] x] > ");
    EXPECT_EQ(m_visitor->m_owner, m_a) << "the node, as it has no object";
    m_a->SetObj(m_s->GetObj());
    EXPECT_EQ(Calls(&BNode::Traverse, *m_a), "<A [z A o n n <A1 A1 o > z] > ");
    EXPECT_EQ(m_visitor->m_owner, m_s->GetObj());
    EXPECT_EQ(Calls(&BNode::TraverseObjects, *m_s), "o o o - ");
    m_s->Traverse(nullptr);
    m_s->TraverseObjects(nullptr);
}

TEST_F(BVisitorTest, InactiveNodesAreVisitedOnRequest)
{
    m_a->Deactivate();
    EXPECT_EQ(Calls(&BNode::Traverse, *m_s), "<S S o <B B - > > ");
    EXPECT_EQ(Calls(&BNode::TraverseObjects, *m_s), "o - ");
    EXPECT_EQ(Calls(&BNode::Traverse, *m_a), "");
    EXPECT_EQ(Calls(&BNode::TraverseObjects, *m_a), "");
    m_visitor->VisitInactiveNodes(true);
    EXPECT_EQ(Calls(&BNode::Traverse, *m_s), "<S S o <A A - <A1 A1 o > > <B B - > > ");
    EXPECT_EQ(Calls(&BNode::TraverseObjects, *m_a), "- o ");

    EXPECT_TRUE(m_visitor->VisitInactiveNodes());
    EXPECT_EQ(m_visitor->GetTraversionMode(), BVisitor::TraverseDefault);
    m_visitor->VisitInactiveNodes(false);
    EXPECT_EQ(Calls(&BNode::Traverse, *m_a), "");
    constexpr BVisitor::TRAVERSIONMODE own{7};
    EXPECT_EQ(BVisitor(own).GetTraversionMode(), own);
}

TEST_F(BVisitorTest, ChangesAreReported)
{
    RecordingDispatcher dispatcher;
    const auto changed = [](const BNode* node) {
        return RecordingDispatcher::Message{kMessageNodeVisitorChanged,
                                            reinterpret_cast<std::uintptr_t>(node), 0};
    };
    const auto root = changed(m_s.Get()), a = changed(m_a), a1 = changed(m_a1), b = changed(m_b);
    using Messages = RecordingDispatcher::Messages;
    m_s->Traverse(m_visitor.Get());
    EXPECT_EQ(dispatcher.Sent(), Messages{});
    m_visitor->m_changes = true;
    m_s->Traverse(m_visitor.Get());
    EXPECT_EQ(dispatcher.Sent(), (Messages{root, root, a, a1, a1, b})) << "node, then object";
    m_s->TraverseObjects(m_visitor.Get());
    EXPECT_EQ(dispatcher.Sent(), (Messages{root, a1}));
    m_s->Traverse(SP<BVisitor>(new BVisitor).Get());
    EXPECT_EQ(dispatcher.Sent(), Messages{}) << "one that does nothing";
    m_s->IsMessageDispatcher(false);
    m_a->Traverse(m_visitor.Get());
    m_s->TraverseObjects(m_visitor.Get());
    EXPECT_EQ(dispatcher.Sent(), Messages{});
}

TEST_F(BVisitorTest, DerivedNodesAreEnteredByTheirOwnTraverse)
{
    const SP<BNode> shy(new ShyNode);
    shy->SetText(QD_W("Q"));
    Append(*shy, QD_W("Q1"));
    m_a->AddChild(shy.Get(), 0);
    EXPECT_EQ(Calls(&BNode::Traverse, *m_s),
              "<S S o <A A - <A1 A1 o > ( <Q Q - <Q1 Q1 - > > ) > <B B - > > ");
    EXPECT_EQ(Calls(&BNode::TraverseObjects, *m_s), "o - o shy - ");
    m_a->Deactivate();
    shy->Deactivate();
    EXPECT_EQ(Calls(&BNode::Traverse, *m_s), "<S S o <B B - > > ");
}

// Run under the address sanitizer, this shows that what is visited is held.
TEST_F(BVisitorTest, AVisitorMayEditTheNodeThatItVisits)
{
    m_a->AddAttrib(new NumberAttribute(QD_W("x"), 0));
    m_a->AddAnnotation(new CountedPayload);
    m_a->SetObj(new CountedPayload);
    m_visitor->m_onNode = [this](BNode& node) {
        if (&node != m_a)
            return;
        node.RemoveAttribs();
        node.RemoveAnnotations();
        node.RemoveChildren();
        Append(node, QD_W("new"));
    };
    m_visitor->m_onObject = [this](BSmartObj& object) {
        if (&object == m_a->GetObj())
            m_a->SetObj(nullptr);
        EXPECT_EQ(object.AllocatedMemory(), 100U);
    };
    EXPECT_EQ(Calls(&BNode::Traverse, *m_s), "<S S o <A [x A o <new new - > x] > <B B - > > ")
        << "the attribute that was pushed is popped";
    EXPECT_EQ(CountedPayload::alive, 1);

    m_visitor->m_onNode = [](BNode& node) {
        if (node.Parent() != nullptr)
            node.Parent()->RemoveChild(&node); // dies once it has been left
    };
    EXPECT_EQ(Calls(&BNode::Traverse, *m_s), "<S S o <A A - <new new - > > <B B - > > ");
    EXPECT_EQ(m_s->ChildNum(), 0);
}
