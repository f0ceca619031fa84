#include "core/file/BDirEntry.h"

#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

// How paths come apart and together is tested in PathTest.cpp.

TEST(BDirEntry, TakesAPathApartAndChangesItsParts)
{
    const struct {
        const WChar *path, *name, *base, *extension, *parent;
        const WChar *withExtension, *withName, *cut; // changed to "txt", "n.x" and nothing
    } cases[] = {
        {QD_W("c:\\d\\a.b.doc"), QD_W("a.b.doc"), QD_W("a.b"), QD_W("doc"), QD_W("c:\\d"),
         QD_W("c:\\d\\a.b.txt"), QD_W("c:\\d\\n.x"), QD_W("c:\\d\\a.b")},
        {QD_W("c:\\d.e\\a"), QD_W("a"), QD_W("a"), QD_W(""), QD_W("c:\\d.e"), QD_W("c:\\d.e\\atxt"),
         QD_W("c:\\d.e\\n.x"), QD_W("c:\\d.e\\a")},
        {QD_W("a."), QD_W("a."), QD_W("a"), QD_W(""), QD_W(""), // a dot alone
         QD_W("a.txt"), QD_W("\\n.x"), QD_W("a")},
        {QD_W(""), QD_W(""), QD_W(""), QD_W(""), QD_W(""), QD_W("txt"), QD_W("\\n.x"), QD_W("")},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        const BDirEntry entry{WString(row.path)};
        EXPECT_EQ(entry.GetFull(), row.path);
        EXPECT_EQ(entry.GetName(), row.name);
        EXPECT_EQ(entry.GetBase(), row.base);
        EXPECT_EQ(entry.GetExtension(), row.extension);
        EXPECT_EQ(entry.GetPath().GetFull(), row.parent);
        BDirEntry extended = entry, named = entry, cut = entry;
        extended.ChangeExtension(QD_W("txt"));
        EXPECT_EQ(extended.GetFull(), row.withExtension);
        named.ChangeName(QD_W("n.x"));
        EXPECT_EQ(named.GetFull(), row.withName);
        EXPECT_EQ(cut.CutExtension(), row.extension);
        EXPECT_EQ(cut.GetFull(), row.cut);
    }
    BDirEntry root(QD_W("c:\\"));
    EXPECT_FALSE(root.RemoveFileSpec());
    EXPECT_EQ(root.GetFull(), QD_W("c:\\"));
}

TEST(BDirEntry, LimitsWhatTheShellLimits)
{
    WString name;
    name.Fill(257, QD_W('a'));
    const WString longest = WString(QD_W("c:\\")) + name, added = WString(QD_W("..\\")) + name;
    BDirEntry entry(longest), tooLong(longest + QD_W("a"));
    EXPECT_EQ(entry.GetBase(), name);
    EXPECT_TRUE(entry.RemoveFileSpec());
    EXPECT_TRUE(tooLong.GetBase().IsEmpty());
    EXPECT_FALSE(tooLong.RemoveFileSpec());
    EXPECT_EQ(tooLong.GetFull(), longest + QD_W("a"));

    // What is too long is put together as it stands, once with a separator.
    for (const WChar* start : {QD_W("x:\\y"), QD_W("x:\\y\\")}) {
        BDirEntry big{WString(start)};
        big += BDirEntry(added);
        EXPECT_EQ(big.GetFull(), QD_W("x:\\y\\") + added);
    }
}

TEST(BDirEntry, MakesDirectories)
{
    const TemporaryFolder folder;
    BDirEntry deep(folder.Path("a"));
    deep += BDirEntry(QD_W("b\\\u6E2C"));
    EXPECT_FALSE(deep.Exists());
    EXPECT_TRUE(deep.MakeDir());
    EXPECT_TRUE(deep.Exists());
    EXPECT_FALSE(deep.MakeDir());
    EXPECT_TRUE(BDirEntry(folder.Path("x\\y\\")).MakeDir());
    EXPECT_TRUE(BDirEntry(folder.Path("x\\y")).Exists());
    EXPECT_FALSE(BDirEntry(QD_W("qd-relative")).MakeDir());
    EXPECT_FALSE(BDirEntry().MakeDir());
}
