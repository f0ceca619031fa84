#include "core/base/BError.h"
#include "core/base/ErrorCodes.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BProfile.h"
#include "core/profile/OpenProfile.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"
#include "tests/ThrownError.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <type_traits>

namespace {

/// What text and binary profiles do alike.
template <class Profile>
class BProfileBaseTest : public testing::Test {
protected:
    [[nodiscard]] Profile Open(EProfileMode mode) const { return Profile(m_path, mode); }

    TemporaryFolder m_folder;
    const WString m_path = m_folder.Path("settings");
    const std::filesystem::path m_file = m_folder / "settings";
};
using Profiles = testing::Types<BProfile, BBinProfile>;
TYPED_TEST_SUITE(BProfileBaseTest, Profiles);

} // namespace

TYPED_TEST(BProfileBaseTest, KeepsEveryKindOfValueBetweenSessions)
{
    WString longName;
    longName.Fill(300, QD_W('n'));
    char block[3] = {1, 0, -1}, read[3] = {9, 9, 9};
    {
        TypeParam profile = this->Open(ProfileReadWrite);
        EXPECT_EQ(profile.GetSection(), QD_W("default"));
        profile.SetSection(QD_W("Window"));
        EXPECT_TRUE(profile.WriteString(QD_W("Text"), QD_W("before")));
        EXPECT_TRUE(profile.WriteString(QD_W("tEXT"), QD_W("a \u6E2C")));
        EXPECT_TRUE(profile.WriteInt(QD_W("Int"), -2147483647));
        EXPECT_TRUE(profile.WriteDouble(QD_W("Double"), 0.1));
        EXPECT_TRUE(profile.WriteBoolean(QD_W("True"), true));
        EXPECT_TRUE(profile.WriteBoolean(QD_W("False"), false));
        EXPECT_FALSE(profile.WriteMem(QD_W("Block"), block, std::uint64_t{1} << 32));
        EXPECT_TRUE(profile.WriteMem(QD_W("Block"), block, 3));
        EXPECT_TRUE(profile.WriteString(-7, QD_W("Text"), QD_W("b")));
        EXPECT_TRUE(profile.WriteInt(8, QD_W("Point"), 8));
        EXPECT_TRUE(profile.WriteDouble(9, QD_W("Point"), 1e100));
        EXPECT_TRUE(profile.WriteInt(-9, longName, 9));
        EXPECT_TRUE(profile.WriteMem(10, QD_W("Block"), block, 1));
    }
    TypeParam profile = this->Open(ProfileReadOnly);
    EXPECT_EQ(profile.ReadInt(QD_W("Int"), 5), 5); // of another section
    profile.SetSection(QD_W("WINDOW"));
    EXPECT_EQ(profile.ReadString(QD_W("TEXT"), WString()), QD_W("a \u6E2C"));
    EXPECT_EQ(profile.ReadInt(QD_W("INT"), 0), -2147483647);
    EXPECT_EQ(profile.ReadDouble(QD_W("Double"), 0), 0.1);
    EXPECT_TRUE(profile.ReadBoolean(QD_W("True"), false));
    EXPECT_FALSE(profile.ReadBoolean(QD_W("False"), true));
    EXPECT_EQ(profile.ReadString(-7, QD_W("Text"), WString()), QD_W("b"));
    EXPECT_EQ(profile.ReadInt(8, QD_W("Point"), 0), 8);
    EXPECT_EQ(profile.ReadDouble(9, QD_W("Point"), 0), 1e100);
    EXPECT_EQ(profile.ReadInt(-9, longName, 0), 9);
    EXPECT_FALSE(profile.ReadMem(QD_W("Block"), read, 2)); // of another size
    EXPECT_FALSE(profile.ReadMem(QD_W("Text"), read, 3));
    char one[2] = {9, 9};
    EXPECT_TRUE(profile.ReadMem(10, QD_W("Block"), one, 1));
    EXPECT_TRUE(one[0] == 1 && one[1] == 9);
    EXPECT_TRUE(profile.ReadMem(QD_W("Block"), read, 3));
    EXPECT_EQ(std::memcmp(read, block, 3), 0);
}

// The files were written by either platform; both write the same.
TYPED_TEST(BProfileBaseTest, WritesTheSameFileOnEveryPlatform)
{
    {
        TypeParam profile = this->Open(ProfileNew);
        char block[300];
        for (int i = 0; i < 300; ++i)
            block[i] = static_cast<char>(i);
        for (const WChar* section : {QD_W("Window"), QD_W("R\u00F6ntgen"), QD_W("\u6E2C")}) {
            profile.SetSection(section);
            profile.WriteInt(QD_W("Width"), -1);
            profile.WriteDouble(QD_W("Scale"), 1.0 / 3);
            profile.WriteString(QD_W("Title"), QD_W("Gr\u00F6\u00DFe \u20AC"));
            profile.WriteBoolean(QD_W("Shown"), true);
            profile.WriteMem(QD_W("State"), block, sizeof block);
            for (int i = 0; i < 5; ++i)
                profile.WriteInt(i, QD_W("Point"), i * i);
        }
    }
    const bool isText = std::is_same_v<TypeParam, BProfile>;
    EXPECT_EQ(FileBytes(this->m_file),
              FileBytes(GoldenFile(isText ? "profile/text.ini" : "profile/settings.bin")));
}

TYPED_TEST(BProfileBaseTest, ForgetsDeletedKeysAndSectionsForGood)
{
    {
        TypeParam profile = this->Open(ProfileNew);
        for (const WChar* section : {QD_W("kept"), QD_W("gone")}) {
            profile.SetSection(section);
            profile.WriteInt(QD_W("a"), 1);
            profile.WriteInt(QD_W("b"), 2);
        }
    }
    this->Open(ProfileReadWrite).DeleteSection(); // there is none
    {
        TypeParam profile = this->Open(ProfileReadWrite);
        profile.SetSection(QD_W("GONE"));
        profile.DeleteSection(); // and nothing else
        EXPECT_FALSE(profile.ExistsSection(QD_W("gone")));
    }
    {
        TypeParam profile = this->Open(ProfileReadWrite);
        EXPECT_FALSE(profile.ExistsSection(QD_W("gone")));
        EXPECT_TRUE(profile.ExistsSection(QD_W("Kept")));
        profile.SetSection(QD_W("Kept"));
        profile.DeleteKey(QD_W("A")); // and nothing else
    }
    TypeParam profile = this->Open(ProfileReadOnly);
    profile.SetSection(QD_W("kept"));
    EXPECT_EQ(profile.ReadInt(QD_W("a"), 7), 7);
    EXPECT_EQ(profile.ReadInt(QD_W("b"), 7), 2);
}

TYPED_TEST(BProfileBaseTest, ThrowsBeforeItWritesWhenItMayOnlyRead)
{
    this->Open(ProfileNew).WriteInt(QD_W("k"), 1);
    const std::string bytes = FileBytes(this->m_file);
    {
        TypeParam profile = this->Open(ProfileReadOnly);
        char data = 0;
        const std::function<void()> writes[] = {
            [&] { profile.WriteString(QD_W("k"), QD_W("2")); },
            [&] { profile.WriteInt(0, QD_W("k"), 2); },
            [&] { profile.WriteDouble(QD_W("k"), 2); },
            [&] { profile.WriteBoolean(QD_W("k"), true); },
            [&] { profile.WriteMem(QD_W("k"), &data, 1); },
            [&] { profile.DeleteKey(QD_W("k")); },
            [&] { profile.DeleteSection(); },
        };
        for (const auto& write : writes) {
            std::optional<BError> error = ThrownError(write);
            ASSERT_TRUE(error);
            EXPECT_EQ(error->Error(), kErrorGeneral);
            EXPECT_EQ(error->Argument(0), QD_W("$IDS_ErrorHint61"));
        }
        EXPECT_EQ(profile.ReadInt(QD_W("k"), 0), 1);
    }
    EXPECT_EQ(FileBytes(this->m_file), bytes);
}

TYPED_TEST(BProfileBaseTest, TellsWhyAReaderGaveItsDefault)
{
    TypeParam missing = this->Open(ProfileReadOnly);
    EXPECT_EQ(missing.ReadInt(QD_W("w"), 1), 1);
    EXPECT_EQ(missing.Problem().code, EProblem::NotThere);
    this->Open(ProfileReadWrite).WriteString(QD_W("text"), QD_W("a"));

    TypeParam profile = this->Open(ProfileReadOnly);
    EXPECT_FALSE(profile.Problem());
    int block = 0;
    const std::function<void()> missed[] = {
        [&] { EXPECT_EQ(profile.ReadInt(QD_W("w"), 1), 1); },
        [&] { EXPECT_EQ(profile.ReadDouble(QD_W("w"), 1), 1); },
        [&] { EXPECT_EQ(profile.ReadString(QD_W("w"), QD_W("b")), QD_W("b")); },
        [&] { EXPECT_EQ(profile.ReadString(QD_W("w"), QD_W("")), QD_W("")); },
        [&] { EXPECT_TRUE(profile.ReadBoolean(QD_W("w"), true)); },
        [&] { EXPECT_FALSE(profile.ReadMem(QD_W("w"), &block, sizeof block)); },
    };
    const std::function<void()> others[] = {
        [&] { EXPECT_EQ(profile.ReadInt(QD_W("text"), 1), 1); },
        [&] { EXPECT_EQ(profile.ReadDouble(QD_W("text"), 1), 1); },
        [&] { EXPECT_FALSE(profile.ReadMem(QD_W("text"), &block, sizeof block)); },
    };
    const BProfileBase& base = profile;
    const auto isSoundAgain = [&] {
        EXPECT_EQ(profile.ReadString(QD_W("text"), QD_W("a")), QD_W("a"));
        return !base.Problem();
    };
    for (const auto& read : missed) {
        read();
        EXPECT_EQ(base.Problem().Text(),
                  this->m_path + QD_W(": no value under \"w\" in section \"default\""));
        EXPECT_TRUE(isSoundAgain());
    }
    for (const auto& read : others) {
        read();
        EXPECT_EQ(base.Problem().Text(),
                  this->m_path + QD_W(": no such value under \"text\" in section \"default\""));
        EXPECT_TRUE(isSoundAgain());
    }
    TypeParam filled = this->Open(ProfileReadWrite);
    EXPECT_TRUE(filled.WriteInt(QD_W("w"), filled.ReadInt(QD_W("w"), 1)));
    EXPECT_EQ(filled.ReadInt(QD_W("w"), 0), 1);
    EXPECT_FALSE(filled.Problem());
}

TEST(OpenProfile, GoesByWhatAFileHolds)
{
    const TemporaryFolder folder;
    BProblem problem;
    EXPECT_TRUE(!OpenProfile(folder.Path("none"), problem) && problem.code == EProblem::NotThere);
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
