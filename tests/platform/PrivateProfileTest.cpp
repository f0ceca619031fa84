#include "core/platform/PrivateProfile.h"

#include "core/platform/WideText.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/OffWindows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace std::string_literals;

namespace {

using platform::WideText;
using platform::WideView;

constexpr std::size_t kRoom = 512;
const WideText kNothing = QD_W("(nothing)");

// Each 0 of a list is a "|".
WideText Listed(const WChar* buffer, std::size_t length)
{
    WideText list(buffer, length);
    for (WChar& unit : list)
        unit = unit == 0 ? QD_W('|') : unit;
    return list;
}

/// One profile in a folder of its own.
class PrivateProfile : public testing::Test {
protected:
    // Null for the list of the section's keys.
    [[nodiscard]] WideText Read(const WideText& section, const WChar* key,
                                const WChar* fallback = kNothing.c_str(),
                                std::size_t room = kRoom) const
    {
        WChar buffer[kRoom];
        const std::size_t length = platform::ReadProfileText(
            m_path.AsView(), section, key != nullptr ? key : WideView(), fallback, buffer, room);
        EXPECT_EQ(buffer[length], 0);
        return Listed(buffer, length);
    }
    [[nodiscard]] WideText Read(const WideText& section, const WideText& key) const
    {
        return Read(section, key.c_str());
    }
    [[nodiscard]] WideText Lines(const WideText& section) const
    {
        WChar buffer[kRoom];
        return Listed(buffer, platform::ReadProfileSection(m_path, section.c_str(), buffer, kRoom));
    }
    [[nodiscard]] WideText Sections() const
    {
        WChar buffer[kRoom];
        return Listed(buffer, platform::ReadProfileSectionNames(m_path, buffer, kRoom));
    }

    TemporaryFolder m_folder;
    const WString m_path = m_folder.Path("settings.ini");
    const std::filesystem::path m_file = m_folder / "settings.ini";
};

} // namespace

TEST_F(PrivateProfile, ReadsWhatAFileHolds)
{
    WriteFileBytes(m_file, "early=0\n"
                           "[S]\nk = 1 \n;remark=2\n\nK=3\njunk\n\tq\t=\t'it'\nr=\"a'\ns='\nt=''\n"
                           "u=\"\"\"\"\nv=a;b = c\nw= \"  sp  \"  \r\n#h=1\n"
                           "[T] tail\nx=1\n"
                           " [ U ] \ny=2\n[V\n"
                           "[s]\nk=4\nlate=5\n[]\n"
                           "[W]x]\nlast=\xE4\x80");
    const WideText s = QD_W("S");
    // clang-format off
    const std::tuple<WideText, WideText, WideText> cases[] = {
        {s, QD_W("k"), QD_W("1")}, {QD_W("s"), QD_W("K"), QD_W("1")}, // the first of equal keys
        {QD_W(" S "), QD_W(" k "), QD_W("1")}, {s, QD_W("junk"), kNothing}, // no value
        {s, QD_W("q"), QD_W("it")}, {s, QD_W("r"), QD_W("\"a'")}, // quotes go in pairs, once
        {s, QD_W("s"), QD_W("'")}, {s, QD_W("t"), QD_W("")}, {s, QD_W("u"), QD_W("\"\"")},
        {s, QD_W("v"), QD_W("a;b = c")}, {s, QD_W("w"), QD_W("  sp  ")}, {s, QD_W("#h"), QD_W("1")},
        {QD_W("T"), QD_W("x"), QD_W("1")}, {QD_W("W]x"), QD_W("last"), QD_W("\u00E4\u20AC")},
        {QD_W("none"), QD_W("k"), kNothing},
    };
    // clang-format on
    for (const auto& [section, key, value] : cases)
        EXPECT_EQ(Read(section, key), value) << testing::PrintToString(key);
    EXPECT_EQ(Read(QD_W("s"), nullptr), QD_W("k|K|q|r|s|t|u|v|w|#h|")); // of the first "s"
    EXPECT_EQ(Read(QD_W("none"), nullptr), kNothing);
    EXPECT_EQ(Lines(QD_W("U")), QD_W("y=2|[V|"));
    EXPECT_EQ(Lines(QD_W("none")), QD_W(""));
    EXPECT_EQ(Sections(), QD_W("S|T|U|s|W]x|"));
}

TEST_F(PrivateProfile, CutsWhatIsTooLong)
{
    WriteFileBytes(m_file, "[Section]\r\nabc=0123456789\r\ndefg=1\r\n");
    const auto read = [&](const WChar* key, std::size_t room) {
        return Read(QD_W("Section"), key, QD_W(" default "), room);
    };
    EXPECT_EQ(read(QD_W("abc"), 5), QD_W("0123"));
    EXPECT_EQ(read(QD_W("abc"), 11), QD_W("0123456789"));
    EXPECT_EQ(read(QD_W("none"), 5), QD_W(" def"));
    EXPECT_EQ(read(QD_W("none"), kRoom), QD_W(" default"));
    EXPECT_EQ(read(nullptr, 8), QD_W("abc|de"));
    EXPECT_EQ(read(nullptr, 11), QD_W("abc|defg|"));
    EXPECT_EQ(read(nullptr, 10), QD_W("abc|defg")); // no unit to spare
    WChar buffer[kRoom];
    EXPECT_EQ(platform::ReadProfileSectionNames(m_path, buffer, 9), 7U);
    EXPECT_EQ(platform::ReadProfileSectionNames(m_path, buffer, 10), 8U);
    EXPECT_EQ(platform::ReadProfileSection(m_path, QD_W("Section"), buffer, 10), 8U);
    EXPECT_EQ(Listed(buffer, 10), QD_W("abc=0123||"));
}

TEST_F(PrivateProfile, WritesWhereTheOtherPlatformDoes)
{
    struct Case {
        std::string before;
        WideText section, key;
        std::optional<WideText> value; // none: removed
        std::string after;
    };
    const WideText s = QD_W("S"), k = QD_W("k"), n = QD_W("n"), two = QD_W("2");
    const Case cases[] = {
        {"", s, k, QD_W(""), "[S]\r\nk=\r\n"},
        {"a=1", s, n, two, "a=1\r\n[S]\r\nn=2\r\n"},
        {"[S]\r\nk=1", s, k, two, "[S]\r\nk=2\r\n"},
        {"[S]", s, n, two, "[S]\r\nn=2\r\n"},
        {"[S]\r\nk=1\r\n[T]\r\n;c\r\nx=1\r\n", s, n, two,
         "[S]\r\nk=1\r\nn=2\r\n[T]\r\n;c\r\nx=1\r\n"},
        {"[S]\r\nk=1\r\n;c\r\n[T]\r\nx=1\r\n", s, n, two,
         "[S]\r\nk=1\r\n;c\r\nn=2\r\n[T]\r\nx=1\r\n"},
        {"[S]\r\n  Key  =  old ; c\r\njunk\r\n", s, QD_W("kEY"), QD_W(" new"),
         "[S]\r\nKey=new\r\njunk\r\n"}, // the file's spelling
        {"[S]\r\njunk\r\n", s, QD_W("junk"), two, "[S]\r\njunk=2\r\n"},
        {"[S]\r\nk=1\r\nK=2\r\n", s, QD_W("K"), QD_W("3"), "[S]\r\nk=3\r\nK=2\r\n"},
        {"[T]\r\n[S]\r\n[s]\r\nk=1\r\n", s, k, two, "[T]\r\n[S]\r\nk=2\r\n[s]\r\nk=1\r\n"},
        {"[S]\n k = 1\n\n", s, k, QD_W("1"), "[S]\n k = 1\n\n"}, // nothing to change
        {"", QD_W(" T"), QD_W(" x"), QD_W("\"q\""), "[T]\r\nx=\"q\"\r\n"},
        {"[S]\r\nk=1\r\n", s, QD_W("a=b"), QD_W("c\nd=e"), "[S]\r\nk=1\r\na=b=c\nd=e\r\n"},
        {"[S]\r\nk=\xE4\r\n", s, n, QD_W("\u20AC\u03B1\u4E2D"),
         "[S]\r\nk=\xE4\r\nn=\x80"
         "a?\r\n"}, // look-alikes
        {Utf16("[S]\r\nk=1\r\n"), s, k, QD_W("\u4E2D"),
         Utf16("[S]\r\nk=") + "-N" + Utf16("\r\n", "")},
        {"[S]\r\nk=1\r\nK=2\r\n[T]\r\n", s, k, {}, "[S]\r\nK=2\r\n[T]\r\n"},
        {"[S]\r\nk=1\r\n", s, n, {}, "[S]\r\nk=1\r\n"},
        {"[S]\r\nk=1\r\n", QD_W("T"), k, {}, "[S]\r\nk=1\r\n"},
    };
    // Off Windows every other line stays as it stands.
    const WideText three = QD_W("3"), none;
    const std::string text = "; head\n\n[S]\n  k = 1 ; x\n;c\nl\t=\t2\n\n\n[T] tail\r\n\r\nx=1";
    const std::string cr = "[S]\rk=1\r\r[T]\rx=1";
    const Case offWindows[] = {
        {text, s, QD_W("K"), three, "; head\n\n[S]\nk=3\n;c\nl\t=\t2\n\n\n[T] tail\r\n\r\nx=1"},
        {text, s, n, three,
         "; head\n\n[S]\n  k = 1 ; x\n;c\nl\t=\t2\nn=3\r\n\n\n[T] tail\r\n\r\nx=1"},
        {text, none, n, three, text + "\r\n[]\r\nn=3\r\n"}, // no section is no section ""
        {"a=1", none, QD_W("a"), {}, "a=1"},
        {"[]\nn=1\n", none, n, three, "[]\nn=3\n"},
        {cr, s, n, three, "[S]\rk=1\rn=3\r\n\r[T]\rx=1"},
        {Utf16("[S]\rk=1\r\r[T]\r"), s, k, three, Utf16("[S]\rk=3\r\r[T]\r")},
        {"[S]\rk=1\r", QD_W("T"), n, three, "[S]\rk=1\r[T]\r\nn=3\r\n"},
        {"[S]\nk=1\n\0"s, s, n, three, "[S]\nk=1\nn=3\r\n\0"s},
        {"[\xC4]\n\xDF\xE4=1\n", QD_W("\u00E4"), QD_W("\u00DF\u00C4"), two, "[\xC4]\n\xDF\xE4=2\n"},
        {"[S]\nWidth Of The Gr\xF6\xDFte=1\n", s, QD_W("width of the GR\u00D6\u00DFTE"), two,
         "[S]\nWidth Of The Gr\xF6\xDFte=2\n"},
        {"[S]\ns=1\ni=1\n", s, QD_W("\u017F"), two, "[S]\ns=1\ni=1\n?=2\r\n"},   // no ASCII letter
        {Utf16("[S]\n") + "\xB5\0"s + Utf16("=1\n", ""), s, QD_W("\u03BC"), two, // the micro sign
         Utf16("[S]\n") + "\xB5\0"s + Utf16("=1\n", "") + "\xBC\x03" + Utf16("=2\r\n", "")},
        {"\xEF\xBB\xBF[S]\nk=1\n", s, k, two,
         "\xEF\xBB\xBF[S]\nk=1\n[S]\r\nk=2\r\n"}, // a mark of UTF-8 is text
        {"\xFE\xFF\0[\0S\0]"s, s, k, none, "\xFE\xFF\0[\0S\0]\0\r\0\n\0k\0=\0\r\0\n"s},
        {"[S]\n[k\n", s, QD_W("[k"), QD_W("x]\n[T]"), "[S]\n[k=x]\n[T]\n"},
    };
    const auto check = [this](const Case& c) {
        SCOPED_TRACE(c.before);
        WriteFileBytes(m_file, c.before);
        EXPECT_TRUE(platform::ProfileUpdate(m_path).SetText(c.section.c_str(), c.key.c_str(),
                                                            c.value ? c.value->c_str() : nullptr));
        EXPECT_EQ(FileBytes(m_file), c.after);
    };
    std::ranges::for_each(cases, check);
    if (kIsOffWindows) {
        std::ranges::for_each(offWindows, check);
        EXPECT_EQ(Read(QD_W("T"), QD_W("[k")), kNothing);
        std::filesystem::remove(m_file);
        EXPECT_TRUE(platform::ProfileUpdate(m_path).SetText(QD_W("S"), QD_W("k"), nullptr));
        EXPECT_TRUE(std::filesystem::is_empty(m_file)) << "made all the same";
    }

    const std::string before = "a=0\r\n[S]\r\nk=1\r\n;c\r\n[T]\r\nx=2\r\n[s]\r\nk=3\r\n";
    WriteFileBytes(m_file, before);
    platform::ProfileUpdate update(m_path);
    EXPECT_TRUE(update.RemoveSection(QD_W("none")));
    EXPECT_EQ(FileBytes(m_file), before);
    EXPECT_TRUE(update.RemoveSection(QD_W("S")));
    EXPECT_EQ(FileBytes(m_file), "a=0\r\n[T]\r\nx=2\r\n[s]\r\nk=3\r\n");
}

TEST_F(PrivateProfile, ReadsWhatItWroteJustBefore)
{
    const auto set = [this](const WideText& section, const WideText& key, const WideText& value) {
        platform::ProfileUpdate update(m_path);
        return update.SetText(section.c_str(), key.c_str(), value.c_str());
    };
    WriteFileBytes(m_file, "[S]\n  k0 = before\n"); // the blanks go
    ASSERT_TRUE(set(QD_W("S"), QD_W("k0"), QD_W("0")));
    EXPECT_EQ(Read(QD_W("S"), QD_W("k0")), QD_W("0"));
    ASSERT_TRUE(set(QD_W("T"), QD_W("k0"), QD_W("t")));
    for (int i = 1; i < 60; ++i) {
        const WideText number = WString::FromInt(i).CStr(), half = WString::FromInt(i / 2).CStr();
        ASSERT_TRUE(set(QD_W("S"), QD_W("k") + number, number));
        ASSERT_TRUE(set(QD_W("S"), QD_W("K") + half, half + QD_W(" again")));
        EXPECT_EQ(Read(QD_W("S"), QD_W("K") + number), number);
        EXPECT_EQ(Read(QD_W("S"), QD_W("k") + half), half + QD_W(" again"));
        EXPECT_EQ(Read(QD_W("T"), QD_W("k0")), QD_W("t"));
    }
    // What breaks the line counts at once, too.
    ASSERT_TRUE(set(QD_W("S"), QD_W("k1"), QD_W("1\r\n[U]\r\nx=y")));
    EXPECT_EQ(Read(QD_W("U"), QD_W("k50")), QD_W("50"));
    EXPECT_EQ(Read(QD_W("S"), QD_W("k50")), kNothing);
    ASSERT_TRUE(set(QD_W("T\r\n[V"), QD_W("k"), QD_W("7")));
    EXPECT_TRUE(!kIsOffWindows || Read(QD_W("V"), QD_W("k")) == QD_W("7"));
}

TEST_F(PrivateProfile, FindsKeysInAnyOrder)
{
    WriteFileBytes(m_file, "[S]\na=1\nb\nc=3\nd=e=4\n[T]\nf=5\n\x80=6\n");
    const WideText s = QD_W("S"), t = QD_W("T");
    // What is asked for may begin as the line behind the last key does.
    const std::tuple<WideText, WideText, WideText> cases[] = {
        {s, QD_W("a"), QD_W("1")},   {s, QD_W("b\nc"), kNothing},    {s, QD_W("b"), kNothing},
        {s, QD_W("c"), QD_W("3")},   {s, QD_W("d=e"), kNothing},     {s, QD_W("C"), QD_W("3")},
        {s, QD_W("d"), QD_W("e=4")}, {s, QD_W("f"), kNothing},       {t, QD_W("f"), QD_W("5")},
        {t, QD_W("\x80"), kNothing}, {t, QD_W("\u20AC"), QD_W("6")}, {s, QD_W("a"), QD_W("1")},
    };
    for (const auto& [section, key, value] : cases)
        EXPECT_EQ(Read(section, key), value) << testing::PrintToString(key);
}

TEST_F(PrivateProfile, FindsANameOfAnyLengthWithoutRegardToCase)
{
    constexpr std::size_t lengths[] = {1, 7, 8, 9, 63, 64, 300};
    for (const std::size_t length : lengths) {
        for (const auto& [small, capital] :
             {std::pair(QD_W('z'), QD_W('Z')), std::pair(QD_W('\u00E4'), QD_W('\u00C4'))}) {
            const WideText front(length - 1, QD_W('m')), other(length - 1, QD_W('M'));
            ASSERT_TRUE(platform::ProfileUpdate(m_path).SetText(QD_W("S"), (front + small).c_str(),
                                                                (front + QD_W("!")).c_str()));
            const bool isFound = kIsOffWindows || small < 0x80; // Wine: ASCII only
            EXPECT_EQ(Read(QD_W("s"), other + capital), isFound ? front + QD_W("!") : kNothing)
                << length;
            EXPECT_EQ(Read(QD_W("s"), other + capital + QD_W("=")), kNothing) << length;
        }
    }
}

TEST_F(PrivateProfile, StoresBlocksWithTheirSum)
{
    const unsigned char data[] = {1, 0xAB, 0xFF, 0, 9};
    constexpr unsigned int size = sizeof data;
    for (const unsigned char* block : {data, static_cast<const unsigned char*>(nullptr)}) {
        EXPECT_TRUE(platform::ProfileUpdate(m_path).SetBlock(QD_W("S"), QD_W("b"), block, size));
        EXPECT_EQ(FileBytes(m_file), block ? "[S]\r\nb=01ABFF0009B4\r\n" : "[S]\r\n");
    }
    const std::pair<bool, std::vector<std::string>> cases[] = {
        {true, {"01ABFF0009B4", "01abff0009b4", " 01ABFF0009B4 "}},
        {false,
         {"01ABFF0009B5", "01ABFF0009", kIsOffWindows ? "0GABFF0009C3" : "", // Wine: G is 16
          "01ABFF000@B4", "01ABFF000900B4", "", "0"}},
    };
    for (const auto& [isGood, values] : cases) {
        for (const std::string& value : values) {
            WriteFileBytes(m_file, "[S]\r\nb=" + value + "\r\n");
            unsigned char read[size] = {};
            EXPECT_EQ(platform::ReadProfileBlock(m_path, QD_W("s"), QD_W("B"), read, size), isGood)
                << value;
            EXPECT_TRUE(!isGood || std::equal(data, data + size, read)) << value;
        }
    }
}
