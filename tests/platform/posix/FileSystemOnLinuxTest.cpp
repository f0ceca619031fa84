#include "core/file/BFile.h"
#include "core/platform/FileReplacement.h"
#include "core/platform/FileStream.h"
#include "core/platform/FileSystem.h"
#include "core/platform/posix/NativePath.h"

#include "tests/FileBytes.h"
#include "tests/Process.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/posix/SystemCalls.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sched.h>
#include <set>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using Replacement = platform::FileReplacement;
using platform::EPresence;

bool Replace(const WString& path, const std::string& content,
             Replacement::ESync sync = Replacement::ESync::Yes)
{
    Replacement replacement(path, sync);
    return replacement.Stream() != nullptr &&
           std::fputs(content.c_str(), replacement.Stream()) >= 0 && replacement.Commit();
}

std::set<std::string> Found(const TemporaryFolder& folder, const char* pattern)
{
    std::set<std::string> found;
    platform::FindFiles(folder.Path(pattern), [&](const platform::FoundFile& file) {
        found.insert(
            platform::ToNativePath(file.path.c_str()).substr((folder / "").native().size()));
        return true;
    });
    return found;
}

} // namespace

// As Windows finds long names; not every stand-in for it does.
TEST(FileSystemOnLinux, PatternsKnowWhereANameEnds)
{
    const TemporaryFolder folder;
    for (const char* name :
         {"x", "x.y", "ab", "abc", "..a", ".a", "a..a", "a.b.c", " .a", "bad\xFF\xC3.dat"})
        WriteFileBytes(folder / name, "");
    const std::pair<const char*, std::set<std::string>> cases[] = {
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
        {"a?b*", {}},                      // but no dot
        {"bad*.dat", {"bad\xFF\xC3.dat"}}, // no UTF-8
    };
    for (const auto& [pattern, found] : cases)
        EXPECT_EQ(Found(folder, pattern), found) << pattern;
}

TEST(FileSystemOnLinux, AFailedLookIsNoMissingFile)
{
    const TemporaryFolder folder;
    fs::create_symlink("none", folder / "dangling");
    fs::create_symlink("loop", folder / "loop");
    const std::string longName(300, 'n');
    EXPECT_EQ(platform::Presence(folder.Path("dangling")), EPresence::Missing);
    EXPECT_EQ(platform::Presence(folder.Path("loop")), EPresence::Unknown);
    EXPECT_EQ(platform::Presence(folder.Path(longName.c_str())), EPresence::Unknown);
    const auto any = [](const platform::FoundFile&) { return true; };
    EXPECT_EQ(platform::FindFiles(folder.Path("none\\*"), any), EPresence::Missing);
    EXPECT_EQ(platform::FindFiles(folder.Path("loop\\*"), any), EPresence::Unknown);
    EXPECT_EQ(platform::FindFiles(folder.Path("loop\\x"), any), EPresence::Unknown);
    EXPECT_EQ(Replacement(folder.Path("loop")).Stream(), nullptr);
}

TEST(FileSystemOnLinux, DeletingStaysInTheFolder)
{
    const TemporaryFolder folder;
    fs::create_directories(folder / "in/deeper");
    WriteFileBytes(folder / "out", "");
    WriteFileBytes(folder / "in/..\\out", ""); // one name, which as a path would lead out
    WriteFileBytes(folder / "in/file", "");
    fs::create_symlink(folder / "out", folder / "in/link");
    fs::create_directory_symlink(folder / "", folder / "in/up");
    ASSERT_EQ(::mkfifo((folder / "in/pipe").c_str(), 0600), 0);

    EXPECT_EQ(BFile::Delete(folder.Path("in\\*")), 3); // the files, and the link itself
    EXPECT_TRUE(fs::exists(folder / "out"));
    EXPECT_EQ(Found(folder, "in\\*"),
              (std::set<std::string>{"in/.", "in/..", "in/deeper", "in/up", "in/pipe"}));
}

TEST(FileSystemOnLinux, AReplacementShowsOnceItIsOnTheDisk)
{
    using ESync = Replacement::ESync;
    const TemporaryFolder folder;
    for (const auto& [sync, made] :
         {std::pair{ESync::Yes, "fsync rename fsync "}, {ESync::No, "rename "}}) {
        const SystemCalls calls;
        EXPECT_TRUE(Replace(folder.Path("file"), "new", sync));
        EXPECT_EQ(calls.Made(), made);
        fs::remove(folder / "file");
    }
    for (const bool isDone : {false, true}) { // killed when it is about to move, or has
        EXPECT_TRUE(Replace(folder.Path("file"), "old"));
        EXPECT_TRUE(Held(StartProcess([&] {
            SystemCalls calls;
            isDone ? calls.EndAfter("rename") : calls.EndBefore("rename");
            return !Replace(folder.Path("file"), "new"); // not reached
        })));
        EXPECT_EQ(FileBytes(folder / "file"), isDone ? "new" : "old");
    }
}

TEST(FileSystemOnLinux, AReplacementKeepsPermissionsOwnerAndLinks)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "elsewhere");
    fs::create_symlink("elsewhere/file", folder / "second");
    fs::create_symlink("second", folder / "first");
    EXPECT_TRUE(Replace(folder.Path("first"), "made")); // the links led nowhere
    const fs::path file = folder / "elsewhere/file";
    fs::permissions(file, fs::perms{0640});
    static_cast<void>(::chown(file.c_str(), 12345, 54321)); // when allowed
    struct stat before = {}, after = {};
    ASSERT_EQ(::stat(file.c_str(), &before), 0);
    EXPECT_TRUE(Replace(folder.Path("first"), "new"));
    ASSERT_EQ(::stat(file.c_str(), &after), 0);
    EXPECT_TRUE(fs::is_symlink(folder / "first") && fs::is_symlink(folder / "second"));
    EXPECT_EQ(FileBytes(file), "new");
    EXPECT_NE(before.st_ino, after.st_ino); // replaced
    EXPECT_EQ(before.st_mode, after.st_mode);
    EXPECT_EQ(before.st_uid, after.st_uid);
    EXPECT_EQ(before.st_gid, after.st_gid);

    fs::permissions(file, fs::perms{0440});
    EXPECT_FALSE(Replace(folder.Path("first"), "refused"));
    EXPECT_EQ(FileBytes(file), "new");
}

TEST(FileSystemOnLinux, WhatCannotHaveThePermissionsIsWrittenOver)
{
    const TemporaryFolder folder;
    for (const char* content : {"a longer text", "new"}) {
        SystemCalls calls;
        WriteFileBytes(folder / "file", "old text");
        calls.Fail("fchmod");
        EXPECT_TRUE(Replace(folder.Path("file"), content));
        EXPECT_EQ(calls.Made(), "fchmod fsync ");
        EXPECT_EQ(FileBytes(folder / "file"), content);
        EXPECT_EQ(Found(folder, "*"), (std::set<std::string>{".", "..", "file"})); // no draft
    }
}

// No right to look stands for every failure to look.
TEST(FileSystemOnLinux, NothingReplacesWhatCannotBeLookedAt)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "closed");
    WriteFileBytes(folder / "closed/file", "old");
    fs::create_symlink("closed/file", folder / "link");
    fs::permissions(folder / "", fs::perms{0777});
    fs::permissions(folder / "closed", fs::perms{0});
    EXPECT_TRUE(HoldsForNobody([&] {
        return ::access((folder / "closed/file").c_str(), F_OK) == 0 || // who is nobody's superior
               (platform::Presence(folder.Path("link")) == EPresence::Unknown &&
                Replacement(folder.Path("link")).Stream() == nullptr);
    }));
    fs::permissions(folder / "closed", fs::perms{0700});
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
}

TEST(FileSystemOnLinux, SavingToAPipeThatNobodyReadsFails)
{
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(Replace(folder.Path("pipe"), "new"));
    const platform::Stream reader = platform::OpenStream(folder.Path("pipe"), u"rb");
    EXPECT_TRUE(Replace(folder.Path("pipe"), "new"));
    char text[4] = {};
    EXPECT_EQ(std::fread(text, 1, sizeof text, reader.get()), 3u);
    EXPECT_TRUE(fs::is_fifo(folder / "pipe"));
}

TEST(FileSystemOnLinux, ReplacesInPlaceWhatCannotHaveASibling)
{
    // Nobody, root included, makes files there, while what is there can be written.
    const std::string old = FileBytes("/proc/self/comm");
    std::fputs("half", Replacement(u"/proc/self/comm").Stream());
    EXPECT_EQ(FileBytes("/proc/self/comm"), old);
    EXPECT_TRUE(Replace(u"/proc/self/comm", "qd-in-place"));
    EXPECT_EQ(FileBytes("/proc/self/comm"), "qd-in-place\n");
}

TEST(FileSystemOnLinux, WritesOverWhatIsMountedAloneUnlessTheDiskIsFull)
{
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
    EXPECT_TRUE(Held(StartProcess([&] {
        if (!mountFile())
            return true; // only the superuser mounts
        std::string expected = "old";
        for (const auto& [size, isWritten] :
             {std::pair{40'000U, true}, {70'000U, false}, {5U, true}, {70'000U, false}}) {
            const std::string content(size, 'n');
            if (Replace(folder.Path("file"), content) != isWritten)
                return false;
            if (isWritten)
                expected = content;
            if (FileBytes(folder / "disk/file") != expected)
                return false;
        }
        return true;
    })));
    EXPECT_EQ(Found(folder, "*"), (std::set<std::string>{".", "..", "disk", "file"})); // no draft
}
