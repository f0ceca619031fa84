#include "core/profile/OpenProfile.h"

#include "core/base/BError.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BProfile.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

TEST(OpenProfile, GoesByWhatAFileHolds)
{
    const TemporaryFolder folder;
    EXPECT_FALSE(OpenProfile(folder.Path("none")));
    EXPECT_FALSE(OpenProfile(folder.Path("")));

    BBinProfile(folder.Path("settings.ini"), ProfileNew).WriteInt(QD_W("Width"), 5);
    const SP<BProfileBase> binary = OpenProfile(folder.Path("settings.ini"));
    ASSERT_NE(dynamic_cast<BBinProfile*>(binary.Get()), nullptr);
    EXPECT_EQ(binary->ReadInt(QD_W("Width"), 0), 5);
    EXPECT_THROW(binary->WriteInt(QD_W("Width"), 6), BError);

    for (const char* text : {"[default]\r\nWidth=5\r\n", ""}) {
        WriteFileBytes(folder / "text.bin", text);
        const SP<BProfileBase> profile = OpenProfile(folder.Path("text.bin"));
        ASSERT_NE(dynamic_cast<BProfile*>(profile.Get()), nullptr);
        EXPECT_EQ(profile->ReadInt(QD_W("Width"), 0), *text != 0 ? 5 : 0);
        EXPECT_THROW(profile->WriteInt(QD_W("Width"), 6), BError);
    }
}
