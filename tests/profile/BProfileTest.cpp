#include "core/profile/BProfile.h"

#include "core/base/BString.h"
#include "core/base/ErrorCodes.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

class BProfileFile : public testing::Test {
protected:
    TemporaryFolder m_folder;
    const WString m_path = m_folder.Path("settings.ini");
    const fs::path m_file = m_folder / "settings.ini";
};

} // namespace

TEST_F(BProfileFile, EachModeTreatsTheFileInItsWay)
{
    for (const EProfileMode mode :
         {ProfileReadOnly, ProfileNew, ProfileReadWrite, static_cast<EProfileMode>(3)}) {
        SCOPED_TRACE(mode);
        fs::remove(m_file);
        const BProfile made(m_path, mode);
        EXPECT_EQ(fs::exists(m_file), mode != ProfileReadOnly);
        WriteFileBytes(m_file, "old");
        const BProfile kept(m_path, mode);
        EXPECT_EQ(FileBytes(m_file), mode == ProfileNew ? Utf16("") : "old");
    }
    const BProfile deep(m_folder.Path("new\\folder\\settings.ini"), ProfileReadWrite);
    EXPECT_EQ(FileBytes(m_folder / "new/folder/settings.ini"), Utf16(""));
    // Asking makes the file, but no folder.
    EXPECT_TRUE(BProfile(m_folder.Path("asked.ini"), ProfileReadOnly).IsValid());
    EXPECT_TRUE(fs::exists(m_folder / "asked.ini"));
    EXPECT_FALSE(BProfile(m_folder.Path("none/asked.ini"), ProfileReadOnly).IsValid());
}

TEST_F(BProfileFile, FillsItselfWithDefaultsUnlessReadOnly)
{
    const std::string text =
        "[default]\r\nempty=\r\nno=no\r\nn=12abc\r\nbad=x12\r\nbad2=-\r\nd=1e1,5\r\n";
    for (const EProfileMode mode : {ProfileReadOnly, ProfileReadWrite}) {
        WriteFileBytes(m_file, text);
        BProfile profile(m_path, mode);
        // A text that is there stays, whether or not it is a number.
        EXPECT_EQ(profile.ReadInt(QD_W("n"), 5), 12);
        EXPECT_EQ(profile.ReadInt(QD_W("bad"), 5), 5);
        EXPECT_EQ(profile.ReadInt(2, QD_W("bad"), 5), 5);
        EXPECT_EQ(profile.ReadDouble(QD_W("d"), 5), 10);
        EXPECT_EQ(profile.ReadDouble(QD_W("bad"), 5), 5);
        EXPECT_FALSE(profile.ReadBoolean(QD_W("no"), true));
        EXPECT_EQ(profile.ReadString(QD_W("missing"), QD_W("text")), QD_W("text"));
        EXPECT_EQ(profile.ReadString(QD_W("empty"), WString()), WString());
        EXPECT_EQ(FileBytes(m_file), text);

        EXPECT_EQ(profile.ReadString(QD_W("empty"), QD_W("text")), QD_W("text"));
        EXPECT_EQ(profile.ReadInt(QD_W("i"), 5), 5);
        EXPECT_EQ(profile.ReadDouble(QD_W("x"), 0.5), 0.5);
        EXPECT_EQ(profile.ReadInt(-1, QD_W("i"), 6), 6);
        EXPECT_EQ(profile.ReadDouble(1, QD_W("x"), 1.5), 1.5);
        EXPECT_TRUE(profile.ReadBoolean(QD_W("b"), true));
        EXPECT_EQ(FileBytes(m_file) == text, mode == ProfileReadOnly);
    }
    EXPECT_EQ(FileBytes(m_file), "[default]\r\nempty=text\r\nno=no\r\nn=12abc\r\nbad=x12\r\n"
                                 "bad2=-\r\nd=1e1,5\r\ni=5\r\nx=0.5\r\ni-1=6\r\nx1=1.5\r\n"
                                 "b=TRUE\r\n");
}

TEST_F(BProfileFile, ADefaultGoesThroughTheWritersAndReplacesNothingThatCameMeanwhile)
{
    // Its readers and writers see what they read and write, and somebody else is faster.
    class Overtaken : public BProfile {
    public:
        using BProfile::BProfile;
        using BProfile::ReadInt;
        using BProfile::WriteInt;
        using BProfile::WriteString;

        int ReadInt(WString key, int defaultValue) override
        {
            seen += (QD_W("read ") + key + QD_W(" ")).AsString().CStr();
            return BProfile::ReadInt(std::move(key), defaultValue);
        }
        bool WriteInt(WString key, int value) override
        {
            seen += "int ";
            return BProfile::WriteInt(std::move(key), value);
        }
        bool WriteString(WString key, WString value) override
        {
            seen += (key + QD_W("=") + value + QD_W(" ")).AsString().CStr();
            BProfile(*this).WriteString(key, QD_W("5"));
            return BProfile::WriteString(std::move(key), std::move(value));
        }

        std::string seen;
    };
    WriteFileBytes(m_file, "[default]\r\nempty=\r\n");
    Overtaken profile(m_path, ProfileReadWrite);
    EXPECT_EQ(profile.ReadInt(1, QD_W("i"), 1), 1);
    EXPECT_EQ(profile.ReadDouble(QD_W("d"), 0.5), 0.5);
    EXPECT_TRUE(profile.ReadBoolean(QD_W("b"), true));
    EXPECT_EQ(profile.ReadString(QD_W("empty"), QD_W("text")), QD_W("text"));
    EXPECT_EQ(profile.seen, "read i1 int i1=1 d=0.5 b=TRUE empty=text ");
    EXPECT_EQ(FileBytes(m_file), "[default]\r\nempty=5\r\ni1=5\r\nd=5\r\nb=5\r\n");
    EXPECT_TRUE(profile.WriteInt(1, QD_W("i"), 7)); // no default
    EXPECT_EQ(profile.ReadInt(1, QD_W("i"), 0), 7);
}

TEST_F(BProfileFile, MakesAnEightBitFileUnicodeWhenAValueNeedsIt)
{
    WriteFileBytes(m_file, "[default]\r\nk=\xE4\r\n");
    BProfile profile(m_path, ProfileReadWrite);
    EXPECT_TRUE(profile.WriteString(QD_W("l"), QD_W("\u00FF")));
    EXPECT_EQ(FileBytes(m_file), "[default]\r\nk=\xE4\r\nl=\xFF\r\n");
    EXPECT_TRUE(profile.WriteString(QD_W("m"), QD_W("\u03B1")));
    EXPECT_EQ(FileBytes(m_file),
              Utf16("[default]\r\nk=\xE4\r\nl=\xFF\r\nm=") + "\xB1\x03" + Utf16("\r\n").substr(2));
    EXPECT_EQ(profile.ReadString(QD_W("k"), WString()), QD_W("\u00E4"));
}

// Under "?" or a look-alike nothing is found again.
TEST_F(BProfileFile, KeepsEachLetterThatAnEightBitFileLacks)
{
    struct Case {
        const WChar *section, *key, *value;
    };
    for (const auto& [section, key, value] : {Case{QD_W("\u6E2C"), QD_W("k"), QD_W("v")},
                                              {QD_W("s"), QD_W("\u6E2C"), QD_W("v")},
                                              {QD_W("s"), QD_W("k"), QD_W("\u0085")},
                                              {QD_W("s"), QD_W("\u0141"), nullptr}}) {
        WriteFileBytes(m_file, "[default]\r\nk=\xE4\r\n");
        BProfile profile(m_path, ProfileReadWrite);
        profile.SetSection(section);
        int block = 7;
        EXPECT_TRUE(value != nullptr ? profile.WriteString(key, value)
                                     : profile.WriteMem(key, &block, sizeof block));
        EXPECT_TRUE(value != nullptr ? profile.ReadString(key, WString()) == value
                                     : profile.ReadMem(key, &block, sizeof block));
    }
}

// An editor that saves UTF-8 makes no other file of it: its mark is text, and so are its letters.
TEST_F(BProfileFile, MakesAFileWithAMarkOfUtf8UnicodeAsAnyOther)
{
    WriteFileBytes(m_file, "\xEF\xBB\xBF; c\r\n[default]\r\nk=\xE4\r\n");
    BProfile profile(m_path, ProfileReadWrite);
    for (const WChar* value : {QD_W("\u03B1"), QD_W("\u03B2")}) {
        EXPECT_TRUE(profile.WriteString(QD_W("l"), value));
        EXPECT_EQ(profile.ReadString(QD_W("l"), WString()), value);
        EXPECT_EQ(profile.ReadString(QD_W("k"), WString()), QD_W("\u00E4"));
    }
    EXPECT_TRUE(FileBytes(m_file).starts_with(Utf16("\xEF\xBB\xBF; c\r\n[default]\r\n")));
}

TEST_F(BProfileFile, TwoWritersLoseNoKey)
{
    constexpr int count = 50;
    const WString path = m_folder.Path("a\\b\\shared.ini"); // both make it, and its folders
    const auto write = [&](const WChar* family) {
        for (int i = 0; i < count; ++i)
            EXPECT_TRUE(BProfile(path, ProfileReadWrite).WriteString(i, family, family));
    };
    std::thread other(write, QD_W("narrow"));
    write(QD_W("wide \u6E2C"));
    other.join();
    BProfile profile(path, ProfileReadOnly);
    for (int i = 0; i < count; ++i) {
        for (const WChar* family : {QD_W("narrow"), QD_W("wide \u6E2C")})
            EXPECT_EQ(profile.ReadString(i, family, WString()), family);
    }
}

TEST_F(BProfileFile, WhatCannotBeWrittenIsFalse)
{
    const std::string text = "[default]\r\nk=1\r\n";
    WriteFileBytes(m_file, text);
    fs::create_directory(m_folder / "folder");
    EXPECT_EQ(BProfile::WriteString(m_folder.Path("folder"), QD_W("S"), QD_W("k"), QD_W("v")),
              kErrorFileNotWritten);
    for (const std::string& name :
         std::vector<std::string>{"settings.ini/a", "settings.ini/a/b", std::string(9999, 'x')}) {
        const WString path = m_folder.Path(name.c_str());
        EXPECT_EQ(BProfile::WriteString(path, QD_W("S"), QD_W("k"), QD_W("v")),
                  kErrorFileNotWritten);
        BProfile profile(path, ProfileNew);
        EXPECT_NE(profile.Problem().systemError, 0);
        EXPECT_FALSE(profile.WriteInt(QD_W("k"), 1));
        EXPECT_NE(profile.Problem().systemError, 0);
        EXPECT_FALSE(profile.IsValid());
        EXPECT_TRUE(profile.Problem().code == EProblem::NotThere || name.size() > 999) << name;
        EXPECT_EQ(profile.ReadInt(QD_W("k"), 5), 5);
    }
    EXPECT_EQ(FileBytes(m_file), text);
}

TEST_F(BProfileFile, TellsADefaultByItsTextWithoutTheBlanksAtItsEnd)
{
    WriteFileBytes(m_file, "[default]\r\nx=x\r\n");
    BProfile profile(m_folder.Path("settings.ini"), ProfileReadOnly);
    EXPECT_EQ(profile.ReadString(QD_W("none"), QD_W("x ")), QD_W("x"));
    EXPECT_EQ(profile.Problem().code, EProblem::NoValue);
    EXPECT_EQ(profile.ReadString(QD_W("x"), QD_W("x ")), QD_W("x"));
    EXPECT_FALSE(profile.Problem());
}
