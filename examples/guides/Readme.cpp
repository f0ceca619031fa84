// The code of README.md.

#include "core/qdcore.h"

#include "examples/guides/Guides.h"

#include <cstdio>

bool SaveAndReload(const WString& path)
{
    SP<BNode> part(new BNode);
    part->SetText(QD_W("Part"));
    SP<BNode> plane(new BNode);
    plane->SetText(part->ChildTextSuggestion(QD_W("Plane"))); // Plane001
    plane->SetObj(new BBitArray(1, 640, 480));
    part->AddChild(plane.Get(), -1);

    {
        BArchive archive(path, BArchive::ModeWrite, "class Document", 1);
        archive.Insert(part.Get(), "part"); // and all that it refers to
        if (!archive.Flush())
            return false;
    }
    BArchive archive(path, BArchive::ModeRead, "class Document", 1);
    const SP<BSmartObj> object = archive.TakeOut("part");
    const auto* copy = dynamic_cast<BNode*>(object.Get());
    return copy != nullptr && copy->Child(QD_W("plane001")) != nullptr;
}

void ShowReadme(const WString& folder)
{
    std::puts(SaveAndReload(folder + QD_W("part.qda")) ? "The part came back."
                                                       : "The part was lost.");
}
