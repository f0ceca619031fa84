#include "core/platform/Path.h"

#include "core/platform/PathRules.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Text = std::basic_string<WChar>;
using platform::EPathStyle;

} // namespace

TEST(PathRules, TakeEachStyleApart)
{
    struct Case {
        Text path;
        EPathStyle style;
        Text name, extension, folder;
    };
    constexpr EPathStyle shell = EPathStyle::Shell, posix = EPathStyle::Posix;
    const Case cases[] = {
        {QD_W(""), shell, QD_W(""), QD_W(""), QD_W("")},
        {QD_W("c:\\d\\a.b.doc"), shell, QD_W("a.b.doc"), QD_W(".doc"), QD_W("c:\\d")},
        {QD_W("c:\\d.e\\a"), shell, QD_W("a"), QD_W(""), QD_W("c:\\d.e")},
        {QD_W("a.b c"), shell, QD_W("a.b c"), QD_W(""), QD_W("")}, // a blank ends no extension
        {QD_W("a."), shell, QD_W("a."), QD_W("."), QD_W("")},
        {QD_W("d\\a\\"), shell, QD_W("a\\"), QD_W(""), QD_W("d\\a")},
        {QD_W("c:\\"), shell, QD_W("c:\\"), QD_W(""), QD_W("c:\\")}, // nothing but a root
        {QD_W("\\a"), shell, QD_W("a"), QD_W(""), QD_W("\\")},
        {QD_W("c:a"), shell, QD_W("a"), QD_W(""), QD_W("c:")},
        {QD_W("1:a"), shell, QD_W("a"), QD_W(""), QD_W("")},
        {QD_W("c:\\\\d"), shell, QD_W("d"), QD_W(""), QD_W("c:\\")},
        {QD_W("c:\\d\\\\a"), shell, QD_W("a"), QD_W(""), QD_W("c:\\d")}, // both go
        {QD_W("c:\\d\\a\\\\"), shell, QD_W("a\\\\"), QD_W(""), QD_W("c:\\d\\a")},
        {QD_W("c:\\d\\\\\\a"), shell, QD_W("a"), QD_W(""), QD_W("c:\\d\\")},
        {QD_W("c:/d\\a"), shell, QD_W("a"), QD_W(""), QD_W("c:/d")},
        {QD_W("\\\\?\\c:\\"), shell, QD_W("c:\\"), QD_W(""), QD_W("\\\\?\\c:\\")},
        {QD_W("\\\\?\\c:\\a"), shell, QD_W("a"), QD_W(""), QD_W("\\\\?\\c:\\")},
        {QD_W("\\\\?\\Volume{01234567-89ab-cdef-0123-456789ABCDEF}\\"), shell,
         QD_W("Volume{01234567-89ab-cdef-0123-456789ABCDEF}\\"), QD_W(""),
         QD_W("\\\\?\\Volume{01234567-89ab-cdef-0123-456789ABCDEF}\\")},
        {QD_W("\\\\?\\Volume{01234567}\\"), shell, QD_W("Volume{01234567}\\"), QD_W(""),
         QD_W("\\\\?\\Volume{01234567}")},
        {QD_W("\\\\s\\h"), shell, QD_W("h"), QD_W(""), QD_W("\\\\s")},
        {QD_W("\\\\s"), shell, QD_W("s"), QD_W(""), QD_W("\\\\")},
        {QD_W("/d//a"), posix, QD_W("a"), QD_W(""), QD_W("/d")},
        {QD_W("d/a.b/c"), shell, QD_W("c"), QD_W(".b/c"), QD_W("")}, // "/" is half a separator
        {QD_W("d/a.b/c"), posix, QD_W("c"), QD_W(""), QD_W("d/a.b")},
        {QD_W("/d/a.b\\c.e"), posix, QD_W("c.e"), QD_W(".e"), QD_W("/d/a.b")},
        {QD_W("/a"), posix, QD_W("a"), QD_W(""), QD_W("/")},
        {QD_W("c:/a"), posix, QD_W("a"), QD_W(""), QD_W("c:/")},
        {QD_W("/d/at 12:30.log"), posix, QD_W("at 12:30.log"), QD_W(".log"), QD_W("/d")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.path));
        EXPECT_EQ(c.path.substr(platform::FindFileName(c.path, c.style)), c.name);
        EXPECT_EQ(c.path.substr(platform::FindExtension(c.path, c.style)), c.extension);
        EXPECT_EQ(c.path.substr(0, platform::FindFileSpec(c.path, c.style)), c.folder);
    }
}

TEST(PathRules, CombineAndResolveDots)
{
    struct Case {
        Text folder, path, combined;
        bool isShellSure = true; // whether the shell is known to answer alike everywhere
    };
    const Case cases[] = {
        {QD_W("C:\\a"), QD_W("b"), QD_W("C:\\a\\b")},
        {QD_W("C:\\a\\"), QD_W("b\\"), QD_W("C:\\a\\b\\")},
        {QD_W("C:"), QD_W("b"), QD_W("C:\\b")},
        {QD_W("C:\\a\\b"), QD_W("..\\c"), QD_W("C:\\a\\c")},
        {QD_W("C:\\a"), QD_W("..\\..\\b"), QD_W("C:\\b")}, // not beyond the root
        {QD_W("C:\\a"), QD_W(".."), QD_W("C:\\")},
        {QD_W("C:\\a"), QD_W("b\\.\\c..d"), QD_W("C:\\a\\b\\c..d")},
        {QD_W("C:\\a"), QD_W("\\b"), QD_W("C:\\b")},
        {QD_W("C:\\a"), QD_W("D:\\b"), QD_W("D:\\b")},
        {QD_W("C:\\a"), QD_W("\\\\s\\h"), QD_W("\\\\s\\h")},
        {QD_W(""), QD_W("b"), QD_W("b")},
        {QD_W("a\\"), QD_W(""), QD_W("a\\")},
        {QD_W(""), QD_W(""), QD_W("\\"), false},
        {QD_W("a"), QD_W(".."), QD_W("\\"), false},
        {QD_W("C:\\a"), QD_W("."), QD_W("C:\\a"), false},
        {QD_W("C:\\a"), QD_W("..b\\..."), QD_W("C:\\a\\..b\\..."), false},
        {QD_W("C:\\a"), QD_W("b\\..\\"), QD_W("C:\\a\\")},
        {QD_W("C:\\a"), QD_W("\\..\\b"), QD_W("C:\\b")},
        {QD_W("\\\\s\\h"), QD_W(".."), QD_W("\\\\s")}, // out of a share, not of a server
        {QD_W("\\\\s\\h\\a"), QD_W("..\\..\\..\\b"), QD_W("\\\\s\\b")},
        {QD_W("\\\\s\\h\\a"), QD_W("\\b"), QD_W("\\\\s\\h\\b")},
        {QD_W("\\\\?\\C:\\a"), QD_W("..\\..\\b"), QD_W("\\\\?\\C:\\b"), false},
        {QD_W("..\\a"), QD_W("b"), QD_W("..\\a\\b")},
        {QD_W("."), QD_W("..\\..\\b"), QD_W("..\\..\\b"), false},
        {QD_W("a\\b"), QD_W("\\c"), QD_W("c")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.folder) + " + " + testing::PrintToString(c.path));
        EXPECT_EQ(platform::CombinePaths(c.folder, c.path, EPathStyle::Shell), c.combined);
        EXPECT_EQ(platform::CombinePaths(c.folder, c.path, EPathStyle::Posix), c.combined);
        if (c.isShellSure) {
            EXPECT_EQ(platform::CombinePaths(c.folder.c_str(), c.path.c_str()), c.combined);
        }
    }
    constexpr EPathStyle posix = EPathStyle::Posix;
    EXPECT_EQ(platform::CombinePaths(QD_W("/d/e"), QD_W("../x/./y"), posix), QD_W("/d/x/y"));
    EXPECT_EQ(platform::CombinePaths(QD_W("/d/e"), QD_W("/x"), posix), QD_W("/x"));
    EXPECT_EQ(platform::CombinePaths(QD_W("d/e"), QD_W("/x"), posix), QD_W("/x"));
    EXPECT_EQ(platform::CombinePaths(QD_W("d/e"), QD_W("x"), posix), QD_W("d/e/x"));

    // Too long counts before "." and ".." are resolved.
    const Text longest(platform::kPathRoom - 3, 'a'), back = QD_W("\\..\\b");
    EXPECT_TRUE(platform::CombinePaths(QD_W("C"), longest.substr(1).c_str()));
    EXPECT_FALSE(platform::CombinePaths(QD_W("C"), (longest + QD_W("a")).c_str()));
    EXPECT_TRUE(platform::CombinePaths(QD_W("C"), (longest.substr(back.size()) + back).c_str()));
    EXPECT_FALSE(platform::CombinePaths(QD_W("C"), (longest + back).c_str()));
}
