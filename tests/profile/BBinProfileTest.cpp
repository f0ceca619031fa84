#include "core/profile/BBinProfile.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <thread>

using namespace std::string_literals;

namespace {

// Loads and saves when it is told to.
class OpenBinProfile final : public BBinProfile {
public:
    using BBinProfile::BBinProfile;
    using BBinProfile::MapKey;
    using BBinProfile::Read;
    using BBinProfile::Section;
};

std::string Word(std::uint32_t word)
{
    return BytesOf(word);
}

std::string Wide(const std::string& text)
{
    const auto length = static_cast<std::uint32_t>(text.size());
    return Word(length) + Word(~length) + Utf16(text, "") + "\0\0"s;
}

std::string Narrow(const std::string& text)
{
    const auto length = static_cast<std::uint32_t>(text.size());
    return Word(length) + Word(~length) + text + '\0';
}

std::string Int(std::uint32_t value)
{
    return Word(1) + Word(value);
}

const std::string kWideId = "\x06LAi";
const std::string kNarrowId = "\x05LAY";

} // namespace

TEST(BBinProfile, AValueHasATypeOfItsOwn)
{
    const TemporaryFolder folder;
    BBinProfile profile(folder.Path("p"), ProfileReadWrite);
    EXPECT_TRUE(profile.IsValid());
    profile.WriteString(QD_W("k"), QD_W("1"));
    EXPECT_EQ(profile.ReadInt(QD_W("k"), 5), 5);
    EXPECT_EQ(profile.ReadDouble(QD_W("k"), 0.5), 0.5);
    EXPECT_TRUE(profile.ReadBoolean(QD_W("k"), true));
    EXPECT_FALSE(profile.ReadMem(QD_W("k"), nullptr, 0));
    profile.WriteMem(QD_W("k"), &profile, 0);
    EXPECT_EQ(profile.ReadString(QD_W("k"), QD_W("none")), QD_W("none"));
    EXPECT_TRUE(profile.ReadMem(QD_W("k"), nullptr, 0));
}

TEST(BBinProfile, FindsKeysBySectionUpToItsFirstBracket)
{
    const TemporaryFolder folder;
    OpenBinProfile profile(folder.Path("p"), ProfileReadWrite);
    EXPECT_EQ(profile.MapKey(QD_W("Key")), QD_W("[default]key"));
    EXPECT_EQ(profile.Section(QD_W("[open")), QD_W("open"));
    profile.SetSection(QD_W("x]y"));
    profile.WriteInt(QD_W("b"), 2);
    EXPECT_FALSE(profile.ExistsSection(QD_W("x]y")));
    EXPECT_TRUE(profile.ExistsSection(QD_W("X")));
    profile.DeleteSection();
    EXPECT_EQ(profile.ReadInt(QD_W("b"), 0), 2);
}

TEST(BBinProfile, WritesTheFileOnlyWhenItMayAndSomethingChanged)
{
    const TemporaryFolder folder;
    const std::string bytes = kWideId + Wide("[default]a") + Int(1);
    {
        BBinProfile untouched(folder.Path("none"), ProfileReadWrite);
        untouched.DeleteKey(QD_W("none"));
        untouched.DeleteSection();
        BBinProfile refused(folder.Path("no folder\\p"), ProfileReadWrite);
        refused.WriteInt(QD_W("a"), 1);
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "none"));
    WriteFileBytes(folder / "p", bytes);
    std::filesystem::permissions(folder / "p", std::filesystem::perms::owner_read);
    BBinProfile(folder.Path("p"), ProfileReadWrite).WriteInt(QD_W("a"), 2);
    EXPECT_EQ(FileBytes(folder / "p"), bytes);
    std::filesystem::permissions(folder / "p", std::filesystem::perms::owner_all);
    BBinProfile(folder.Path("p"), ProfileNew).WriteInt(QD_W("b"), 2);
    EXPECT_EQ(FileBytes(folder / "p"), kWideId + Wide("[default]b") + Int(2));
    BBinProfile(folder.Path("p"), ProfileReadWrite).DeleteKey(QD_W("b"));
    EXPECT_EQ(FileBytes(folder / "p"), kWideId);
}

// Where a file that is open cannot be replaced, the one who saves waits.
TEST(BBinProfile, SavesWhileOthersRead)
{
    const TemporaryFolder folder;
    BBinProfile(folder.Path("p"), ProfileNew).WriteInt(QD_W("a"), 0);
    std::thread reader([&] {
        for (int i = 0; i < 500; ++i)
            BBinProfile(folder.Path("p"), ProfileReadOnly);
    });
    for (int value = 1; value <= 20; ++value)
        BBinProfile(folder.Path("p"), ProfileReadWrite).WriteInt(QD_W("a"), value);
    reader.join();
    EXPECT_EQ(BBinProfile(folder.Path("p"), ProfileReadOnly).ReadInt(QD_W("a"), 0), 20);
}

TEST(BBinProfile, ReadsWhatADamagedFileStillHolds)
{
    const std::string first = Wide("[default]a") + Int(1);
    const std::string key = Wide("[default]b");
    const std::string last = Wide("[default]c") + Int(3);
    const std::string start = kWideId + first;
    struct Case {
        const char* name;
        std::string bytes;
        bool isValid, isRead;
        int a, b, c; // -1 for none
    };
    const Case cases[] = {
        {"whole", start + key + Int(2) + last, true, true, 1, 2, 3},
        {"empty", "", false, false, -1, -1, -1},
        {"id cut", kWideId.substr(0, 3), false, false, -1, -1, -1},
        {"other id", "[default]\na=1\n", false, false, -1, -1, -1},
        {"id alone", kWideId, true, true, -1, -1, -1},
        {"key's length cut", start + key.substr(0, 7), true, true, 1, -1, -1},
        {"key's check word", start + Word(1) + Word(1) + last, true, true, 1, -1, -1},
        {"key cut", start + key.substr(0, 20), true, true, 1, -1, -1},
        {"key without 0", start + Word(1) + Word(~1u) + "ab" + Int(2), true, true, 1, -1, -1},
        {"key beyond the file", start + Word(~0u) + Word(0) + last, true, true, 1, -1, -1},
        {"empty key", start + Wide("") + Int(2) + last, true, true, 1, -1, -1},
        {"no value", start + key, true, false, -1, -1, -1},
        {"unknown type", start + key + Word(9) + last, true, false, -1, -1, -1},
        {"number cut", start + key + Word(1) + "\1\0"s, true, true, 1, 0, -1},
        {"check word", start + key + Word(4) + Word(5) + Word(5) + last, true, true, 1, -1, 3},
        {"key twice", start + key + Int(2) + key + Int(5), true, true, 1, 5, -1},
        {"upper-case key", kWideId + Wide("[default]A") + Int(1) + last, true, true, -1, -1, 3},
    };
    const TemporaryFolder folder;
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        WriteFileBytes(folder / "p", row.bytes);
        OpenBinProfile profile(folder.Path("p"), ProfileNew);
        EXPECT_EQ(profile.Read(), row.isRead);
        EXPECT_EQ(profile.IsValid(), row.isValid);
        EXPECT_EQ(profile.ReadInt(QD_W("a"), -1), row.a);
        EXPECT_EQ(profile.ReadInt(QD_W("b"), -1), row.b);
        EXPECT_EQ(profile.ReadInt(QD_W("c"), -1), row.c);
    }
}

TEST(BBinProfile, TellsWhatIsWrongWithItsFile)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("p");
    BBinProfile made(path, ProfileReadWrite);
    EXPECT_FALSE(made.Problem()) << "it is made";
    EXPECT_TRUE(made.Save()) << "nothing to save";
    EXPECT_FALSE(std::filesystem::exists(folder / "p"));
    made.WriteInt(QD_W("a"), 1);
    EXPECT_TRUE(made.Save());
    const std::string whole = FileBytes(folder / "p");
    made.WriteInt(QD_W("b"), 1);
    std::filesystem::remove(folder / "p");
    std::filesystem::create_directory(folder / "p");
    EXPECT_FALSE(made.Save());
    EXPECT_TRUE(made.Problem());
    std::filesystem::remove(folder / "p");
    EXPECT_EQ(made.ReadInt(QD_W("none"), 3), 3);
    EXPECT_TRUE(made.Save()) << "the changes were kept";
    EXPECT_FALSE(made.Problem()) << "nor that of a reader before";
    EXPECT_GT(FileBytes(folder / "p").size(), whole.size());

    struct Case {
        std::string bytes;
        const WChar* text;
    };
    const Case cases[] = {
        {whole, QD_W("")},
        {"[default]", QD_W(": no binary profile")},
        {whole.substr(0, 3), QD_W(": no binary profile")},
        {whole.substr(0, 4), QD_W("")},
        {whole.substr(0, 6), QD_W(": damaged at byte 4")},
        {whole.substr(0, whole.size() - 6), QD_W(": damaged at byte 4")},
        {whole.substr(0, whole.size() - 1), QD_W(": damaged at byte 4")},
        {kWideId + Wide("t") + Word(2) + Word(9) + Word(~9u), QD_W(": damaged at byte 4")},
        {whole + "x", nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        WriteFileBytes(folder / "p", c.bytes);
        const BBinProfile profile(path, ProfileReadOnly);
        WString expected = c.text != nullptr ? c.text : QD_W(": damaged at byte ");
        if (c.text == nullptr)
            expected += WString::FromInt(static_cast<int>(whole.size()));
        EXPECT_EQ(profile.Problem().Text(), expected.IsEmpty() ? expected : path + expected);
    }
}

TEST(BBinProfile, ReadsNarrowKeysAndSavesThemWide)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "p", kNarrowId + Narrow("[default]a\xDF") + Int(1) +
                                     Narrow("[default]t") + Word(2) + Narrow("\xE4"));
    {
        BBinProfile profile(folder.Path("p"), ProfileReadWrite);
        EXPECT_TRUE(profile.IsValid());
        EXPECT_EQ(profile.ReadInt(QD_W("a\u00DF"), 0), 1);
        EXPECT_EQ(profile.ReadString(QD_W("t"), QD_W("")), QD_W("\u00E4"));
        profile.WriteInt(QD_W("b"), 2);
    }
    EXPECT_EQ(FileBytes(folder / "p"), kWideId + Wide("[default]a\xDF") + Int(1) +
                                           Wide("[default]t") + Word(2) + Narrow("\xE4") +
                                           Wide("[default]b") + Int(2));
}
