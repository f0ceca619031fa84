#include "core/profile/BIniProfile.h"

#include "core/base/BString.h"
#include "core/profile/BProfile.h"

#include "tests/FileBytes.h"
#include "tests/GoldenFile.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<WString> ToVector(const BArray<WString>& texts)
{
    return {texts.begin(), texts.end()};
}

using Names = std::vector<WString>;

class BIniProfileFile : public testing::Test {
protected:
    TemporaryFolder m_folder;
    const WString m_path = m_folder.Path("settings.ini");
    const std::filesystem::path m_file = m_folder / "settings.ini";
};

} // namespace

TEST_F(BIniProfileFile, ReadsAndWritesOneSection)
{
    WriteFileBytes(m_file, "[A]\r\nx=1\r\ny=\r\n[B]\r\nz=2147483647\r\nlow=-9999999999\r\n");
    const BIniProfile profile(m_path, QD_W("a"), false);
    EXPECT_EQ(profile.GetType(), IProfile::TypeIni);
    EXPECT_EQ(profile.GetSection(), QD_W("a"));
    EXPECT_EQ(profile.GetInt(QD_W("X"), 7), 1);
    EXPECT_EQ(profile.GetInt(QD_W("y"), 7), 7);
    EXPECT_TRUE(profile.WriteInt(QD_W("n"), -5));
    EXPECT_EQ(profile.GetInt(QD_W("n"), 7), -5);
    BArray<WString> names;
    EXPECT_TRUE(profile.LoadSection(QD_W("B"), &names));
    EXPECT_EQ(ToVector(names), (Names{QD_W("z"), QD_W("low")}));
    EXPECT_EQ(profile.GetInt(QD_W("z"), 7), 2147483645);
    EXPECT_TRUE(profile.GetSections(names));
    EXPECT_EQ(ToVector(names), (Names{QD_W("A"), QD_W("B")}));

    char block[] = "abc", read[4] = {};
    EXPECT_TRUE(profile.WriteMem(QD_W("m"), block, 4));
    EXPECT_FALSE(profile.ReadMem(QD_W("m"), read, 3));
    EXPECT_TRUE(profile.ReadMem(QD_W("m"), read, 4));
    EXPECT_STREQ(read, block);
    EXPECT_TRUE(profile.DeleteSection(QD_W("b")));
    EXPECT_EQ(profile.GetSection(), WString());
    BIniProfile copy = profile;
    copy.SetSection(QD_W("A"));
    copy.DeleteKey(QD_W("Y"));
    EXPECT_EQ(FileBytes(m_file), "[A]\r\nx=1\r\nn=-5\r\n");
}

TEST_F(BIniProfileFile, WritesDefaultsWhereItShall)
{
    for (const bool writes : {false, true}) {
        WriteFileBytes(m_file, "[S]\r\nempty=\r\nbad=x\r\n");
        const BIniProfile profile(m_path, QD_W("S"), writes);
        for (const WChar* key : {QD_W("missing"), QD_W("empty"), QD_W("bad")})
            EXPECT_EQ(profile.GetInt(key, 7), 7);
        EXPECT_EQ(FileBytes(m_file), writes ? "[S]\r\nempty=7\r\nbad=7\r\nmissing=7\r\n"
                                            : "[S]\r\nempty=\r\nbad=x\r\n");
    }
    const BIniProfile made(m_folder.Path("new\\made.ini"), QD_W("S"), true);
    EXPECT_EQ(made.GetInt(QD_W("n"), 7), 7);
    EXPECT_EQ(FileBytes(m_folder / "new/made.ini"), Utf16("[S]\r\nn=7\r\n"));
}

TEST_F(BIniProfileFile, ADefaultGoesThroughTheWritersAndReplacesNothingThatCameMeanwhile)
{
    // Its writer sees what it writes, and somebody else is faster for some keys.
    class Watched : public BIniProfile {
    public:
        using BIniProfile::BIniProfile;

        mutable std::string seen;

    protected:
        bool WriteKeyImpl(const WString& key, const WString& value) const override
        {
            seen += (key + QD_W("=") + value + QD_W(" ")).AsString().CStr();
            if (key.StartsWith(QD_W("taken")))
                BProfile::WriteString(const_cast<Watched&>(*this).GetPath(), QD_W("S"), key,
                                      QD_W("5"));
            if (key != QD_W("count"))
                Write(QD_W("count"), value); // no default
            return BIniProfile::WriteKeyImpl(key, value);
        }
    };
    WriteFileBytes(m_file, "[S]\r\nbad=x\r\ntaken bad=x\r\n");
    const Watched profile(m_path, QD_W("S"), true);
    for (const WChar* key : {QD_W("free"), QD_W("taken"), QD_W("bad"), QD_W("taken bad")})
        EXPECT_EQ(profile.GetInt(key, 7), 7);
    WString text = QD_W("t");
    EXPECT_FALSE(profile.Read(QD_W("text"), text));
    EXPECT_EQ(profile.seen, "free=7 count=7 taken=7 count=7 bad=7 count=7 taken bad=7 count=7 "
                            "text=t count=t ");
    EXPECT_EQ(FileBytes(m_file), "[S]\r\nbad=7\r\ntaken bad=5\r\ncount=t\r\nfree=7\r\ntaken=5\r\n"
                                 "text=t\r\n");
    EXPECT_TRUE(profile.Write(QD_W("free"), 8)); // no default
    EXPECT_EQ(profile.GetInt(QD_W("free"), 7), 8);
}

TEST_F(BIniProfileFile, ADefaultReplacesWhatADerivedReaderMadeAnotherTextOf)
{
    // Its values begin with a sign, and the missing ones are those of "base".
    class Coded : public BIniProfile {
    public:
        using BIniProfile::BIniProfile;

        WString meanwhile;

    protected:
        WString GetString(const WString& key, const WString& defaultValue) override
        {
            WString text = BIniProfile::GetString(key, WString());
            if (text.IsEmpty())
                text = BIniProfile::GetString(QD_W("base"), WString());
            if (!meanwhile.IsEmpty())
                BProfile::WriteString(GetPath(), QD_W("S"), key, meanwhile);
            return text.IsEmpty() ? defaultValue : text.Sub(1);
        }
        bool WriteKeyImpl(const WString& key, const WString& value) const override
        {
            return BIniProfile::WriteKeyImpl(key, QD_W("~") + value);
        }
    };
    for (const bool isTaken : {false, true}) {
        WriteFileBytes(m_file, "[S]\r\nbase=~x\r\nbad=~y\r\n");
        Coded profile(m_path, QD_W("S"), true);
        profile.meanwhile = isTaken ? QD_W("~5") : QD_W("");
        double number = 0.5;
        for (const WChar* key : {QD_W("bad"), QD_W("missing")})
            EXPECT_EQ(profile.GetInt(key, 7), 7);
        EXPECT_FALSE(profile.Read(QD_W("none"), number));
        EXPECT_EQ(FileBytes(m_file),
                  isTaken ? "[S]\r\nbase=~x\r\nbad=~5\r\nmissing=~5\r\nnone=~5\r\n"
                          : "[S]\r\nbase=~x\r\nbad=~7\r\nmissing=~7\r\nnone=~0.5\r\n");
    }
}

TEST_F(BIniProfileFile, CutsLongValuesAndLists)
{
    const BIniProfile profile(m_path, QD_W("S"), false);
    WString value, text;
    value.Fill(40000, QD_W('x'));
    EXPECT_TRUE(profile.Write(QD_W("k"), value));
    EXPECT_TRUE(profile.Read(QD_W("k"), text));
    EXPECT_EQ(text.Length(), 32768U);

    std::string lines = "[S]\r\n", sections;
    for (int i = 10000; i < 16000; ++i) {
        lines += "ke" + std::to_string(i) + "=1\r\n";
        sections += "[se" + std::to_string(i) + "]\r\n";
    }
    WriteFileBytes(m_file, lines + sections);
    BArray<WString> names;
    EXPECT_TRUE(profile.LoadSection(QD_W("S"), &names));
    ASSERT_EQ(names.Count(), 4096U);
    EXPECT_EQ(names[4095], QD_W("ke14095"));
    EXPECT_TRUE(profile.GetSections(names));
    EXPECT_EQ(names.Count(), 4097U);
}

TEST_F(BIniProfileFile, HasNothingWithoutAFile)
{
    BArray<WString> names;
    names.Append(QD_W("x"));
    EXPECT_FALSE(BIniProfile(WString(), QD_W("S"), true).GetSections(names));
    EXPECT_EQ(names.Count(), 0U);
    EXPECT_FALSE(BIniProfile(m_path, QD_W("S"), true).LoadSection(QD_W("S"), nullptr));
    EXPECT_FALSE(BIniProfile(m_path, QD_W("S"), true).GetSections(names));
    EXPECT_FALSE(std::filesystem::exists(m_file));
}

TEST_F(BIniProfileFile, WritesTheSameFileOnBothPlatforms)
{
    WriteFileBytes(m_file, "; by hand\r\n[Eight \xE4]\r\nold=\x80\r\n");
    const BIniProfile profile(m_path, QD_W("Typed"), true);
    profile.Write(QD_W("double"), 0.1234567);
    profile.Write(QD_W("bool"), true);
    profile.Write(QD_W("text"), QD_W("\u00E4\u00DF"));
    profile.GetInt(QD_W("default"), 12);
    EXPECT_EQ(FileBytes(m_file), FileBytes(GoldenFile("profile/typed.ini")));
    profile.SetSection(QD_W("Eight \u00E4"));
    WString text;
    EXPECT_TRUE(profile.Read(QD_W("old"), text));
    EXPECT_EQ(text, QD_W("\u20AC"));
}
