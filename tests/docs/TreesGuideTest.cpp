// The code of docs/trees.md.

#include "core/tree/BAttribute.h"
#include "core/tree/BBank.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeItr.h"
#include "core/tree/BVisitor.h"

#include <gtest/gtest.h>

#include <algorithm>

SP<BNode> MakePart()
{
    SP<BNode> part(new BNode);
    part->SetText(QD_W("Housing"));
    for (int i = 0; i < 3; ++i) {
        SP<BNode> plane(new BNode);
        plane->SetText(part->ChildTextSuggestion(QD_W("Plane"))); // Plane001, Plane002, ...
        part->AddChild(plane.Get(), -1);
    }
    part->Child(QD_W("plane002"))->Deactivate(); // found whatever the case
    return part;
}

int CountActive(BNode& root)
{
    int count = 0;
    for (BNodeItr itr(&root, BNodeItr::ActiveOnly); itr; ++itr)
        ++count;
    return count;
}

/// Removes the children whose text begins with `prefix`.
void RemoveChildren(BNode& node, const WString& prefix)
{
    BNodeChildItr itr(node);
    while (itr) {
        if (itr.Current()->GetText().StartsWith(prefix))
            itr.RemoveCurrent(); // stands on the next one
        else
            ++itr;
    }
}

/// A permitted deviation in millimetres.
class FlatnessLimit : public BAttribute {
public:
    explicit FlatnessLimit(double limit)
        : m_limit(limit)
    {}
    WString Name() const override { return QD_W("Flatness"); }
    [[nodiscard]] double Limit() const noexcept { return m_limit; }

private:
    double m_limit;
};

/// Gathers the tightest limit of all active nodes.
class TightestLimit : public BVisitor {
public:
    bool TreatNode(BNode* node) override
    {
        if (const auto* limit = dynamic_cast<FlatnessLimit*>(node->Attrib(QD_W("Flatness"))))
            m_limit = std::min(m_limit, limit->Limit());
        return false; // nothing changed, so nothing is reported
    }
    [[nodiscard]] double Limit() const noexcept { return m_limit; }

private:
    double m_limit = 1e9;
};

TEST(TreesGuide, ItsTreeIsBuiltWalkedAndAddressed)
{
    const SP<BNode> part = MakePart();
    EXPECT_EQ(part->ChildNum(), 3);
    EXPECT_EQ(CountActive(*part), 3);

    part->Child(0)->AddAttrib(new FlatnessLimit(0.05));
    part->Child(1)->AddAttrib(new FlatnessLimit(0.01)); // on an inactive node
    const SP<TightestLimit> tightest(new TightestLimit);
    part->Traverse(tightest.Get());
    EXPECT_EQ(tightest->Limit(), 0.05);

    BBank bank(part);
    BNode* scan = bank.Container(QD_W("/Scans/Monday/Scan1")); // made as far as it is missing
    const WString path = bank.Path(scan);                      // "/Scans/Monday/Scan1"
    const bool isThere = bank.ExistsContainer(QD_W("/scans/monday"));
    const SP<BNode> monday = part->QueryChild(QD_W("Scans/Monday")); // the same, without a bank
    EXPECT_EQ(path, QD_W("/Scans/Monday/Scan1"));
    EXPECT_TRUE(isThere);
    EXPECT_EQ(monday.Get(), scan->Parent());

    RemoveChildren(*part, QD_W("Plane"));
    EXPECT_EQ(part->ChildNum(), 1);
}
