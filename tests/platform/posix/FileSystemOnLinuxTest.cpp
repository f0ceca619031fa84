#include "core/file/BFile.h"
#include "core/platform/FileReplacement.h"
#include "core/platform/FileStream.h"
#include "core/platform/FileSystem.h"
#include "core/platform/posix/NativePath.h"

#include "tests/Process.h"
#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sched.h>
#include <set>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

TEST(FileSystemOnLinux, NamesThatAreNoUtf8AreFilesLikeOthers)
{
    const TemporaryFolder folder;
    const fs::path file = folder / "bad\xFF\xC3.dat";
    WriteFileBytes(file, "12345");
    std::u16string found;
    platform::FindFiles(folder.Path("bad*.dat"), [&](const platform::FoundFile& each) {
        found = each.path;
        return true;
    });
    EXPECT_EQ(platform::FileSize(found.c_str()), 5u);
    EXPECT_TRUE(BFile(found.c_str(), u"rb") != nullptr);
    EXPECT_EQ(BFile::Delete(found.c_str()), 1);
    EXPECT_FALSE(fs::exists(file));
}

// As Windows finds long names; not every stand-in for it does.
TEST(FileSystemOnLinux, PatternsKnowWhereANameEnds)
{
    const TemporaryFolder folder;
    for (const char* name : {"x", "x.y", "ab", "abc", "..a", ".a", "a..a", "a.b.c", " .a"})
        WriteFileBytes(folder / name, "");
    struct Case {
        const char* pattern;
        std::set<std::string> found;
    };
    const Case cases[] = {
        {"*.", {".", "..", "ab", "abc", "x"}}, // names without an extension
        {"*. .", {".", "..", "ab", "abc", "x"}},
        {"x*.", {"x"}},
        {".*.", {".", "..", ".a"}},
        {"..*", {".", "..", "..a"}},
        {"*..*", {".", "..", "..a", "a..a"}},
        {"* .*.", {" .a"}},
        {"?", {".", "..", "x"}},
        {"ab? ", {"ab", "abc"}}, // one unit, or none at the end
        {"???.", {".", "..", "ab", "abc", "x"}},
        {"?.?", {" .a", ".", "..", ".a", "x", "x.y"}},
        {"a?b*", {}}, // but no dot
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pattern);
        std::set<std::string> found;
        platform::FindFiles(folder.Path(c.pattern), [&](const platform::FoundFile& file) {
            found.insert(fs::path(file.path).filename().string());
            return true;
        });
        EXPECT_EQ(found, c.found);
    }
}

TEST(FileSystemOnLinux, AFailedLookIsNoMissingFile)
{
    const TemporaryFolder folder;
    fs::create_symlink("none", folder / "dangling");
    fs::create_symlink("loop", folder / "loop");
    EXPECT_EQ(platform::Presence(folder.Path("dangling")), platform::EPresence::Missing);
    EXPECT_EQ(platform::Presence(folder.Path("loop")), platform::EPresence::Unknown);
    const auto any = [](const platform::FoundFile&) { return true; };
    EXPECT_EQ(platform::FindFiles(folder.Path("none\\*"), any), platform::EPresence::Missing);
    EXPECT_EQ(platform::FindFiles(folder.Path("loop\\*"), any), platform::EPresence::Unknown);
    EXPECT_EQ(platform::FindFiles(folder.Path("loop\\x"), any), platform::EPresence::Unknown);
    const std::string longName(300, 'n');
    EXPECT_EQ(platform::Presence(folder.Path(longName.c_str())), platform::EPresence::Unknown);
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

TEST(FileSystemOnLinux, ReplacementFollowsALinkThatLeadsNowhere)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "elsewhere");
    fs::create_symlink("elsewhere/file", folder / "second");
    fs::create_symlink("second", folder / "first");
    platform::FileReplacement replacement(folder.Path("first"));
    ASSERT_NE(replacement.Stream(), nullptr);
    std::fputs("new", replacement.Stream());
    ASSERT_TRUE(replacement.Commit());
    EXPECT_TRUE(fs::is_symlink(folder / "first") && fs::is_symlink(folder / "second"));
    EXPECT_EQ(FileBytes(folder / "elsewhere/file"), "new");
}

// No right to look stands for every failure to look.
TEST(FileSystemOnLinux, NothingReplacesWhatCannotBeLookedAt)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "closed");
    WriteFileBytes(folder / "closed/file", "old");
    fs::create_symlink("closed/file", folder / "link");
    fs::create_symlink("loop", folder / "loop");
    EXPECT_EQ(platform::FileReplacement(folder.Path("loop")).Stream(), nullptr);
    fs::permissions(folder / "", fs::perms{0777});
    fs::permissions(folder / "closed", fs::perms{0});
    EXPECT_TRUE(HoldsForNobody([&] {
        return ::access((folder / "closed/file").c_str(), F_OK) == 0 || // who is nobody's superior
               (platform::Presence(folder.Path("link")) == platform::EPresence::Unknown &&
                platform::FileReplacement(folder.Path("link")).Stream() == nullptr);
    }));
    fs::permissions(folder / "closed", fs::perms{0700});
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
}

TEST(FileSystemOnLinux, SavingToAPipeThatNobodyReadsFails)
{
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    platform::FileReplacement replacement(folder.Path("pipe"));
    ASSERT_NE(replacement.Stream(), nullptr);
    std::fputs("new", replacement.Stream());
    EXPECT_FALSE(replacement.Commit());
    const platform::Stream reader = platform::OpenStream(folder.Path("pipe"), u"rb");
    platform::FileReplacement second(folder.Path("pipe"));
    std::fputs("new", second.Stream());
    EXPECT_TRUE(second.Commit());
    char text[4] = {};
    EXPECT_EQ(std::fread(text, 1, sizeof text, reader.get()), 3u);
    EXPECT_TRUE(fs::is_fifo(folder / "pipe"));
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

TEST(FileSystemOnLinux, WritesOverWhatIsMountedAloneUnlessTheDiskIsFull)
{
    struct Case {
        std::size_t size;
        bool isWritten;
    };
    const Case cases[] = {{40'000, true}, {70'000, false}, {5, true}, {70'000, false}};
    const TemporaryFolder folder;
    fs::create_directory(folder / "disk");
    WriteFileBytes(folder / "file", "");
    const auto mountFile = [&] { // seen by this process alone
        return ::unshare(CLONE_NEWNS) == 0 && ::mount("", "/", "", MS_REC | MS_PRIVATE, "") == 0 &&
               ::mount("", (folder / "disk").c_str(), "tmpfs", 0, "size=64k") == 0 &&
               (WriteFileBytes(folder / "disk/file", "old"), true) &&
               ::mount((folder / "disk/file").c_str(), (folder / "file").c_str(), "", MS_BIND,
                       "") == 0;
    };
    const auto replace = [&](const std::string& content) {
        platform::FileReplacement replacement(folder.Path("file"));
        return replacement.Stream() != nullptr &&
               std::fputs(content.c_str(), replacement.Stream()) >= 0 && replacement.Commit();
    };
    constexpr int cannotMount = 77;
    const pid_t child = ::fork();
    if (child == 0) {
        if (!mountFile())
            ::_exit(cannotMount);
        std::string expected = "old";
        for (const Case& c : cases) {
            const std::string content(c.size, 'n');
            if (replace(content) != c.isWritten)
                ::_exit(1);
            if (c.isWritten)
                expected = content;
            if (FileBytes(folder / "disk/file") != expected)
                ::_exit(2);
        }
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == cannotMount)
        GTEST_SKIP() << "only the superuser mounts";
    EXPECT_EQ(status, 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / ""), {}), 2); // no draft is left
}
