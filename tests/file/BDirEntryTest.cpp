#include "core/file/BDirEntry.h"

#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>

namespace {

WString Repeated(std::size_t count)
{
    WString text;
    text.Fill(count, QD_W('a'));
    return text;
}

} // namespace

TEST(BDirEntry, TakesAPathApart)
{
    struct Case {
        const WChar *path, *name, *base, *extension, *parent;
    };
    const Case cases[] = {
        {QD_W("c:\\d\\a.b.doc"), QD_W("a.b.doc"), QD_W("a.b"), QD_W("doc"), QD_W("c:\\d")},
        {QD_W("c:\\d.e\\a"), QD_W("a"), QD_W("a"), QD_W(""), QD_W("c:\\d.e")},
        {QD_W("a"), QD_W("a"), QD_W("a"), QD_W(""), QD_W("")},
        {QD_W("a."), QD_W("a."), QD_W("a"), QD_W(""), QD_W("")},
        {QD_W(""), QD_W(""), QD_W(""), QD_W(""), QD_W("")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(std::basic_string<WChar>(c.path)));
        const BDirEntry entry{WString(c.path)};
        EXPECT_EQ(entry.GetFull(), c.path);
        EXPECT_EQ(entry.GetName(), c.name);
        EXPECT_EQ(entry.GetBase(), c.base);
        EXPECT_EQ(entry.GetExtension(), c.extension);
        EXPECT_EQ(entry.GetPath().GetFull(), c.parent);
    }
    BDirEntry root(QD_W("c:\\"));
    EXPECT_FALSE(root.RemoveFileSpec());
    EXPECT_EQ(root.GetFull(), QD_W("c:\\"));
}

TEST(BDirEntry, ChangesItsParts)
{
    struct Case {
        const WChar *path, *withExtension, *withName, *cut;
    };
    const Case cases[] = {
        {QD_W("c:\\d\\a.b.doc"), QD_W("c:\\d\\a.b.txt"), QD_W("c:\\d\\n.x"), QD_W("c:\\d\\a.b")},
        {QD_W("c:\\d\\a"), QD_W("c:\\d\\atxt"), QD_W("c:\\d\\n.x"), QD_W("c:\\d\\a")},
        {QD_W("a."), QD_W("a.txt"), QD_W("\\n.x"), QD_W("a")},
        {QD_W(""), QD_W("txt"), QD_W("\\n.x"), QD_W("")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(std::basic_string<WChar>(c.path)));
        BDirEntry extended{WString(c.path)}, named = extended, cut = extended;
        extended.ChangeExtension(QD_W("txt"));
        EXPECT_EQ(extended.GetFull(), c.withExtension);
        named.ChangeName(QD_W("n.x"));
        EXPECT_EQ(named.GetFull(), c.withName);
        const WString extension = cut.GetExtension();
        EXPECT_EQ(cut.CutExtension(), extension);
        EXPECT_EQ(cut.GetFull(), c.cut);
    }
}

TEST(BDirEntry, GoesOnToAnotherPath)
{
    BDirEntry entry(QD_W("c:\\d\\e"));
    entry += BDirEntry(QD_W("..\\f"));
    EXPECT_EQ(entry.GetFull(), QD_W("c:\\d\\f"));
    entry += BDirEntry(QD_W("x:\\y"));
    EXPECT_EQ(entry.GetFull(), QD_W("x:\\y"));

    // What is too long for the shell is put together as it stands, once with a separator.
    const WString added = WString(QD_W("..\\")) + Repeated(257);
    for (const WChar* start : {QD_W("x:\\y"), QD_W("x:\\y\\")}) {
        BDirEntry big{WString(start)};
        big += BDirEntry(added);
        EXPECT_EQ(big.GetFull(), QD_W("x:\\y\\") + added);
    }
}

TEST(BDirEntry, LimitsWhatTheShellLimits)
{
    const WString longest = WString(QD_W("c:\\")) + Repeated(257);
    BDirEntry entry(longest);
    EXPECT_EQ(entry.GetBase(), Repeated(257));
    EXPECT_TRUE(entry.RemoveFileSpec());
    BDirEntry tooLong(longest + QD_W("a"));
    EXPECT_TRUE(tooLong.GetBase().IsEmpty());
    EXPECT_FALSE(tooLong.RemoveFileSpec());
    EXPECT_EQ(tooLong.GetFull(), longest + QD_W("a"));
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
    EXPECT_TRUE(deep.GetPath().Exists());
    EXPECT_FALSE(BDirEntry(QD_W("qd-relative")).MakeDir());
    EXPECT_FALSE(BDirEntry().MakeDir());
}
