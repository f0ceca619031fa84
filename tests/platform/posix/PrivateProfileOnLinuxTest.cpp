#include "core/platform/PrivateProfile.h"

#include "tests/FileBytes.h"
#include "tests/Process.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

bool Set(const WString& path, const WChar* section, const WChar* key, const WChar* value)
{
    return platform::ProfileUpdate(path).SetText(section, key, value);
}

std::u16string Read(const WString& path, const WChar* section, const WChar* key)
{
    WChar buffer[100];
    return {buffer, platform::ReadProfileText(path, section, key, u"(nothing)", buffer, 100)};
}

} // namespace

TEST(PrivateProfileOnLinux, KeepsEveryOtherLineAsItStands)
{
    struct Case {
        std::string before;
        const WChar *section, *key, *value;
        std::string after;
    };
    const std::string text = "; head\n\n[S]\n  k = 1 ; x\n;c\nl\t=\t2\n\n\n[T] tail\r\n\r\nx=1";
    const std::string cr = "[S]\rk=1\r\r[T]\rx=1";
    const Case cases[] = {
        {text, u"S", u"K", u"3", "; head\n\n[S]\nk=3\n;c\nl\t=\t2\n\n\n[T] tail\r\n\r\nx=1"},
        {text, u"S", u"n", u"3",
         "; head\n\n[S]\n  k = 1 ; x\n;c\nl\t=\t2\nn=3\r\n\n\n[T] tail\r\n\r\nx=1"},
        {text, u"", u"n", u"3", text + "\r\n[]\r\nn=3\r\n"}, // no section is no section ""
        {"a=1", u"", u"a", nullptr, "a=1"},
        {"[]\nn=1\n", u"", u"n", u"3", "[]\nn=3\n"},
        {cr, u"S", u"k", u"3", "[S]\rk=3\r\r[T]\rx=1"},
        {cr, u"S", u"n", u"3", "[S]\rk=1\rn=3\r\n\r[T]\rx=1"},
        {"[S]\rk=1\r", u"T", u"n", u"3", "[S]\rk=1\r[T]\r\nn=3\r\n"},
        {"[S]\nk=1\n\0"s, u"S", u"n", u"3", "[S]\nk=1\nn=3\r\n\0"s},
        {"[\xC4]\n\xDF\xE4=1\n", u"\u00E4", u"\u00DF\u00C4", u"2", "[\xC4]\n\xDF\xE4=2\n"},
        {"[S]\ns=1\ni=1\n", u"S", u"\u017F", u"2", "[S]\ns=1\ni=1\n?=2\r\n"},   // no ASCII letter
        {Utf16("[S]\n") + "\xB5\0"s + Utf16("=1\n", ""), u"S", u"\u03BC", u"2", // the micro sign
         Utf16("[S]\n") + "\xB5\0"s + Utf16("=1\n", "") + "\xBC\x03" + Utf16("=2\r\n", "")},
        {"\xEF\xBB\xBF[S]\nk=1\n", u"S", u"k", u"2",
         "\xEF\xBB\xBF[S]\nk=1\n[S]\r\nk=2\r\n"}, // a mark of UTF-8 is text
        {"\xFE\xFF\0[\0S\0]"s, u"S", u"k", u"", "\xFE\xFF\0[\0S\0]\0\r\0\n\0k\0=\0\r\0\n"s},
        {"[S]\n[k\n", u"S", u"[k", u"x]\n[T]", "[S]\n[k=x]\n[T]\n"},
    };
    const TemporaryFolder folder;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.before);
        WriteFileBytes(folder / "p.ini", c.before);
        EXPECT_TRUE(Set(folder.Path("p.ini"), c.section, c.key, c.value));
        EXPECT_EQ(FileBytes(folder / "p.ini"), c.after);
    }
    EXPECT_EQ(Read(folder.Path("p.ini"), u"T", u"[k"), u"(nothing)");
    EXPECT_TRUE(Set(folder.Path("missing.ini"), u"S", u"k", nullptr));
    EXPECT_TRUE(fs::is_empty(folder / "missing.ini")) << "made all the same";
}

TEST(PrivateProfileOnLinux, WritesInPlaceWhereNoFileCanBeMade)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("p.ini");
    WriteFileBytes(folder / "p.ini", "[S]\nk=1\n");
    fs::permissions(folder / "p.ini", fs::perms{0666});
    for (const int mode : {0555, 0111}) {
        fs::permissions(folder / "", static_cast<fs::perms>(mode));
        EXPECT_TRUE(HoldsForNobody([&] {
            return Set(path, u"S", u"longer key", u"longer value") &&
                   Set(path, u"S", u"longer key", nullptr) && Set(path, u"S", u"k", u"2") &&
                   Set(path, u"S", u"k", u"1") && Read(path, u"S", u"k") == u"1" &&
                   !Set(folder.Path("missing.ini"), u"S", u"k", u"1");
        }));
    }
    fs::permissions(folder / "p.ini", fs::perms{0644});
    EXPECT_TRUE(HoldsForNobody([&] {
        return ::geteuid() != 65534 ||
               (!Set(path, u"S", u"k", u"2") && !Set(path, u"S", u"k", u"1"));
    }));
    fs::permissions(folder / "", fs::perms{0755});
    EXPECT_EQ(FileBytes(folder / "p.ini"), "[S]\nk=1\n");
    EXPECT_FALSE(fs::exists(folder / "missing.ini"));
}

TEST(PrivateProfileOnLinux, NoUpdateIsLostWhereTheFolderMayNotBeRead)
{
    constexpr int writers = 3, keys = 50;
    const TemporaryFolder folder;
    const WString path = folder.Path("in/p.ini");
    fs::create_directory(folder / "in");
    fs::permissions(folder / "", fs::perms{0755});
    static_cast<void>(::chown((folder / "in").c_str(), 65534, 65534)); // when allowed
    fs::permissions(folder / "in", fs::perms{0300});
    std::vector<pid_t> processes;
    for (int writer = 0; writer < writers; ++writer)
        processes.push_back(StartAsNobody([&, writer] {
            int key = 0;
            while (key < keys && Set(path, u"S", WString::FromInt(writer * keys + key), u"1"))
                ++key;
            return key == keys;
        }));
    for (const pid_t process : processes)
        EXPECT_TRUE(Held(process));
    fs::permissions(folder / "in", fs::perms{0700});
    EXPECT_EQ(std::ranges::count(FileBytes(folder / "in/p.ini"), '='), writers * keys);
}

TEST(PrivateProfileOnLinux, SeesAChangeOfTheSameSizeAtOnce)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("p.ini");
    for (int i = 100; i < 160; ++i) {
        const WString value = WString::FromInt(i);
        // Twice in place, by way of another process's rename, and by this one's own update.
        const char* const name = i % 4 == 2 ? "other" : "p.ini";
        if (i % 4 == 3) {
            ASSERT_TRUE(Set(path, u"S", u"k", value));
        } else {
            WriteFileBytes(folder / name, "[S]\r\nk=" + std::to_string(i) + "\r\n");
        }
        if (i % 4 == 2)
            fs::rename(folder / "other", folder / "p.ini");
        ASSERT_EQ(Read(path, u"S", u"k"), value.CStr());
    }
}

TEST(PrivateProfileOnLinux, WhoForkedMeanwhileHoldsNoLock)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("p.ini");
    pid_t child = 0;
    {
        const platform::ProfileUpdate update(path);
        child = StartProcess([] { return ::pause() != 0; });
    }
    EXPECT_TRUE(Set(path, u"S", u"k", u"1"));
    ::kill(child, SIGKILL);
    EXPECT_FALSE(Held(child));
}

TEST(PrivateProfileOnLinux, APipeOrAFolderIsNoProfile)
{
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const WString& path : {folder.Path("pipe"), folder.Path(""), WString()}) {
        EXPECT_EQ(Read(path, u"S", u"k"), u"(nothing)");
        EXPECT_FALSE(Set(path, u"S", u"k", u"1"));
    }
}
