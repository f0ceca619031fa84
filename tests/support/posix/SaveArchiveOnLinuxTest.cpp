#include "support/SaveArchive.h"

#include "tests/FileBytes.h"
#include "tests/Process.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"
#include "tests/archive/ArchiveTestObjects.h"

#include <gtest/gtest.h>

#include <filesystem>

TEST(SaveArchiveOnLinux, LeavesTheOldDocumentWhenTheDiskIsFull)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "part.qda", "old");
    for (const int count : {1'000, 100'000}) { // one that fails at the end, and earlier
        const ResourceLimit limit(RLIMIT_FSIZE, 10'000);
        const auto insert = [&](BArchive& archive) {
            for (int i = 0; i < count; ++i)
                archive.Insert(SP<ArchiveItem>(new ArchiveItem(i)).Get(), "");
        };
        BProblem problem;
        EXPECT_FALSE(SaveArchive(folder.Path("part.qda"), "class Saved", 1, insert, &problem));
        EXPECT_EQ(problem.code, EProblem::NoRoom);
        EXPECT_EQ(problem.path, folder.Path("part.qda"));
    }
    EXPECT_EQ(FileBytes(folder / "part.qda"), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / ""), {}), 1);
}

TEST(SaveArchiveOnLinux, TellsWhatTheSystemRefuses)
{
    const TemporaryFolder folder;
    for (const char* name : {"read-only.qda", "unreadable.qda"})
        WriteFileBytes(folder / name, "");
    std::filesystem::create_directory(folder / "folder");
    using std::filesystem::perms;
    std::filesystem::permissions(folder / "", perms{0777});
    std::filesystem::permissions(folder / "read-only.qda", perms{0444});
    std::filesystem::permissions(folder / "unreadable.qda", perms{0222});
    std::filesystem::permissions(folder / "folder", perms{0777});
    struct Case {
        WString path;
        EProblem saving, writing, reading;
        WString text; // of the last
    };
    using enum EProblem;
    const Case cases[] = {
        {folder.Path("read-only.qda"), NoPermission, NoPermission, OtherKind, u"no archive"},
        {folder.Path("unreadable.qda"), None, None, NoPermission,
         u"no permission (Permission denied)"},
        {folder.Path("folder"), System, System, System, u"the system failed (Is a directory)"},
        {folder.Path("no/such"), NotThere, NotThere, NotThere,
         u"not there (No such file or directory)"},
        {QD_W("/dev/full"), NoRoom, NoRoom, OtherKind, u"no archive"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path.AsString().CStr());
        const bool isSo = HoldsForNobody([&] {
            BArchive in(c.path, BArchive::ModeRead, "class Saved", 1);
            BProblem problem = in.Problem();
            EXPECT_EQ(problem.code, c.reading);
            EXPECT_EQ(problem.Text(), c.path + u": " + c.text);
            EXPECT_EQ(SaveArchive(
                          c.path, "class Saved", 1, [](BArchive&) {}, &problem),
                      c.saving == None);
            EXPECT_EQ(problem.code, c.saving);
            BArchive out(c.path, BArchive::ModeWrite, "class Saved", 1);
            EXPECT_EQ(out.Flush(), c.writing == None);
            EXPECT_EQ(out.Problem().code, c.writing);
            return !testing::Test::HasFailure();
        });
        EXPECT_TRUE(isSo);
    }
}
