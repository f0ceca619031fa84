#include "core/platform/PrivateProfile.h"
#include "core/platform/posix/FileLock.h"
#include "core/units/BUnitSystem.h"

#include "tests/FileBytes.h"
#include "tests/Process.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/posix/SystemCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <thread>
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
    return {buffer,
            platform::ReadProfileText(path.AsView(), section, key, u"(nothing)", buffer, 100)};
}

} // namespace

TEST(PrivateProfileOnLinux, AddsToTheFileItselfUnlessSomebodyCouldSeeAPart)
{
    struct Case {
        std::size_t size; // of the file before
        bool isAdded;
        const WChar* section = u"S";
        const WChar* key = u"n";
        const char* added = "n=1\r\n";
        bool hasOtherName = false;
    };
    const Case cases[] = {
        {4087, true}, // and the full disk comes across the page
        {100, true},
        {4091, true},                                // up to the page's end
        {4092, true},                                // across it
        {4092, false, u"T", u"n", "[T]\r\nn=1\r\n"}, // two lines of which one could be seen
        {4092, false, u"S", u"\u00E4", "\xE4=1\r\n"},
        {4096, true},
        {100, false, u"S", u"n", "n=1\r\n", true}, // another name keeps the old content
    };
    constexpr std::size_t least = std::string_view("[S]\r\nk=\r\n").size();
    const std::string usual = fs::temp_directory_path();
    ::setenv("TMPDIR", "/dev/shm", 1); // where the file system is known
    const TemporaryFolder folder;
    ::setenv("TMPDIR", usual.c_str(), 1);
    const auto path = folder / "p.ini", other = folder / "other";
    for (const Case& c : cases) {
        SCOPED_TRACE(c.size);
        const std::string before = "[S]\r\nk=" + std::string(c.size - least, 'x') + "\r\n";
        WriteFileBytes(path, before);
        if (c.hasOtherName)
            fs::create_hard_link(path, other);
        const std::ifstream held(path); // so that no new file gets the number of this one
        struct stat first = {}, then = {};
        ::stat(path.c_str(), &first);
        EXPECT_TRUE(Set(folder.Path("p.ini"), c.section, c.key, u"1"));
        ::stat(path.c_str(), &then);
        EXPECT_EQ(first.st_ino == then.st_ino, c.isAdded);
        EXPECT_EQ(FileBytes(path), before + c.added);
        EXPECT_EQ(FileBytes(other), c.hasOtherName ? before : "");
        // What a full disk took of it goes again.
        const ResourceLimit limit(RLIMIT_FSIZE, FileBytes(path).size() + 2);
        EXPECT_FALSE(Set(folder.Path("p.ini"), c.section, u"o", u"2"));
        EXPECT_EQ(FileBytes(path), before + c.added);
    }
}

TEST(PrivateProfileOnLinux, SeesNoPartOfALineThatIsAppendedMeanwhile)
{
    const TemporaryFolder folder;
    const auto path = folder / "p.ini";
    const std::string before = "[S]\r\nk=" + std::string(4079, 'x') + "\r\n", rest = "789\r\n";
    ASSERT_EQ(before.size() + std::string_view(";=123456").size(), 4096 + 0U);
    WriteFileBytes(path, before + ";=123456"); // so far the writer is
    SystemCalls calls;
    calls.BeforeRead([&] {
        std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(0, std::ios::end) << rest;
        file.seekp(static_cast<std::streamoff>(before.size())) << 'n';
    });
    EXPECT_EQ(Read(folder.Path("p.ini"), u"S", u"n"), u"123456789");
}

TEST(PrivateProfileOnLinux, AddsLineAfterLineInEachEncoding)
{
    const TemporaryFolder folder;
    const auto path = folder / "p.ini";
    for (const std::string mark : {"", "\xFF\xFE", "\xFE\xFF"}) {
        std::string text = "[S]\r\n";
        WriteFileBytes(path, mark);
        for (int i = 0; i < 1000; ++i) {
            const std::string key = "a key that has the number " + std::to_string(i);
            const std::u16string wide(key.begin(), key.end());
            EXPECT_TRUE(Set(folder.Path("p.ini"), u"S", wide.c_str(), u"v"));
            text += key + "=v\r\n";
        }
        std::string bytes = mark.empty() ? text : Utf16(text, "\xFF\xFE");
        for (std::size_t i = 0; mark == "\xFE\xFF" && i < bytes.size(); i += 2)
            std::swap(bytes[i], bytes[i + 1]);
        EXPECT_TRUE(FileBytes(path) == bytes) << mark;
    }
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
            ::close(STDIN_FILENO); // as in a service, whose first file is number 0
            ::setenv("TMPDIR", (folder / "gone").c_str(), 1);
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
    [[maybe_unused]] const int isTheirs = ::chown((folder / "in").c_str(), 65534, 65534);
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

TEST(PrivateProfileOnLinux, SeesAChangeOfTheSameSizeWhereverItStands)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("p.ini");
    const std::string filler =
        ";" + std::string(20'000, 'x') + "\n"; // more than is compared at once
    const std::string tails[] = {"k=1\n" + filler + filler, filler + "k=1\n" + filler,
                                 filler + filler + "k=1\n"};
    for (const std::string& tail : tails) {
        for (const bool isWide : {false, true}) {
            std::string bytes = "[S]\n" + tail;
            for (std::size_t at = 0; isWide && at != bytes.size(); at += 2)
                bytes.insert(at + 1, 1, '\0');
            bytes.insert(0, isWide ? "\xFF\xFE" : "");
            for (const char value : {'1', '2', '2', '3'}) {
                bytes[bytes.find('=') + (isWide ? 2 : 1)] = value;
                WriteFileBytes(folder / "p.ini", bytes);
                EXPECT_EQ(Read(path, u"S", u"k"), std::u16string(1, static_cast<WChar>(value)));
            }
            bytes.replace(0, 2, "\xFE\xFF"); // the mark alone
            WriteFileBytes(folder / "p.ini", bytes);
            EXPECT_EQ(Read(path, u"S", u"k"), u"(nothing)");
        }
    }
}

TEST(PrivateProfileOnLinux, FindsWhatAnotherProgramMadeOfALine)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("p.ini");
    const std::string before = "[S]\r\na=1\r\nb=2\rc=3\n;d=4\n\n[T]\na=5\nb=6\n";
    const std::string pieces[] = {"a",   "=",     "7", "\r",      "\n", "\r\n",
                                  "[S]", "[T]\n", ";", "\nb=8\n", ""};
    int number = 0;
    for (std::size_t place = 0; place <= before.size(); ++place) {
        for (const std::string& piece : pieces) {
            for (const std::size_t count : {0u, 1u, 5u}) {
                WriteFileBytes(folder / "p.ini", before);
                ASSERT_EQ(Read(path, u"T", u"b"), u"6");
                std::string after = before;
                after.replace(place, count, piece);
                if (number % 2 != 0) // there is a second change behind
                    after.insert(after.size() - 1, "66");
                WriteFileBytes(folder / "p.ini", after);
                // One that nobody has read yet.
                const std::string name = std::to_string(++number) + ".ini";
                WriteFileBytes(folder / name.c_str(), after);
                for (const WChar* const section : {u"S", u"T"}) {
                    for (const WChar* const key : {u"a", u"b", u"c", u"d", u"a7", u"7"})
                        ASSERT_EQ(Read(path, section, key),
                                  Read(folder.Path(name.c_str()), section, key))
                            << testing::PrintToString(after);
                }
                fs::remove(folder / name.c_str());
            }
        }
    }
}

TEST(PrivateProfileOnLinux, WhoForkedMeanwhileHoldsNoLock)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("p.ini");
    pid_t child = 0;
    {
        const platform::ProfileUpdate update(path);
        child = StartProcess([&] { // which stands somewhere else
            return ::chdir("/") == 0 && Set(path, u"S", u"k", u"2") && ::pause() != 0;
        });
        ::usleep(20'000);
        EXPECT_FALSE(fs::exists(folder / "p.ini")) << "it waits";
    }
    EXPECT_TRUE(Set(path, u"S", u"k", u"1"));
    ::kill(child, SIGKILL);
    EXPECT_FALSE(Held(child));
}

TEST(PrivateProfileOnLinux, IsThereInACopyOfABusyProcess)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("p.ini");
    ASSERT_TRUE(Set(path, u"S", u"k", u"1"));
    const auto read = [&path] { return Read(path, u"S", u"k") == u"1"; };
    const auto ask = [] { return BUnitSystem::Instance() != nullptr; };
    for (const std::function<bool()>& use : {std::function<bool()>(read), {ask}}) {
        std::atomic<bool> isOver = false;
        std::thread other([&] {
            while (!isOver)
                use();
        });
        int failed = 0;
        for (int i = 0; i != 50 && failed == 0; ++i)
            failed += Held(StartProcess([&] { return ::alarm(10) == 0 && use(); })) ? 0 : 1;
        isOver = true;
        other.join();
        EXPECT_EQ(failed, 0);
    }
}

TEST(PrivateProfileOnLinux, WhoWaitsIsSeenByWhoLetsGo)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("settings.ini");
    const platform::Descriptor locked(::open((folder / "").c_str(), O_RDONLY | O_DIRECTORY));
    std::thread waiting;
    {
        const platform::ProfileUpdate update(path);
        EXPECT_FALSE(platform::IsMarkedByOthers(locked));
        waiting = std::thread([&] {
            const platform::ProfileUpdate next(path);
            EXPECT_TRUE(next.IsLocked());
            EXPECT_FALSE(platform::IsMarkedByOthers(locked));
        });
        while (!platform::IsMarkedByOthers(locked))
            std::this_thread::yield();
    }
    waiting.join();
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
