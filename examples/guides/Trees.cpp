// The code of docs/trees.md.

#include "core/base/BString.h"
#include "core/tree/BAttribute.h"
#include "core/tree/BBank.h"
#include "core/tree/BNode.h"
#include "core/tree/BNodeItr.h"
#include "core/tree/BVisitor.h"

#include "examples/guides/Guides.h"

#include <algorithm>
#include <cstdio>

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

void ShowTrees()
{
    const SP<BNode> part = MakePart();
    std::printf("A part with %d children; %d nodes are active.\n", part->ChildNum(),
                CountActive(*part));

    part->Child(0)->AddAttrib(new FlatnessLimit(0.05));
    part->Child(1)->AddAttrib(new FlatnessLimit(0.01)); // on an inactive node
    const SP<TightestLimit> tightest(new TightestLimit);
    part->Traverse(tightest.Get());
    std::printf("The tightest limit of the active ones is %g mm.\n", tightest->Limit());

    BBank bank(part);
    BNode* scan = bank.Container(QD_W("/Scans/Monday/Scan1")); // made as far as it is missing
    const WString path = bank.Path(scan);                      // "/Scans/Monday/Scan1"
    const bool isThere = bank.ExistsContainer(QD_W("/scans/monday"));
    const SP<BNode> monday = part->QueryChild(QD_W("Scans/Monday")); // the same, without a bank
    std::printf("%s is %s, its parent %s.\n", path.AsString().CStr(), isThere ? "there" : "missing",
                monday.Get() == scan->Parent() ? "found by its path" : "not found");

    RemoveChildren(*part, QD_W("Plane"));
    std::printf("Without planes there is %d child.\n", part->ChildNum());
}
