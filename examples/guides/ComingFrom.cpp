// Our side of the pages docs/coming-from-*.md; the other side is examples/peers.

#include "core/archive/BArchive.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/geometry/BBitArray.h"
#include "core/platform/WChar.h"
#include "core/profile/BProfile.h"
#include "core/tree/BNode.h"
#include "support/SaveArchive.h"

#include "examples/guides/Guides.h"

#include <cstdio>

bool KeepPart(const WString& folder)
{
    const SP<BNode> part(new BNode);
    part->SetText(QD_W("Housing"));
    const SP<BBitArray> scan(new BBitArray(1, 640, 480));
    for (const WChar* const name : {QD_W("Top"), QD_W("Bottom")}) {
        const SP<BNode> plane(new BNode(scan.Get())); // both share one scan
        plane->SetText(name);
        part->AddChild(plane.Get(), -1);
    }
    if (!SaveArchive(folder + QD_W("part.qda"), "class Part", 1,
                     [&](BArchive& archive) { archive.Insert(part.Get(), "part"); }))
        return false;

    BArchive archive(folder + QD_W("part.qda"), BArchive::ModeRead, "class Part", 1);
    const SP<BSmartObj> object = archive.TakeOut("part");
    auto* const loaded = dynamic_cast<BNode*>(object.Get());
    if (loaded == nullptr)
        return false;
    const BNode* const top = loaded->Child(QD_W("Top"));
    const BNode* const bottom = loaded->Child(QD_W("Bottom"));
    BProfile settings(folder + QD_W("part.ini"), ProfileReadWrite);
    settings.SetSection(QD_W("View"));
    return top != nullptr && bottom != nullptr && top->GetObj() == bottom->GetObj() &&
           settings.ReadInt(QD_W("Width"), 800) == 800;
}

void ShowComingFrom(const WString& folder)
{
    std::puts(KeepPart(folder) ? "Two planes came back that share one scan." : "The part is lost.");
}
