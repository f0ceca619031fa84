#include "core/archive/BArchive.h"
#include "core/geometry/BBitArray.h"
#include "core/tree/BNode.h"

#include "tests/GoldenFile.h"
#include "tests/archive/ArchiveTestObjects.h"
#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

// An archive that is kept: what each platform writes is compared with it byte for byte, and each
// platform reads it.

namespace {

constexpr const char* kOddLabel = " label with blanks \xE4";

// Texts, counts and labels of unusual kinds.
void WriteOdd(BArchive& archive)
{
    const WChar texts[][8] = {
        {0},
        {QD_W(' ')},
        {QD_W('/')},
        {0xD83D, 0xDE00},                         // a pair of surrogates
        {0xDC00, 0xD800},                         // surrogates that are none
        {0xFEFF, 0xFFFF, 0x00AD},                 // marks and ignorables
        {0x20AC, 0x00E9, 0x0391, 0x221E, 0x4E2D}, // of the code page, look-alikes, neither
        {1, 9, 10, 13, 127, 0x80},
    };
    const SP<BNode> root = Named(QD_W("odd"));
    for (const auto& text : texts)
        Append(*root, text);
    const SP<BBitArray> bits(new BBitArray(9, 3, 2));
    bits->SetBit(1, 1, 8);
    BNode* shared = root->Child(1);
    shared->SetObj(bits.Get());
    shared->AddAnnotation(bits.Get());
    shared->AddAnnotation(new BBitArray(1, 0, 0));
    root->Child(2)->SetObj(bits.Get());
    root->Child(2)->AddAttrib(new NumberAttribute(QD_W(""), std::numeric_limits<int>::min()));
    root->Child(2)->AddAttrib(new NumberAttribute(texts[3], -1));
    root->Child(3)->Deactivate();
    root->Child(4)->Lock(true);
    archive.Insert(root.Get(), "2");
    archive.Insert(shared, kOddLabel);
}

using GoldenArchive = ArchiveFileTest;

} // namespace

// What is read and written again is the same file: nothing was lost on the way.
TEST_F(GoldenArchive, IsWrittenAndReadTheSameOnEachPlatform)
{
    NumberAttribute::Register();
    constexpr const char* kDocClass = "class Odd\xDF";
    constexpr int kDocVersion = std::numeric_limits<int>::min();
    const std::string kept = FileBytes(GoldenFile("archive/odd.qda"));
    EXPECT_TRUE(Written(&WriteOdd, kDocClass, kDocVersion) == kept);
    Put(kept);
    SP<BSmartObj> root, shared;
    {
        BArchive archive = Opened(kDocClass, kDocVersion);
        root = archive.TakeOut("2");
        shared = archive.TakeOut(kOddLabel);
    }
    const auto write = [&](BArchive& archive) {
        archive.Insert(root.Get(), "2");
        archive.Insert(shared.Get(), kOddLabel);
    };
    EXPECT_TRUE(Written(write, kDocClass, kDocVersion) == kept);
}
