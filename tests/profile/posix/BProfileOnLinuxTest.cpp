#include "core/profile/BProfile.h"

#include "tests/FileBytes.h"
#include "tests/Process.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
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
                    !profile.WriteString(u"k", u"\u6E2C"));
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
    EXPECT_FALSE(BProfile(folder.Path("p.ini"), ProfileReadWrite).WriteString(u"k", u"\u6E2C"));
    EXPECT_EQ(FileBytes(folder / "p.ini"), text);
}
