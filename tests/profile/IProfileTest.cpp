#include "core/profile/IProfile.h"

#include "core/base/BString.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BConfigRegistry.h"
#include "core/profile/BIniProfile.h"
#include "core/profile/BProfile.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

#if __has_include(<windows.h>)
# include <windows.h>
#endif

namespace {

/// The typed readers and writers, on the texts of an INI file's section "s".
class IProfileTest : public testing::Test {
protected:
    [[nodiscard]] BIniProfile Open(bool writeMissingKey) const
    {
        return {m_path, QD_W("s"), writeMissingKey};
    }
    /// The file holds "k" alone; the quotes keep its blanks.
    void Put(const std::string& text) const
    {
        WriteFileBytes(m_folder / "p.ini", "[s]\r\nk=\"" + text + "\"\r\n");
    }
    [[nodiscard]] std::string Text() const
    {
        WString text; // stays empty when there is none
        Open(false).Read(QD_W("k"), text);
        return text.AsString().CStr();
    }

    TemporaryFolder m_folder;
    const WString m_path = m_folder.Path("p.ini");
};

} // namespace

TEST_F(IProfileTest, ClampsAnIntToItsBoundsAndLeavesTheOtherIntegers)
{
    struct Case {
        const char* text;
        int intValue, otherValue;
        bool isRead;
        const char* written; // with missing keys written
    };
    const Case cases[] = {
        {"7", 7, 7, true, "7"},        {"-10", -10, -10, true, "-10"},   {"42", 40, 5, false, "42"},
        {"-42", -10, 5, false, "-42"}, {"12abc", 12, 12, true, "12abc"}, {"abc", 5, 5, false, "5"},
        {"", 5, 5, false, "5"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.text);
        for (const bool writeMissingKey : {false, true}) {
            const BIniProfile store = Open(writeMissingKey);
            const auto expectRead = [&](auto value, int expected) {
                Put(row.text);
                EXPECT_EQ(store.Read(QD_W("k"), value, -10, 40), row.isRead);
                EXPECT_EQ(value, static_cast<decltype(value)>(expected));
                EXPECT_EQ(Text(), writeMissingKey ? row.written : row.text);
            };
            expectRead(5, row.intValue);
            expectRead(static_cast<unsigned char>(5), row.otherValue);
            expectRead(static_cast<unsigned short>(5), row.otherValue);
            expectRead(static_cast<short>(5), row.otherValue);
            expectRead(5L, row.otherValue);
        }
        unsigned long wide = 5;
        Put(row.text);
        EXPECT_EQ(Open(false).Read(QD_W("k"), wide, -10, 40), row.isRead);
        EXPECT_EQ(wide, static_cast<std::uint32_t>(row.otherValue)); // of 32 bits everywhere
    }
    Open(false).Write(QD_W("k"), 4294967295UL);
    EXPECT_EQ(Text(), "-1");
}

// What a writer of ints would cut is refused where it is written.
template <class Profile, class T>
concept TakesInt = requires(Profile profile, T value)
{
    profile.WriteInt(QD_W("k"), value);
};
template <class Profile, class T>
concept Takes = requires(Profile profile, T value)
{
    profile.Write(QD_W("k"), value);
};
template <class Profile>
constexpr bool kTakesIntsAlone =
    TakesInt<Profile, int>&& TakesInt<Profile, unsigned short> &&
    !TakesInt<Profile, std::int64_t> && !TakesInt<Profile, std::size_t>;
static_assert(kTakesIntsAlone<BProfile> && kTakesIntsAlone<BBinProfile> &&
              kTakesIntsAlone<BIniProfile> && kTakesIntsAlone<BConfigRegistry>);
template <class Profile>
concept TakesTextAsTruth = requires(Profile profile)
{
    profile.WriteBoolean(QD_W("k"), "text");
}
|| requires(Profile profile)
{
    profile.WriteBoolean(QD_W("k"), WString());
}
|| requires(Profile profile)
{
    profile.WriteBool(QD_W("k"), QD_W("text"));
}
|| requires(Profile profile)
{
    profile.WriteBool(QD_W("k"), BString());
};
static_assert(!TakesTextAsTruth<BProfile> && !TakesTextAsTruth<BBinProfile> &&
              !TakesTextAsTruth<BConfigRegistry>);
static_assert(!Takes<IProfile&, void*> && !Takes<BIniProfile, const int*>);

TEST_F(IProfileTest, WritesATextOfEachKindAsText)
{
    const BIniProfile store = Open(false);
    char narrow[] = "a\xE4";
    WString wide = QD_W("a\u00E4");
    const IProfile& base = store;
    const std::function<bool()> writers[] = {
        [&] { return store.Write(QD_W("k"), "a\xE4"); },
        [&] { return store.Write(QD_W("k"), narrow); },
        [&] { return store.Write(QD_W("k"), BString(narrow)); },
        [&] { return base.Write(QD_W("k"), wide.Str()); },
        [&] { return base.Write(QD_W("k"), QD_W("a\u00E4")); },
        [&] { return base.Write(QD_W("k"), L"a\u00E4"); },
        [&] { return base.Write(QD_W("k"), u"a\u00E4"); },
        [&] { return base.Write(QD_W("k"), u8"a\u00E4"); },
    };
    for (const auto& write : writers) {
        Put("other");
        EXPECT_TRUE(write());
        EXPECT_EQ(Text(), "a\xE4");
    }
    EXPECT_TRUE(store.Write(QD_W("k"), nullptr) &&
                store.Write(QD_W("k"), static_cast<char*>(nullptr)));
    EXPECT_EQ(Text(), "");
}

TEST_F(IProfileTest, KeepsNumbersOf64BitsWhole)
{
    const BIniProfile store = Open(true);
    const auto keeps = [&](auto number, const char* text) {
        for (const bool isDefault : {false, true}) {
            auto value = isDefault ? number : decltype(number)(1);
            Put("");
            if (isDefault)
                EXPECT_FALSE(store.Read(QD_W("k"), value)); // which writes it
            else
                EXPECT_TRUE(store.Write(QD_W("k"), number));
            EXPECT_EQ(Text(), text);
            EXPECT_TRUE(store.Read(QD_W("k"), value));
            EXPECT_EQ(value, number);
        }
    };
    using Signed = std::int64_t;
    using Unsigned = std::uint64_t;
    keeps(Signed(-7), "-7");
    keeps(Signed(2147483647), "2147483647");
    keeps(Signed(2147483648), "2147483648");
    keeps(Signed(-2147483648), "-2147483648");
    keeps(Signed(-2147483649), "-2147483649");
    keeps(std::numeric_limits<Signed>::min(), "-9223372036854775808");
    keeps(Unsigned(5), "5");
    keeps(Unsigned(4294967295), "-1"); // as those of 32 bits always were
    keeps(Unsigned(4294967296), "4294967296");
    keeps(std::numeric_limits<Unsigned>::max(), "18446744073709551615");
    store.Write(QD_W("k"), 5000000000LL);
    EXPECT_EQ(Text(), "5000000000");
    for (const char* const bad : {"18446744073709551616", "-9223372036854775809", "none"}) {
        Signed number = 1;
        Unsigned natural = 1;
        Put(bad);
        EXPECT_FALSE(store.Read(QD_W("k"), number) || store.Read(QD_W("k"), natural)) << bad;
        EXPECT_TRUE(number == 1 && natural == 1);
    }
}

TEST_F(IProfileTest, WritesADefaultForAMissingKeyWhenAskedTo)
{
    const BIniProfile store = Open(true);
    WString empty, text = QD_W("text");
    bool flag = true;
    double number = 0.1234567;
    unsigned long hex = 1;
    SYSTEMTIME time = {};
    EXPECT_FALSE(store.Read(QD_W("empty"), empty));
    EXPECT_FALSE(store.Read(QD_W("text"), text));
    EXPECT_FALSE(store.Read(QD_W("flag"), flag));
    EXPECT_FALSE(store.Read(QD_W("number"), number));
    EXPECT_FALSE(store.ReadHex(QD_W("hex"), hex, 8));
    EXPECT_FALSE(store.Read(QD_W("time"), time));
    EXPECT_EQ(FileBytes(m_folder / "p.ini"),
              Utf16("[s]\r\ntext=text\r\nflag=TRUE\r\nnumber=0.123457\r\n"));

    const BIniProfile quiet = Open(false);
    EXPECT_FALSE(quiet.Read(QD_W("quiet"), text));
}

TEST_F(IProfileTest, ReadsTruthWordsWithoutTrimmingAndKeepsWhatIsNone)
{
    const BIniProfile store = Open(true);
    const std::pair<const char*, bool> words[] = {
        {"TRUE", true}, {"true", true}, {"False", true}, {" true", false}, {"1", false}};
    for (const auto& [word, isRead] : words) {
        SCOPED_TRACE(word);
        Put(word);
        bool value = false;
        EXPECT_EQ(store.Read(QD_W("k"), value), isRead);
        EXPECT_EQ(value, isRead && word[0] != 'F');
        EXPECT_EQ(Text(), word);
    }
    store.Write(QD_W("k"), QD_W("a text is no truth value"));
    EXPECT_EQ(Text(), "a text is no truth value");
}

TEST_F(IProfileTest, KeepsFloatingPointNumbersInSinglePrecisionAndSixDigits)
{
    const BIniProfile store = Open(true);
    store.Write(QD_W("k"), 0.1234567);
    double value = 2.5;
    EXPECT_TRUE(store.Read(QD_W("k"), value));
    EXPECT_EQ(value, static_cast<double>(0.123457f));
    const std::pair<const char*, const char*> texts[] = {
        {"1e3 mm", "1e3 mm"}, {"wide", "2.5"}, {"1e", "2.5"}};
    for (const auto& [text, written] : texts) {
        SCOPED_TRACE(text);
        Put(text);
        float number = 2.5;
        EXPECT_EQ(store.Read(QD_W("k"), number), std::string(text) == written);
        EXPECT_EQ(number, std::string(text) == written ? 1000.0f : 2.5f);
        EXPECT_EQ(Text(), written);
    }
}

TEST_F(IProfileTest, ReadsHexadecimalNumbersOfThreeCharactersOrMore)
{
    // The text, its digits at most and its value, which is 1 when it cannot be read.
    const std::tuple<const char*, int, unsigned long> cases[] = {
        {"0x1A2B", 4, 0x1A2B},   {"0x12345", 4, 1},  {"1A2B", 4, 0x1A2B},
        {"\t 0XfF \t", 2, 0xFF}, {"FF", 4, 1},       {"0x", 4, 1},
        {"0xzz", 4, 1},          {"12 34", 4, 0x12}, {"12-34", 4, 1},
        {"0x1", 0, 1},           {"0x1", -1, 1},     {"0xFFFFFFFF", 8, 0xFFFFFFFF},
    };
    const BIniProfile store = Open(false);
    for (const auto& [text, digits, expected] : cases) {
        SCOPED_TRACE(text);
        Put(text);
        unsigned long value = 1;
        EXPECT_EQ(store.ReadHex(QD_W("k"), value, digits), expected != 1);
        EXPECT_EQ(value, expected);
    }
    unsigned short value = 1;
    Put("0x1ABCD");
    EXPECT_FALSE(store.ReadHex(QD_W("k"), value));
    EXPECT_EQ(value, 1);
    Put("0xABCD");
    EXPECT_TRUE(store.ReadHex(QD_W("k"), value));
    EXPECT_EQ(value, 0xABCD);
}

TEST_F(IProfileTest, ResetsATimeStampThatItCannotRead)
{
    // The text, the day of the week and what is written again, null when it cannot be read.
    const std::tuple<const char*, int, const char*> cases[] = {
        {"07/04/2018 13:05:09.250", 3, "07/04/2018 13:05:09.250"},
        {" 7 / 4 / 2018 13 : 5 : 9 . 25 later", 3, "07/04/2018 13:05:09.025"},
        {"02/29/2000 0:0:0.0", 2, "02/29/2000 00:00:00.000"},
        {"13/04/2018 13:05:09.250", 0, "13/04/2018 13:05:09.250"}, // no such month
        {"07/04/1600 13:05:09.250", 0, "07/04/1600 13:05:09.250"}, // before all file times
        {"12/31/30827 00:00:00.000", 5, "12/31/30827 00:00:00.000"},
        {"07/04/2018 13:05:09", 6, nullptr},
        {"07/x/2018 13:05:09.250", 6, nullptr},
        {"", 6, nullptr},
    };
    const BIniProfile store = Open(true);
    for (const auto& [text, dayOfWeek, writtenAgain] : cases) {
        SCOPED_TRACE(text);
        Put(text);
        SYSTEMTIME time = {};
        EXPECT_EQ(store.Read(QD_W("k"), time), writtenAgain != nullptr);
        EXPECT_EQ(time.wDayOfWeek, dayOfWeek);
        EXPECT_EQ(Text(), text);
        store.Write(QD_W("k"), time);
        EXPECT_EQ(Text(), writtenAgain ? writtenAgain : "12/30/1899 00:00:00.000");
    }
}

TEST_F(IProfileTest, GivesDerivedStoresItsParts)
{
    class Derived : public BIniProfile {
    public:
        using BIniProfile::BIniProfile, BIniProfile::Convert, BIniProfile::GetString;
        bool LoadSection(const WString& section, BArray<WString>* keys) const override
        {
            loaded += section + QD_W(";");
            return BIniProfile::LoadSection(section, keys);
        }
        mutable WString loaded;
    };
    Derived store(m_path, QD_W("s"), true);
    store.SetSection(QD_W("s"));
    EXPECT_EQ(store.loaded, QD_W(";")) << "it hears that the section is left";
    unsigned long number = 1;
    EXPECT_FALSE(store.Convert(WString(QD_W("x")), number));
    EXPECT_EQ(number, 1U);
    EXPECT_TRUE(store.Convert(WString(QD_W("-1")), number));
    EXPECT_EQ(number, 4294967295U);

    Put("");
    EXPECT_EQ(store.GetString(QD_W("none"), QD_W("default")), QD_W("default"));
    EXPECT_EQ(store.GetString(QD_W("k"), QD_W("default")), QD_W(""));
    EXPECT_EQ(FileBytes(m_folder / "p.ini"), "[s]\r\nk=default\r\n");
    EXPECT_TRUE(store.Write(QD_W("k"), static_cast<const WChar*>(nullptr)));
    EXPECT_EQ(Text(), "");
    class Storeless : public IProfile {
        BArray<WString> GetAllKeys() override { return BArray<WString>(); }
    };
    Storeless none;
    EXPECT_FALSE(none.WriteMem(QD_W("k"), &number, 1) || none.ReadMem(QD_W("k"), &number, 1) ||
                 none.WriteString(QD_W("k"), QD_W("v")));
}

TEST_F(IProfileTest, ForgetsAProblemWhenAStoreWithoutAnySucceeds)
{
    class Kept : public IProfile { // its texts pass neither of the functions that it overrides
    public:
        using IProfile::Read;
        bool Read(const WString&, WString& value) const override
        {
            value = text;
            return !text.IsEmpty();
        }
        bool WriteString(const WString&, const WString& value) const override
        {
            text = value;
            return true;
        }
        BArray<WString> GetAllKeys() override { return BArray<WString>(); }

        mutable WString text;
    };
    const Kept kept;
    const WString key = QD_W("k");
    int number = 0;
    double real = 0;
    bool truth = false;
    std::int64_t whole = 0;
    unsigned long hex = 0;
    _SYSTEMTIME time = {};
    const std::function<bool()> operations[] = {
        [&] { return kept.Write(key, 7); },
        [&] { return kept.Read(key, number, 1, 9); },
        [&] { return kept.Write(key, 2.5); },
        [&] { return kept.Read(key, real); },
        [&] { return kept.Write(key, true); },
        [&] { return kept.Read(key, truth); },
        [&] { return kept.Write(key, 1LL << 40); },
        [&] { return kept.Read(key, whole); },
        [&] { return kept.Write(key, QD_W("0x1F")); },
        [&] { return kept.ReadHex(key, hex, 4); },
        [&] { return kept.Write(key, time); },
        [&] { return kept.Read(key, time); },
    };
    for (const auto& operation : operations) {
        SCOPED_TRACE(&operation - operations);
        const WString text = std::exchange(kept.text, WString(QD_W("x")));
        EXPECT_FALSE(kept.Read(key, whole));
        EXPECT_EQ(kept.Problem().code, EProblem::OtherValue);
        kept.text = text;
        EXPECT_TRUE(operation());
        EXPECT_FALSE(kept.Problem());
    }
}

TEST_F(IProfileTest, FindsSubProfilesBesideItself)
{
    const std::string longName(300, 'x'), tooLong = "D:\\" + longName;
    const std::string folder = TemporaryFolder::ToWide(m_folder / "").AsString().CStr();
    const std::pair<std::string, std::string> cases[] = {
        {"other.ini", folder + "other.ini"},
        {"D:\\x\\other.ini", "D:\\x\\other.ini"},
        {"D:other.ini", "D:other.ini"},
        {"sub/other.ini", "sub/other.ini"},
        {"D:." + std::string(254, 'x'), "D:." + std::string(254, 'x')},
        {"D:." + std::string(255, 'x'), folder + "D:." + std::string(255, 'x')},
        {"D:" + std::string(255, 'x'), "D:" + std::string(255, 'x')},
        {"D:" + std::string(256, 'x'), folder + "D:" + std::string(256, 'x')},
        {std::string(254, 'x') + "/x", std::string(254, 'x') + "/x"},
        {std::string(255, 'x') + "/x", folder + std::string(255, 'x') + "/x"},
        {tooLong, folder + tooLong},
        {"", ""},
    };
    BIniProfile store = Open(false);
    for (const auto& [value, found] : cases) {
        SCOPED_TRACE(value);
        Put(value);
        store.SetSection(WString());
        EXPECT_EQ(store.GetSubProfileEntry(QD_W("s"), QD_W("k")), WString(BString(found.c_str())));
        EXPECT_EQ(store.GetSection(), QD_W("s"));
    }
    EXPECT_EQ(store.GetSubProfileEntry(QD_W("none"), QD_W("k")), QD_W(""));
    EXPECT_EQ(BIniProfile(QD_W("C:\\cfg\\main.ini"), WString(), false).GetDir(), QD_W("C:\\cfg\\"));
    EXPECT_EQ(BIniProfile(QD_W("bare"), WString(), false).GetDir(), QD_W("bare"));
}
