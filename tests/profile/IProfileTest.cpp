#include "core/profile/IProfile.h"

#include "core/base/BString.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>

#if __has_include(<windows.h>)
# include <windows.h>
#endif

namespace {

// Keeps its texts in memory, by "section/key" as they are written.
class MemoryStore final : public IProfile {
public:
    using IProfile::IProfile;

    [[nodiscard]] std::string Text(const WString& key) const
    {
        const auto found = m_texts.find(Name(GetSection(), key));
        return found != m_texts.end() ? found->second : "none";
    }

protected:
    bool WriteKeyImpl(const WString& key, const WString& value) const override
    {
        m_texts[Name(GetSection(), key)] = value.AsString();
        return true;
    }
    WString GetString(const WString& key, const WString& defaultValue) override
    {
        const auto found = m_texts.find(Name(GetSection(), key));
        return found != m_texts.end() ? WString(BString(found->second.c_str())) : defaultValue;
    }
    bool DeleteSectionImpl(const WString& section) const override
    {
        return std::erase_if(m_texts, [prefix = Name(section, WString())](const auto& entry) {
                   return entry.first.starts_with(prefix);
               }) != 0;
    }
    BArray<WString> GetAllKeys() override
    {
        BArray<WString> keys;
        const std::string prefix = Name(GetSection(), WString());
        for (const auto& [name, text] : m_texts) {
            if (name.starts_with(prefix))
                keys.Append(BString(name.c_str() + prefix.size()));
        }
        return keys;
    }

private:
    static std::string Name(const WString& section, const WString& key)
    {
        return (section + QD_W("/") + key).AsString().CStr();
    }

    mutable std::map<std::string, std::string> m_texts;
};

MemoryStore MakeStore(bool writeMissingKey)
{
    MemoryStore store(IProfile::TypeNone, QD_W("C:\\cfg\\main.ini"), writeMissingKey);
    store.SetSection(QD_W("s"));
    return store;
}

// A text as the store has it, "" for none.
void Put(MemoryStore& store, const char* text)
{
    store.Write(QD_W("k"), WString(BString(text)));
}

std::string Text(const MemoryStore& store)
{
    return store.Text(QD_W("k"));
}

} // namespace

TEST(IProfile, ClampsAnIntToItsBoundsAndLeavesTheOtherIntegers)
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
            MemoryStore store = MakeStore(writeMissingKey);
            Put(store, row.text);
            int number = 5;
            EXPECT_EQ(store.Read(QD_W("k"), number, -10, 40), row.isRead);
            EXPECT_EQ(number, row.intValue);
            EXPECT_EQ(Text(store), writeMissingKey ? row.written : row.text);
        }
        MemoryStore store = MakeStore(false);
        Put(store, row.text);
        const auto readsLikeInt = [&](auto value) {
            EXPECT_EQ(store.Read(QD_W("k"), value, -10, 40), row.isRead);
            EXPECT_EQ(value, static_cast<decltype(value)>(row.otherValue));
        };
        readsLikeInt(static_cast<unsigned char>(5));
        readsLikeInt(static_cast<unsigned short>(5));
        readsLikeInt(static_cast<short>(5));
        readsLikeInt(5L);
        unsigned long wide = 5;
        EXPECT_EQ(store.Read(QD_W("k"), wide, -10, 40), row.isRead);
        EXPECT_EQ(wide, static_cast<std::uint32_t>(row.otherValue)); // of 32 bits everywhere
        store.Write(QD_W("k"), 4294967295UL);
        EXPECT_EQ(Text(store), "-1");
    }
}

TEST(IProfile, WritesADefaultForAMissingKeyWhenAskedTo)
{
    const MemoryStore store = MakeStore(true);
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
    const std::pair<const WChar*, const char*> written[] = {
        {QD_W("empty"), "none"},      {QD_W("text"), "text"}, {QD_W("flag"), "TRUE"},
        {QD_W("number"), "0.123457"}, {QD_W("hex"), "none"},  {QD_W("time"), "none"}};
    for (const auto& [key, value] : written)
        EXPECT_EQ(store.Text(key), value);

    const MemoryStore quiet = MakeStore(false);
    EXPECT_FALSE(quiet.Read(QD_W("text"), text));
    EXPECT_EQ(quiet.Text(QD_W("text")), "none");
}

TEST(IProfile, ReadsTruthWordsWithoutTrimmingAndKeepsWhatIsNone)
{
    MemoryStore store = MakeStore(true);
    const std::pair<const char*, bool> words[] = {
        {"TRUE", true}, {"true", true}, {"False", true}, {" true", false}, {"1", false}};
    for (const auto& [word, isRead] : words) {
        SCOPED_TRACE(word);
        Put(store, word);
        bool value = false;
        EXPECT_EQ(store.Read(QD_W("k"), value), isRead);
        EXPECT_EQ(value, isRead && word[0] != 'F');
        EXPECT_EQ(Text(store), word);
    }
    store.Write(QD_W("k"), QD_W("a text is no truth value"));
    EXPECT_EQ(Text(store), "a text is no truth value");
}

TEST(IProfile, KeepsFloatingPointNumbersInSinglePrecisionAndSixDigits)
{
    MemoryStore store = MakeStore(true);
    store.Write(QD_W("k"), 0.1234567);
    double value = 2.5;
    EXPECT_TRUE(store.Read(QD_W("k"), value));
    EXPECT_EQ(value, static_cast<double>(0.123457f));
    const std::pair<const char*, const char*> texts[] = {
        {"1e3 mm", "1e3 mm"}, {"wide", "2.5"}, {"1e", "2.5"}};
    for (const auto& [text, written] : texts) {
        SCOPED_TRACE(text);
        Put(store, text);
        float number = 2.5;
        EXPECT_EQ(store.Read(QD_W("k"), number), std::string(text) == written);
        EXPECT_EQ(number, std::string(text) == written ? 1000.0f : 2.5f);
        EXPECT_EQ(Text(store), written);
    }
}

TEST(IProfile, ReadsHexadecimalNumbersOfThreeCharactersOrMore)
{
    struct Case {
        const char* text;
        int digits;
        unsigned long value; // 1 when it cannot be read
    };
    const Case cases[] = {
        {"0x1A2B", 4, 0x1A2B},   {"0x12345", 4, 1},  {"1A2B", 4, 0x1A2B},
        {"\t 0XfF \t", 4, 0xFF}, {"FF", 4, 1},       {"0x", 4, 1},
        {"0xzz", 4, 1},          {"12 34", 4, 0x12}, {"12-34", 4, 1},
        {"0x1", 0, 1},           {"0x1", -1, 1},     {"0xFFFFFFFF", 8, 0xFFFFFFFF},
    };
    MemoryStore store = MakeStore(false);
    for (const Case& row : cases) {
        SCOPED_TRACE(row.text);
        Put(store, row.text);
        unsigned long value = 1;
        EXPECT_EQ(store.ReadHex(QD_W("k"), value, row.digits), row.value != 1);
        EXPECT_EQ(value, row.value);
    }
    unsigned short value = 1;
    Put(store, "0x1ABCD");
    EXPECT_FALSE(store.ReadHex(QD_W("k"), value));
    EXPECT_EQ(value, 1);
    Put(store, "0xABCD");
    EXPECT_TRUE(store.ReadHex(QD_W("k"), value));
    EXPECT_EQ(value, 0xABCD);
}

TEST(IProfile, ResetsATimeStampThatItCannotRead)
{
    struct Case {
        const char* text;
        int dayOfWeek;
        const char* writtenAgain; // null when it cannot be read
    };
    const Case cases[] = {
        {"07/04/2018 13:05:09.250", 3, "07/04/2018 13:05:09.250"},
        {" 7 / 4 / 2018 13 : 5 : 9 . 25 later", 3, "07/04/2018 13:05:09.025"},
        {"02/29/2000 0:0:0.0", 2, "02/29/2000 00:00:00.000"},
        {"13/04/2018 13:05:09.250", 0, "13/04/2018 13:05:09.250"}, // no such month
        {"07/04/1600 13:05:09.250", 0, "07/04/1600 13:05:09.250"}, // before all file times
        {"07/04/2018 13:05:09", 6, nullptr},
        {"2018-07-04", 6, nullptr},
        {"", 6, nullptr},
    };
    MemoryStore store = MakeStore(true);
    for (const Case& row : cases) {
        SCOPED_TRACE(row.text);
        Put(store, row.text);
        SYSTEMTIME time = {};
        EXPECT_EQ(store.Read(QD_W("k"), time), row.writtenAgain != nullptr);
        EXPECT_EQ(time.wDayOfWeek, row.dayOfWeek);
        EXPECT_EQ(Text(store), row.text);
        store.Write(QD_W("k"), time);
        EXPECT_EQ(Text(store), row.writtenAgain ? row.writtenAgain : "12/30/1899 00:00:00.000");
    }
}

TEST(IProfile, MovesBetweenSections)
{
    MemoryStore store = MakeStore(false);
    Put(store, "x");
    BArray<WString> keys;
    EXPECT_TRUE(store.LoadSection(QD_W("s"), &keys));
    EXPECT_EQ(keys.Count(), 1u);
    EXPECT_FALSE(store.LoadSection(QD_W("other"), &keys));
    EXPECT_EQ(keys.Count(), 0u);
    EXPECT_FALSE(store.LoadSection(WString(), nullptr));

    store.SetSection(QD_W("s"));
    store.SetSection(store.GetSection());
    EXPECT_EQ(store.GetSection(), QD_W("s"));
    EXPECT_FALSE(store.DeleteSection(QD_W("S"))); // this store tells sections by their case
    EXPECT_EQ(store.GetSection(), QD_W(""));
    store.SetSection(QD_W("s"));
    EXPECT_TRUE(store.DeleteSection(store.GetSection()));
    EXPECT_FALSE(store.LoadSection(QD_W("s"), nullptr));
}

TEST(IProfile, FindsSubProfilesBesideItself)
{
    const std::string longName(300, 'x');
    const std::string tooLong = "D:\\" + longName;
    struct Case {
        const char* value;
        std::string found;
    };
    const Case cases[] = {
        {"other.ini", "C:\\cfg\\other.ini"},
        {"D:\\x\\other.ini", "D:\\x\\other.ini"},
        {"D:other.ini", "D:other.ini"},
        {"sub/other.ini", "sub/other.ini"},
        {tooLong.c_str(), "C:\\cfg\\D:\\" + longName},
        {"", ""},
    };
    MemoryStore store = MakeStore(false);
    for (const Case& row : cases) {
        SCOPED_TRACE(row.value);
        store.SetSection(QD_W("s"));
        store.Write(QD_W("also"), 1); // the section is there
        Put(store, row.value);
        store.SetSection(WString());
        EXPECT_STREQ(store.GetSubProfileEntry(QD_W("s"), QD_W("k")).AsString(), row.found.c_str());
        EXPECT_EQ(store.GetSection(), QD_W("s"));
    }
    EXPECT_EQ(store.GetSubProfileEntry(QD_W("none"), QD_W("k")), QD_W(""));
    EXPECT_EQ(MemoryStore(IProfile::TypeNone, QD_W("bare"), false).GetDir(), QD_W("bare"));
}
