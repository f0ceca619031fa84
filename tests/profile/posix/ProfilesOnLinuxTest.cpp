#include "core/profile/BBinProfile.h"
#include "core/profile/BProfile.h"
#include "core/profile/OpenProfile.h"

#include "tests/FileBytes.h"
#include "tests/Process.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <unistd.h>

// A right that is missing stands for every failure to look at a file or to read it.
TEST(BProfileOnLinux, NothingReplacesAFileThatCannotBeRead)
{
    const TemporaryFolder folder;
    const std::string text = "[default]\r\nk=1\r\nother=2\r\n";
    using std::filesystem::perms;
    std::filesystem::permissions(folder / "", perms{0333}); // cannot be searched for wild names
    std::filesystem::create_directory(folder / "closed");
    std::filesystem::create_symlink("closed/p.ini", folder / "link.ini");
    for (const char* name : {"closed/p.ini", "unread.ini", "a*?.ini"})
        WriteFileBytes(folder / name, text);
    std::filesystem::permissions(folder / "a*?.ini", perms{0666});
    std::filesystem::permissions(folder / "unread.ini", perms{0222});
    std::filesystem::permissions(folder / "closed", perms{0});
    for (const char* name : {"closed/p.ini", "unread.ini", "link.ini"}) {
        EXPECT_TRUE(HoldsForNobody([&] {
            BProfile profile(folder.Path(name), ProfileReadWrite);
            return ::access((folder / "unread.ini").c_str(), R_OK) == 0 || // nobody's superior
                   (!profile.WriteInt(u"k", 3) && profile.ReadInt(u"k", 4) == 4 &&
                    profile.Problem().code == EProblem::NoPermission &&
                    !profile.WriteString(u"k", u"\u6E2C") &&
                    profile.Problem().code == EProblem::NoPermission);
        })) << name;
    }
    EXPECT_TRUE(HoldsForNobody([&] {
        return BProfile(folder.Path("a*?.ini"), ProfileReadWrite).ReadInt(u"new", 5) == 5;
    }));
    std::filesystem::permissions(folder / "", perms{0700});
    std::filesystem::permissions(folder / "closed", perms{0700});
    std::filesystem::permissions(folder / "unread.ini", perms{0600});
    for (const char* name : {"closed/p.ini", "unread.ini"})
        EXPECT_EQ(FileBytes(folder / name), text);
    EXPECT_EQ(FileBytes(folder / "a*?.ini"), text + "new=5\r\n");
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.ini"));
}

TEST(BProfileOnLinux, AValueThatNeedsUnicodeIsWrittenWholeOrNotAtAll)
{
    const TemporaryFolder folder;
    const std::string text = "[default]\r\nk=1\r\n" + std::string(100'000, ';');
    WriteFileBytes(folder / "p.ini", text);
    const ResourceLimit limit(RLIMIT_FSIZE, 150'000);
    BProfile profile(folder.Path("p.ini"), ProfileReadWrite);
    EXPECT_FALSE(profile.WriteString(u"k", u"\u6E2C"));
    EXPECT_EQ(profile.Problem().code, EProblem::NoRoom);
    EXPECT_EQ(FileBytes(folder / "p.ini"), text);
}

TEST(BBinProfileOnLinux, KeepsTheOldFileWhenTheDiskIsFull)
{
    const TemporaryFolder folder;
    BBinProfile(folder.Path("p"), ProfileNew).WriteInt(QD_W("a"), 1);
    const std::string before = FileBytes(folder / "p");
    for (const rlim_t size : {0U, 100'000U, 1'000'000U}) { // fails at the end, earlier, not at all
        EXPECT_EQ(FileBytes(folder / "p"), before);
        const ResourceLimit limit(RLIMIT_FSIZE, size);
        BBinProfile profile(folder.Path("p"), ProfileReadWrite);
        for (int i = 0; i < 10'000; ++i)
            profile.WriteInt(i, QD_W("key"), i);
        const bool isSaved = profile.Save();
        EXPECT_EQ(isSaved, size == 1'000'000U);
        EXPECT_EQ(profile.Problem().code, isSaved ? EProblem::None : EProblem::NoRoom);
    }
    EXPECT_EQ(BBinProfile(folder.Path("p"), ProfileReadOnly).ReadInt(9'999, QD_W("key"), 0), 9'999);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / ""), {}), 1);
}

TEST(BBinProfileOnLinux, KeepsAFileThatItCouldNotOpen)
{
    class Reading : public BBinProfile {
    public:
        using BBinProfile::BBinProfile, BBinProfile::Read, BBinProfile::Write;
    };
    const TemporaryFolder folder;
    BBinProfile(folder.Path("p"), ProfileNew).WriteInt(QD_W("a"), 1);
    const std::string before = FileBytes(folder / "p");
    {
        Reading profile(folder.Path("p"), ProfileReadWrite);
        EXPECT_TRUE(profile.Read());
        {
            const ResourceLimit noMoreFiles(RLIMIT_NOFILE, 0);
            EXPECT_TRUE(profile.Read());
        }
        EXPECT_TRUE(profile.IsValid());
        EXPECT_EQ(profile.Problem().Text(),
                  folder.Path("p") + u": the system failed (Too many open files)");
        EXPECT_FALSE(profile.WriteInt(QD_W("b"), 2));
        profile.DeleteKey(QD_W("a")); // it was read before
        EXPECT_FALSE(profile.Write());
    }
    EXPECT_EQ(FileBytes(folder / "p"), before);
    EXPECT_TRUE(BBinProfile(folder.Path("p"), ProfileReadWrite).WriteInt(QD_W("b"), 2));
}

TEST(BBinProfileOnLinux, KeepsAFileWhoseReadFails)
{
    // This file opens, and each read at its start is an error.
    const TemporaryFolder folder;
    std::filesystem::create_symlink("/proc/self/mem", folder / "p");
    BProblem problem;
    EXPECT_EQ(OpenProfile(folder.Path("p"), problem), nullptr);
    EXPECT_EQ(problem.code, EProblem::System);
    BBinProfile profile(folder.Path("p"), ProfileReadWrite);
    EXPECT_TRUE(profile.IsValid());
    EXPECT_FALSE(profile.WriteString(QD_W("b"), QD_W("2")));
    EXPECT_EQ(profile.ReadString(QD_W("b"), QD_W("1")), QD_W("1"));
}
