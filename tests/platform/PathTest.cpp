#include "core/platform/Path.h"

#include "core/platform/PathRules.h"
#include "core/platform/WideText.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

using platform::EPathStyle;
using platform::WideText;

WideText Widened(const std::string& text)
{
    return {text.begin(), text.end()};
}

} // namespace

TEST(PathRules, TakeEachStyleApart)
{
    struct Case {
        std::string path;
        EPathStyle style;
        std::string name, extension, folder;
    };
    constexpr EPathStyle shell = EPathStyle::Shell, posix = EPathStyle::Posix;
    const std::string volume = "Volume{01234567-89ab-cdef-0123-456789ABCDEF}\\";
    const std::string noVolume = "Volume{01234567-89ab-cdef-0123-456789ABCDEg}";
    // clang-format off
    const Case cases[] = {
        {"", shell, "", "", ""}, {"a:\\d\\a.b.doc", shell, "a.b.doc", ".doc", "a:\\d"},
        {"z:\\d.e\\a", shell, "a", "", "z:\\d.e"}, {"a.b c", shell, "a.b c", "", ""},
        {"a.", shell, "a.", ".", ""}, {"d\\a\\", shell, "a\\", "", "d\\a"},
        {"A:\\", shell, "A:\\", "", "A:\\"}, {"\\a", shell, "a", "", "\\"},
        {"Z:a", shell, "a", "", "Z:"}, {"1:a", shell, "a", "", ""},
        {"c:\\\\d", shell, "d", "", "c:\\"}, {"c:\\d\\\\a", shell, "a", "", "c:\\d"},
        {"c:\\d\\a\\\\", shell, "a\\\\", "", "c:\\d\\a"},
        {"c:\\d\\\\\\a", shell, "a", "", "c:\\d\\"}, {"c:/d\\a", shell, "a", "", "c:/d"},
        {"\\\\?\\c:\\", shell, "c:\\", "", "\\\\?\\c:\\"},
        {"\\\\?\\c:\\a", shell, "a", "", "\\\\?\\c:\\"}, {"\\\\s\\h", shell, "h", "", "\\\\s"},
        {"\\\\s", shell, "s", "", "\\\\"},
        {"\\\\?\\" + volume, shell, volume, "", "\\\\?\\" + volume},
        {"\\\\?\\Volume{0}\\", shell, "Volume{0}\\", "", "\\\\?\\Volume{0}"},
        {"\\\\?\\" + noVolume + "\\", shell, noVolume + "\\", "", "\\\\?\\" + noVolume},
        {"/d//a", posix, "a", "", "/d"},
        {"d/a.b/c", shell, "c", ".b/c", ""}, {"d/a.b/c", posix, "c", "", "d/a.b"},
        {"/d/a.b\\c.e", posix, "c.e", ".e", "/d/a.b"}, {"/a", posix, "a", "", "/"},
        {"c:/a", posix, "a", "", "c:/"}, {"/d/at 12:30.log", posix, "at 12:30.log", ".log", "/d"},
    };
    // clang-format on
    constexpr bool isShell = std::filesystem::path::preferred_separator == '\\';
    constexpr EPathStyle native = isShell ? shell : posix;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        const WideText path = Widened(c.path);
        EXPECT_EQ(c.path.substr(platform::FindFileName(path, c.style)), c.name);
        EXPECT_EQ(c.path.substr(platform::FindExtension(path, c.style)), c.extension);
        EXPECT_EQ(c.path.substr(0, platform::FindFileSpec(path, c.style)), c.folder);
        if (c.style == native) { // which elements the shell removes depends on its version
            EXPECT_EQ(c.path.substr(platform::FindFileName(path.c_str())), c.name);
            EXPECT_EQ(c.path.substr(platform::FindExtension(path.c_str())), c.extension);
        }
    }
}

TEST(PathRules, CombineAndResolveDots)
{
    struct Case {
        std::string folder, path, combined;
        bool isShellSure = true; // whether the shell is known to answer alike everywhere
    };
    // clang-format off
    const Case cases[] = {
        {"C:\\a", "b", "C:\\a\\b"}, {"C:\\a\\", "b\\", "C:\\a\\b\\"}, {"C:", "b", "C:\\b"},
        {"C:\\a\\b", "..\\c", "C:\\a\\c"}, {"C:\\a", "..\\..\\b", "C:\\b"}, {"C:\\a", "..", "C:\\"},
        {"C:\\a", "b\\.\\c..d", "C:\\a\\b\\c..d"}, {"C:\\a", "\\b", "C:\\b"},
        {"C:\\a", "D:\\b", "D:\\b"}, {"C:\\a", "\\\\s\\h", "\\\\s\\h"}, {"", "b", "b"},
        {"a\\", "", "a\\"}, {"", "", "\\", false}, {"a", "..", "\\", false},
        {"C:\\a", ".", "C:\\a", false}, {"C:\\a", "..b\\...", "C:\\a\\..b\\...", false},
        {"C:\\a", "b\\..\\", "C:\\a\\"}, {"C:\\a", "\\..\\b", "C:\\b"}, {"\\\\s\\h", "..", "\\\\s"},
        {"\\\\s\\h\\a", "..\\..\\..\\b", "\\\\s\\b"}, {"\\\\s\\h\\a", "\\b", "\\\\s\\h\\b"},
        {"\\\\?\\C:\\a", "..\\..\\b", "\\\\?\\C:\\b", false}, {"..\\a", "b", "..\\a\\b"},
        {".", "..\\..\\b", "..\\..\\b", false}, {"a\\b", "\\c", "c"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.folder + " + " + c.path);
        const WideText folder = Widened(c.folder), path = Widened(c.path);
        const WideText combined = Widened(c.combined);
        EXPECT_EQ(platform::CombinePaths(folder, path, EPathStyle::Shell), combined);
        EXPECT_EQ(platform::CombinePaths(folder, path, EPathStyle::Posix), combined);
        if (c.isShellSure) {
            EXPECT_EQ(platform::CombinePaths(folder.c_str(), path.c_str()), combined);
        }
    }
    constexpr EPathStyle posix = EPathStyle::Posix;
    EXPECT_EQ(platform::CombinePaths(QD_W("/d/e"), QD_W("../x/./y"), posix), QD_W("/d/x/y"));
    EXPECT_EQ(platform::CombinePaths(QD_W("/d/e"), QD_W("/x"), posix), QD_W("/x"));
    EXPECT_EQ(platform::CombinePaths(QD_W("d/e"), QD_W("/x"), posix), QD_W("/x"));
    EXPECT_EQ(platform::CombinePaths(QD_W("d/e"), QD_W("x"), posix), QD_W("d/e/x"));

    // Too long counts before "." and ".." are resolved.
    const WideText longest(platform::kPathRoom - 3, 'a'), back = QD_W("\\..\\b");
    EXPECT_TRUE(platform::CombinePaths(QD_W("C"), (longest.substr(back.size()) + back).c_str()));
    EXPECT_FALSE(platform::CombinePaths(QD_W("C"), (longest + back).c_str()));
    const WideText absolute = QD_W("C:\\") + longest; // nothing is cut off what stands alone
    EXPECT_FALSE(platform::CombinePaths(QD_W("C:\\a"), absolute.c_str()));
    EXPECT_FALSE(platform::CombinePaths(absolute.c_str(), QD_W("")));
    const WideText rooted = QD_W("\\aa") + longest; // without the separator there is room
    EXPECT_EQ(platform::CombinePaths(QD_W("C"), rooted.c_str()), rooted.substr(1));
}
