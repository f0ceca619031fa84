#include "core/archive/BArchive.h"
#include "core/geometry/BBitArray.h"
#include "core/tree/BNode.h"

#include "tests/FileBytes.h"
#include "tests/GoldenFile.h"
#include "tests/TemporaryFolder.h"
#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

// Archives that are kept: what each platform writes is compared with them byte for byte, and each
// platform reads them.

namespace {

// Nothing but the header, with nothing in it.
void WriteSmallest(BArchive&) {}

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

struct GoldenArchive {
    const char* name;
    const char* docClass;
    int docVersion;
    void (*write)(BArchive&);
    std::vector<const char*> labels;
};

const GoldenArchive kArchives[] = {
    {"archive/smallest.qda", "", 0, &WriteSmallest, {}},
    {"archive/odd.qda",
     "class Odd\xDF",
     std::numeric_limits<int>::min(),
     &WriteOdd,
     {"2", kOddLabel}},
};

} // namespace

// What is read and written again is the same file: nothing was lost on the way.
TEST(GoldenArchive, IsWrittenAndReadTheSameOnEachPlatform)
{
    NumberAttribute::Register();
    const TemporaryFolder folder;
    const auto written = [&](const GoldenArchive& golden, const auto& write) {
        {
            BArchive archive(folder.Path("a.qda"), BArchive::ModeWrite, golden.docClass,
                             golden.docVersion);
            write(archive);
            EXPECT_TRUE(archive.Flush());
        }
        return FileBytes(folder / "a.qda");
    };
    for (const GoldenArchive& golden : kArchives) {
        SCOPED_TRACE(golden.name);
        const std::string kept = FileBytes(GoldenFile(golden.name));
        EXPECT_TRUE(written(golden, golden.write) == kept);
        BArchive archive(TemporaryFolder::ToWide(GoldenFile(golden.name)), BArchive::ModeRead,
                         golden.docClass, golden.docVersion);
        EXPECT_TRUE(archive.IsGood());
        std::vector<SP<BSmartObj>> objects;
        for (const char* label : golden.labels)
            objects.push_back(archive.TakeOut(label));
        EXPECT_TRUE(written(golden, [&](BArchive& again) {
                        for (std::size_t i = 0; i < objects.size(); ++i)
                            again.Insert(objects[i].Get(), golden.labels[i]);
                    }) == kept);
    }
}
