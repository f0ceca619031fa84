#include "core/profile/BBinProfile.h"
#include "core/profile/OpenProfile.h"

#include "tests/FileBytes.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>

TEST(BBinProfileOnLinux, KeepsTheOldFileWhenTheDiskIsFull)
{
    const TemporaryFolder folder;
    BBinProfile(folder.Path("p"), ProfileNew).WriteInt(QD_W("a"), 1);
    const std::string before = FileBytes(folder / "p");
    for (const rlim_t size : {0U, 100'000U}) { // it is known at the end, and earlier
        const ResourceLimit limit(RLIMIT_FSIZE, size);
        BBinProfile profile(folder.Path("p"), ProfileReadWrite);
        for (int i = 0; i < 10'000; ++i)
            profile.WriteInt(i, QD_W("key"), i);
    }
    EXPECT_EQ(FileBytes(folder / "p"), before);
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
        {
            const ResourceLimit noMoreFiles(RLIMIT_NOFILE, 0);
            EXPECT_TRUE(profile.Read());
        }
        EXPECT_TRUE(profile.IsValid());
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
    EXPECT_EQ(OpenProfile(folder.Path("p")), nullptr);
    BBinProfile profile(folder.Path("p"), ProfileReadWrite);
    EXPECT_TRUE(profile.IsValid());
    EXPECT_FALSE(profile.WriteString(QD_W("b"), QD_W("2")));
    EXPECT_EQ(profile.ReadString(QD_W("b"), QD_W("1")), QD_W("1"));
}
