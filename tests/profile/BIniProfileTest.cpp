#include "core/profile/BIniProfile.h"

#include "core/profile/BProfile.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
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
    EXPECT_FALSE(profile.LoadSection(QD_W("none"), &names));
    EXPECT_EQ(names.Count(), 0U);
    for (const WString& none : {WString(), m_folder.Path("none.ini")}) {
        names.Append(QD_W("x"));
        EXPECT_FALSE(BIniProfile(none, QD_W("S"), true).GetSections(names));
        EXPECT_EQ(names.Count(), 0U);
    }
    EXPECT_FALSE(std::filesystem::exists(m_folder / "none.ini"));
    profile.SetSection(QD_W("B"));
    profile.SetSection(profile.GetSection());
    EXPECT_TRUE(profile.DeleteSection(QD_W("none")));
    EXPECT_EQ(profile.GetSection(), QD_W("B"));
    EXPECT_TRUE(profile.DeleteSection(profile.GetSection()));
    EXPECT_EQ(profile.GetSection(), WString());
    BIniProfile copy = profile;
    copy.SetSection(QD_W("A"));
    copy.DeleteKey(QD_W("Y"));
    EXPECT_EQ(FileBytes(m_file), "[A]\r\nx=1\r\nn=-5\r\n");
    EXPECT_EQ(BIniProfile(m_folder.Path("new\\made.ini"), QD_W("S"), true).GetInt(QD_W("n"), 7), 7);
    EXPECT_EQ(FileBytes(m_folder / "new/made.ini"), Utf16("[S]\r\nn=7\r\n"));
}

TEST_F(BIniProfileFile, ADefaultGoesThroughItsOwnWriterAndReplacesNothingThatCameMeanwhile)
{
    // Its values begin with a sign, the missing ones are those of "base", and what it looks for or
    // writes somebody else may have written first.
    class Coded : public BIniProfile {
    public:
        using BIniProfile::BIniProfile;
        using IProfile::Init;

        WString beforeRead, beforeWrite;

    protected:
        WString GetString(const WString& key, const WString& defaultValue) override
        {
            if (key == QD_W("own") || key == QD_W("odd")) // and tells nobody
                return key == QD_W("own") ? WString() : key;
            WString text = BIniProfile::GetString(key, WString());
            if (text.IsEmpty())
                text = BIniProfile::GetString(QD_W("base"), WString());
            if (!beforeRead.IsEmpty())
                BProfile::WriteString(GetPath(), QD_W("S"), key, beforeRead);
            return text.IsEmpty() ? defaultValue : text.Sub(1);
        }
        bool WriteKeyImpl(const WString& key, const WString& value) const override
        {
            if (!beforeWrite.IsEmpty())
                BProfile::WriteString(const_cast<Coded&>(*this).GetPath(), QD_W("S"), key,
                                      beforeWrite);
            if (key != QD_W("last"))
                Write(QD_W("last"), value); // no default
            return BIniProfile::WriteKeyImpl(key, QD_W("~") + value);
        }
    };
    using Meanwhile = std::pair<const WChar*, const WChar*>;
    for (const auto& [beforeRead, beforeWrite] :
         {Meanwhile{QD_W(""), QD_W("")}, {QD_W("~5"), QD_W("")}, {QD_W(""), QD_W("~5")}}) {
        WriteFileBytes(m_file, "[S]\r\nbase=~x\r\nbad=~y\r\ntext=~\r\n");
        Coded profile(m_path, QD_W("S"), true);
        profile.beforeRead = beforeRead;
        profile.beforeWrite = beforeWrite;
        for (const WChar* key : {QD_W("bad"), QD_W("missing"), QD_W("odd")})
            EXPECT_EQ(profile.GetInt(key, 7), 7);
        double number = 0.5;
        EXPECT_FALSE(profile.Read(QD_W("none"), number));
        WString text = QD_W("t");
        for (const WChar* key : {QD_W("text"), QD_W("own")})
            EXPECT_FALSE(profile.Read(key, text));
        const std::string own = *beforeWrite == 0 ? "own=~t\r\n" : "own=~5\r\n";
        EXPECT_EQ(FileBytes(m_file), (*beforeRead == 0 && *beforeWrite == 0
                                          ? "[S]\r\nbase=~x\r\nbad=~7\r\ntext=~t\r\nlast=~t\r\n"
                                            "missing=~7\r\nodd=~7\r\nnone=~0.5\r\n"
                                          : "[S]\r\nbase=~x\r\nbad=~5\r\ntext=~5\r\nlast=~t\r\n"
                                            "missing=~5\r\nodd=~7\r\nnone=~5\r\n") +
                                         own);
        EXPECT_TRUE(profile.Write(QD_W("missing"), 8)); // no default
        profile.beforeRead = WString();
        EXPECT_EQ(profile.GetInt(QD_W("missing"), 7), 8);
        profile.Init();
        EXPECT_FALSE(profile.WriteMissingKey());
    }
}

TEST_F(BIniProfileFile, TellsWhyAReaderOrAWriterFailed)
{
    const BIniProfile profile(m_path, QD_W("s"), false);
    int number = 0;
    bool truth = false;
    float real = 0;
    unsigned short hex = 0;
    EXPECT_FALSE(profile.Read(QD_W("n"), number, 1, 9));
    EXPECT_EQ(profile.Problem().code, EProblem::NotThere);
    WriteFileBytes(m_file, "[s]\r\nn=10\r\ntext=abc\r\n");
    EXPECT_TRUE(profile.Read(QD_W("n"), number, 1, 10));
    EXPECT_FALSE(profile.Problem());
    struct Case {
        std::function<bool()> read;
        EProblem code;
        const WChar* text;
    };
    const Case cases[] = {
        {[&] { return profile.Read(QD_W("n"), number, -2, 0); }, EProblem::OutOfRange,
         QD_W("10 under \"n\" in section \"s\" is out of range")},
        {[&] { return profile.Read(QD_W("none"), real); }, EProblem::NoValue,
         QD_W("no value under \"none\" in section \"s\"")},
        {[&] { return profile.ReadMem(QD_W("none"), &real, 4); }, EProblem::NoValue,
         QD_W("no value under \"none\" in section \"s\"")},
        {[&] { return profile.ReadMem(QD_W("n"), &real, 4); }, EProblem::OtherValue, nullptr},
        {[&] { return profile.Read(QD_W("text"), number, 1, 9); }, EProblem::OtherValue, nullptr},
        {[&] { return profile.Read(QD_W("text"), real); }, EProblem::OtherValue, nullptr},
        {[&] { return profile.Read(QD_W("text"), truth); }, EProblem::OtherValue, nullptr},
        {[&] { return profile.ReadHex(QD_W("n"), hex); }, EProblem::OtherValue, nullptr},
        {[&] { return profile.LoadSection(QD_W("t"), nullptr); }, EProblem::NoValue,
         QD_W("no value in section \"t\"")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        EXPECT_FALSE(c.read());
        EXPECT_EQ(profile.Problem().code, c.code);
        EXPECT_TRUE(c.text == nullptr || profile.Problem().Text() == m_path + QD_W(": ") + c.text);
        profile.SetSection(QD_W("s"));
        EXPECT_TRUE(profile.Read(QD_W("n"), number, 1, 10));
        EXPECT_FALSE(profile.Problem());
    }
    const BIniProfile below(m_path + QD_W("/below.ini"), QD_W("s"), true);
    for (const bool isWriter : {true, false}) {
        EXPECT_FALSE(isWriter ? below.Write(QD_W("n"), 1) : below.Read(QD_W("n"), number, 1, 9));
        EXPECT_TRUE(below.Problem().systemError != 0);
    }
}

TEST_F(BIniProfileFile, CutsLongValuesAndLists)
{
    const BIniProfile profile(m_path, QD_W("S"), false);
    for (const std::size_t length : {510U, 511U, 512U, 1023U, 32767U, 40000U}) {
        WString value, text;
        value.Fill(length, QD_W('x'));
        EXPECT_TRUE(profile.Write(QD_W("k"), value));
        EXPECT_TRUE(profile.Read(QD_W("k"), text));
        EXPECT_EQ(text.Length(), std::min<std::size_t>(length, 32768));
        BProfile other(m_path, ProfileReadOnly);
        other.SetSection(QD_W("S"));
        EXPECT_EQ(other.ReadString(QD_W("k"), WString()).Length(),
                  std::min<std::size_t>(length, 32767));
    }

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
