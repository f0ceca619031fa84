#include "core/platform/PrivateProfile.h"

#include "tests/FileBytes.h"
#include "tests/Process.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
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
