#include "core/file/BFile.h"
#include "core/platform/FileReplacement.h"
#include "core/platform/FileSystem.h"
#include "core/platform/posix/NativePath.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sys/stat.h>

namespace fs = std::filesystem;

TEST(FileSystemOnLinux, NamesThatAreNoUtf8AreFilesLikeOthers)
{
    const TemporaryFolder folder;
    const fs::path file = folder / "bad\xFF\xC3.dat";
    WriteFileBytes(file, "12345");
    std::u16string found;
    EXPECT_TRUE(platform::FindFiles(folder.Path("bad*.dat"), [&](const platform::FoundFile& each) {
        found = each.path;
        return true;
    }));
    EXPECT_EQ(platform::FileSize(found.c_str()), 5u);
    EXPECT_TRUE(BFile(found.c_str(), u"rb") != nullptr);
    EXPECT_EQ(BFile::Delete(found.c_str()), 1);
    EXPECT_FALSE(fs::exists(file));
}

TEST(FileSystemOnLinux, DeletingStaysInTheFolder)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "in");
    fs::create_directory(folder / "in/deeper");
    WriteFileBytes(folder / "out", "");
    WriteFileBytes(folder / "in/..\\out", ""); // one name, which as a path would lead out
    WriteFileBytes(folder / "in/file", "");
    fs::create_symlink(folder / "out", folder / "in/link");
    fs::create_directory_symlink(folder / "", folder / "in/up");
    ASSERT_EQ(::mkfifo((folder / "in/pipe").c_str(), 0600), 0);

    EXPECT_EQ(BFile::Delete(folder.Path("in\\*")), 3); // the files, and the link itself
    EXPECT_TRUE(fs::exists(folder / "out"));
    EXPECT_FALSE(fs::exists(folder / "in/..\\out"));
    for (const char* kept : {"in/deeper", "in/up", "in/pipe"})
        EXPECT_TRUE(fs::exists(folder / kept)) << kept;
}

TEST(FileSystemOnLinux, ReplacementKeepsPermissionsAndLinks)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "file", "old");
    ::chmod((folder / "file").c_str(), 0640);
    fs::create_symlink("file", folder / "link");
    platform::FileReplacement replacement(folder.Path("link"));
    ASSERT_NE(replacement.Stream(), nullptr);
    std::fputs("new", replacement.Stream());
    ASSERT_TRUE(replacement.Commit());
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(FileBytes(folder / "file"), "new");
    EXPECT_EQ(fs::status(folder / "file").permissions(), fs::perms{0640});
}

TEST(FileSystemOnLinux, ReplacesInPlaceWhatCannotHaveASibling)
{
    // Nobody, root included, makes files there, while what is there can be written.
    const std::string old = FileBytes("/proc/self/comm");
    {
        platform::FileReplacement given(u"/proc/self/comm");
        ASSERT_NE(given.Stream(), nullptr);
        std::fputs("half", given.Stream());
    }
    EXPECT_EQ(FileBytes("/proc/self/comm"), old);
    platform::FileReplacement replacement(u"/proc/self/comm");
    ASSERT_NE(replacement.Stream(), nullptr);
    std::fputs("qd-in-place", replacement.Stream());
    EXPECT_TRUE(replacement.Commit());
    EXPECT_EQ(FileBytes("/proc/self/comm"), "qd-in-place\n");
}
