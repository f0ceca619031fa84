#include "core/archive/BArchive.h"
#include "core/geometry/BBitArray.h"
#include "core/tree/BNode.h"

#include "tests/FileBytes.h"
#include "tests/GoldenFile.h"
#include "tests/TemporaryFolder.h"
#include "tests/tree/TreeTestObjects.h"

#include <gtest/gtest.h>

#include <limits>

// Archives that are kept: what each platform writes is compared with them byte for byte, and each
// platform reads them.

namespace {

// Nothing but the header, with nothing in it.
void WriteSmallest(BArchive&) {}

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
    archive.Insert(shared, " label with blanks \xE4");
}

// Many objects, deep and wide, and long texts.
void WriteLargest(BArchive& archive)
{
    const SP<BNode> root = Named(QD_W("large"));
    WString text;
    BNode* deep = Append(*root, QD_W("deep"));
    for (int i = 0; i < 300; ++i)
        deep = Append(*deep, QD_W(""));
    BNode* wide = Append(*root, QD_W("wide"));
    for (int i = 0; i < 300; ++i) {
        text.Printf(QD_W("Child%03d"), i);
        Append(*wide, text.CStr());
    }
    text.Fill(5'000, 0x00FC);
    Append(*root, text.CStr())->SetObj(new BBitArray(16, 50, 50));
    archive.Insert(root.Get(), "root");
}

struct GoldenArchive {
    const char* name;
    const char* docClass;
    int docVersion;
    void (*write)(BArchive&);
};

const GoldenArchive kArchives[] = {
    {"archive/smallest.qda", "", 0, &WriteSmallest},
    {"archive/odd.qda", "class Odd\xDF", std::numeric_limits<int>::min(), &WriteOdd},
    {"archive/largest.qda", "class Large", std::numeric_limits<int>::max(), &WriteLargest},
};

} // namespace

TEST(GoldenArchive, IsWrittenTheSameOnEachPlatform)
{
    const TemporaryFolder folder;
    for (const GoldenArchive& golden : kArchives) {
        SCOPED_TRACE(golden.name);
        {
            BArchive archive(folder.Path("a.qda"), BArchive::ModeWrite, golden.docClass,
                             golden.docVersion);
            golden.write(archive);
            EXPECT_TRUE(archive.Flush());
        }
        EXPECT_TRUE(FileBytes(folder / "a.qda") == FileBytes(GoldenFile(golden.name)));
    }
}

TEST(GoldenArchive, IsReadOnEachPlatform)
{
    NumberAttribute::Register();
    const WString smallest = TemporaryFolder::ToWide(GoldenFile("archive/smallest.qda"));
    EXPECT_TRUE(BArchive(smallest, BArchive::ModeRead, "", 0).IsGood());

    BArchive odd(TemporaryFolder::ToWide(GoldenFile("archive/odd.qda")), BArchive::ModeRead,
                 "class Odd\xDF", std::numeric_limits<int>::min());
    const SP<BSmartObj> oddObject = odd.TakeOut("2");
    auto* oddRoot = dynamic_cast<BNode*>(oddObject.Get());
    ASSERT_NE(oddRoot, nullptr);
    ASSERT_EQ(oddRoot->ChildNum(), 8);
    EXPECT_EQ(odd.TakeOut(" label with blanks \xE4"), oddRoot->Child(1));
    const WString surrogates = oddRoot->Child(4)->GetText();
    ASSERT_EQ(surrogates.Length(), 2U);
    EXPECT_EQ(surrogates.GetAt(0), 0xDC00);
    auto* bits = dynamic_cast<BBitArray*>(oddRoot->Child(1)->GetObj());
    ASSERT_NE(bits, nullptr);
    EXPECT_EQ(oddRoot->Child(2)->GetObj(), bits);
    EXPECT_TRUE(bits->TestBit(1, 1, 8));
    EXPECT_EQ(oddRoot->Child(1)->AnnotationNum(), 2);
    EXPECT_EQ(oddRoot->Child(2)->AttribNum(), 2);
    EXPECT_FALSE(oddRoot->Child(3)->IsActive());

    BArchive large(TemporaryFolder::ToWide(GoldenFile("archive/largest.qda")), BArchive::ModeRead,
                   "class Large", std::numeric_limits<int>::max());
    const SP<BSmartObj> largeObject = large.TakeOut("root");
    auto* largeRoot = dynamic_cast<BNode*>(largeObject.Get());
    ASSERT_NE(largeRoot, nullptr);
    EXPECT_EQ(largeRoot->Child(QD_W("wide"))->ChildNum(), 300);
    EXPECT_EQ(largeRoot->Child(2)->GetText().Length(), 5'000U);
}
