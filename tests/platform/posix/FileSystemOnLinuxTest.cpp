#include "core/file/BFile.h"
#include "core/platform/FileReplacement.h"
#include "core/platform/FileSystem.h"
#include "core/platform/posix/NativePath.h"

#include "tests/FileBytes.h"
#include "tests/Process.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/posix/SystemCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <list>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;
using namespace std::string_literals;

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

constexpr const char* kAccessList = "system.posix_acl_access";

std::string AccessList(const fs::path& file)
{
    char list[100];
    const ssize_t size = ::getxattr(file.c_str(), kAccessList, list, sizeof list);
    return size > 0 ? std::string(list, static_cast<std::size_t>(size)) : std::string();
}

} // namespace

// As Windows finds long names.
TEST(FileSystemOnLinux, FindsWhatAPatternMatches)
{
    const TemporaryFolder folder;
    const std::set<std::string> all = {".",   "..", "x",    "x.y",   "ab",  "abc",
                                       "..a", ".a", "a..a", "a.b.c", " .a", "bad\xFF\xC3.dat"};
    for (const std::string& name : all) {
        if (name.find_first_not_of('.') != name.npos)
            WriteFileBytes(folder / name.c_str(), "");
    }
    // clang-format off
    const std::pair<const char*, std::set<std::string>> cases[] = {
        {"*.*", all}, {"*.*.*", all}, {"* . ", all}, {"x.*", {"x", "x.y"}}, {"*.y", {"x.y"}},
        {"a?", {"ab"}}, {"a*c", {"abc", "a.b.c"}}, {"*c*", {"abc", "a.b.c"}}, {"? x", {}},
        {"abc", {"abc"}}, {"a<", {}}, {"", {}}, {"*\\x", {}}, // wild in the last element only
        {"*.", {".", "..", "ab", "abc", "x"}}, {"*. .", {".", "..", "ab", "abc", "x"}},
        {"x*.", {"x"}}, {".*.", {".", "..", ".a"}}, // names without an extension
        {"..*", {".", "..", "..a"}}, {"*..*", {".", "..", "..a", "a..a"}}, {"* .*.", {" .a"}},
        {"?", {".", "..", "x"}}, {"???.", {".", "..", "ab", "abc", "x"}},
        {"ab? ", {"ab", "abc"}}, {"a?b*", {}}, // one unit but no dot, or none at the end
        {"?.?", {" .a", ".", "..", ".a", "x", "x.y"}}, {"bad*.dat", {"bad\xFF\xC3.dat"}},
    };
    // clang-format on
    for (const auto& [pattern, found] : cases)
        EXPECT_EQ(Found(folder, pattern), found) << pattern;
}

TEST(FileSystemOnLinux, AFailedLookIsNoMissingFile)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "file", "");
    fs::create_symlink("none", folder / "dangling");
    fs::create_symlink("loop", folder / "loop");
    const std::pair<EPresence, std::set<std::string>> cases[] = {
        {EPresence::There, {"", "file"}},
        {EPresence::Missing, {"none", "none/file", "file/file", "dangling"}},
        {EPresence::Unknown, {"loop", std::string(300, 'n')}},
    };
    for (const auto& [presence, names] : cases) {
        for (const std::string& name : names)
            EXPECT_EQ(platform::Presence(folder.Path(name.c_str())), presence) << name;
    }
    const auto any = [](const platform::FoundFile&) { return true; };
    EXPECT_EQ(platform::FindFiles(folder.Path("none\\*"), any), EPresence::Missing);
    EXPECT_EQ(platform::FindFiles(folder.Path("loop\\*"), any), EPresence::Unknown);
    EXPECT_EQ(platform::FindFiles(folder.Path("loop\\x"), any), EPresence::Unknown);
    for (const char* const name : {"loop", ""}) // the folder itself
        EXPECT_EQ(Replacement(folder.Path(name)).Stream(), nullptr) << name;
    SystemCalls disk;
    disk.Fail("readdir", EIO, 1);
    EXPECT_TRUE(BFile::Exist(folder.Path("*"))) << "one is enough";
}

TEST(FileSystemOnLinux, DeletingStaysInTheFolderAndSavingWaitsForNoReader)
{
    const TemporaryFolder folder;
    fs::create_directories(folder / "in/deeper");
    WriteFileBytes(folder / "out", "");
    WriteFileBytes(folder / "in/..\\out", ""); // one name, which as a path would lead out
    WriteFileBytes(folder / "in/file", "");
    fs::create_symlink(folder / "out", folder / "in/link");
    fs::create_directory_symlink(folder / "", folder / "in/up");
    ASSERT_EQ(::mkfifo((folder / "in/pipe").c_str(), 0600), 0);

    EXPECT_FALSE(Replace(folder.Path("in/pipe"), "new")); // nobody reads there
    EXPECT_EQ(BFile::Delete(folder.Path("in\\*")), 3);    // the files, and the link itself
    EXPECT_TRUE(fs::exists(folder / "out"));
    EXPECT_EQ(Found(folder, "in\\*"),
              (std::set<std::string>{"in/.", "in/..", "in/deeper", "in/up", "in/pipe"}));
}

// Whoever prints without them would print into it.
TEST(FileSystemOnLinux, NoFileThatIsWrittenTakesThePlaceOfAStandardStream)
{
    const TemporaryFolder folder;
    EXPECT_TRUE(Held(StartProcess([&] {
        for (const int stream : {0, 1, 2})
            ::close(stream);
        const Replacement replacement(folder.Path("file"));
        const BFile file(folder.Path("other"), QD_W("wb"));
        const auto isFree = [](int stream) { return ::fcntl(stream, F_GETFD) < 0; };
        return replacement.Stream() != nullptr && file != nullptr && isFree(0) && isFree(1) &&
               isFree(2);
    })));
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
    // What may be gone when the power fails is not told to be saved: content, then name.
    for (const auto& [before, content] : {std::pair{0, "old"}, {1, "new"}}) {
        WriteFileBytes(folder / "file", "old");
        SystemCalls calls;
        calls.Fail("fsync", EIO, before);
        EXPECT_FALSE(Replace(folder.Path("file"), "new"));
        EXPECT_EQ(FileBytes(folder / "file"), content);
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
    [[maybe_unused]] const int isTheirs = ::chown(file.c_str(), 12345, 54321);
    const std::string list = "\2\0\0\0"
                             "\x01\0\6\0\xFF\xFF\xFF\xFF"
                             "\x02\0\4\0\1\0\0\0" // user 1 may read
                             "\x04\0\4\0\xFF\xFF\xFF\xFF"
                             "\x10\0\4\0\xFF\xFF\xFF\xFF"
                             "\x20\0\0\0\xFF\xFF\xFF\xFF"s;
    // Where the file system has such lists.
    static_cast<void>(::setxattr(file.c_str(), kAccessList, list.data(), list.size(), 0));
    const std::string listBefore = AccessList(file);
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
    EXPECT_EQ(listBefore, AccessList(file));

    // Nor does it get the list that its folder has for new files.
    static_cast<void>(::setxattr((folder / "elsewhere").c_str(), "system.posix_acl_default",
                                 list.data(), list.size(), 0));
    static_cast<void>(::removexattr(file.c_str(), kAccessList));
    EXPECT_TRUE(Replace(folder.Path("first"), "new"));
    ASSERT_EQ(::stat(file.c_str(), &after), 0);
    EXPECT_EQ(AccessList(file), "");
    EXPECT_EQ(before.st_mode, after.st_mode);

    fs::permissions(file, fs::perms{0440});
    EXPECT_FALSE(Replace(folder.Path("first"), "refused"));
    EXPECT_EQ(FileBytes(file), "new");
}

TEST(FileSystemOnLinux, WritesOverWhatCannotBeReplacedUnlessTheDiskIsFull)
{
    const TemporaryFolder folder;
    const std::tuple<const char*, int, bool, const char*> cases[] = {
        {"fchmod", EPERM, true, "fchmod fsync "}, // a draft without the file's permissions
        {"rename", EBUSY, true, "fchmod fsync rename fsync "}, // the file is mounted alone
        {"rename", EXDEV, true, "fchmod fsync rename fsync "},
        {"rename", EPERM, false, "fchmod fsync rename "},
    };
    for (const auto& [failing, error, isWrittenOver, made] : cases) {
        const std::pair<std::string, bool> contents[] = {
            {"a longer text", true}, {"new", true}, {std::string(70'000, 'n'), false}};
        for (const auto& [content, hasRoom] : contents) {
            SCOPED_TRACE(testing::Message() << failing << ' ' << error << ' ' << hasRoom);
            WriteFileBytes(folder / "file", "old text");
            SystemCalls calls;
            calls.Fail(failing, error);
            Replacement replacement(folder.Path("file"));
            std::fputs(content.c_str(), replacement.Stream());
            std::fflush(replacement.Stream());
            const bool isWritten = hasRoom && isWrittenOver;
            {
                const ResourceLimit limit(RLIMIT_FSIZE, 50'000); // where it is written over
                EXPECT_EQ(replacement.Commit(), isWritten);
            }
            EXPECT_EQ(FileBytes(folder / "file"), isWritten ? content : "old text");
            EXPECT_TRUE(!hasRoom || calls.Made() == made) << calls.Made();
        }
    }
    EXPECT_EQ(Found(folder, "*"), (std::set<std::string>{".", "..", "file"})); // no draft
}

TEST(FileSystemOnLinux, TheNextSaverOfAFileRemovesTheDraftsOfDeadOnes)
{
    const TemporaryFolder folder;
    const auto leave = [&](const char* name, int count) {
        return Held(StartProcess([&]() -> bool {
            std::list<Replacement> unfinished;
            bool isMade = true;
            for (int i = 0; i < count; ++i)
                isMade &= unfinished.emplace_back(folder.Path(name)).Stream() != nullptr;
            ::_exit(isMade ? 0 : 1); // nothing is cleaned up
        }));
    };
    Replacement living(folder.Path("file"));
    EXPECT_TRUE(leave("file", 31) && leave("other", 2));
    std::fputs("late", living.Stream());
    EXPECT_EQ(Found(folder, ".qd*_*.tmp").size(), 34u);
    EXPECT_TRUE(Replace(folder.Path("file"), "new"));
    EXPECT_EQ(Found(folder, ".qd*.tmp").size(), 3u); // of the living one, and of the other file
    EXPECT_TRUE(living.Commit());
    EXPECT_EQ(FileBytes(folder / "file"), "late");
    EXPECT_TRUE(Replace(folder.Path("other"), ""));
    EXPECT_TRUE(leave("file", 35)); // more than have names of the file
    EXPECT_TRUE(Replace(folder.Path("file"), "new"));
    EXPECT_EQ(Found(folder, "*").size(), 2u + 2u + 3u);
}

TEST(FileSystemOnLinux, NobodysDraftIsTakenForOnesOwn)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "file", "old");
    for (const bool isOthersThere : {true, false}) {
        {
            Replacement replacement(folder.Path("file"));
            std::fputs("new", replacement.Stream());
            const std::string draft = platform::ToNativePath(replacement.Path());
            EXPECT_EQ(::unlink(draft.c_str()), 0); // by a machine that does not see the lock
            if (isOthersThere)
                WriteFileBytes(draft, "half");
            EXPECT_FALSE(replacement.Commit());
            EXPECT_EQ(errno, ESTALE);
        }
        EXPECT_EQ(FileBytes(folder / "file"), "old");
        EXPECT_EQ(Found(folder, ".qd*").size(), isOthersThere ? 1u : 0u);
    }
}

TEST(FileSystemOnLinux, SaversOfOneFileTakeNoDraftFromEachOther)
{
    const TemporaryFolder folder;
    const auto save = [&] {
        for (int i = 0; i < 50; ++i)
            EXPECT_TRUE(Replace(folder.Path("file"), "new", Replacement::ESync::No));
    };
    std::thread threads[] = {std::thread(save), std::thread(save), std::thread(save)};
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(Found(folder, "*"), (std::set<std::string>{".", "..", "file"}));
}
