#include "core/profile/BProfile.h"

#include "tests/Process.h"
#include "tests/FileBytes.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <filesystem>
#include <string>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// A process that runs `work` and ends.
template <class Work>
pid_t Start(Work work)
{
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    return child;
}

/// Tells when a file is made in a folder.
class FolderWatch {
public:
    explicit FolderWatch(const std::filesystem::path& folder)
        : m_events(::inotify_init1(IN_CLOEXEC))
    {
        ::inotify_add_watch(m_events, folder.c_str(), IN_CREATE);
    }
    ~FolderWatch() { ::close(m_events); }
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    void WaitForNewFile() const
    {
        alignas(inotify_event) char event[sizeof(inotify_event) + NAME_MAX + 1];
        EXPECT_GT(::read(m_events, event, sizeof event), 0);
    }

private:
    int m_events;
};

// What a killed writer left beside its file: it was killed midway.
int RemoveLeftovers(const std::filesystem::path& folder)
{
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".tmp")
            count += std::filesystem::remove(entry.path()) ? 1 : 0;
    }
    return count;
}

} // namespace

// A right that is missing stands for every failure to look at a file or to read it.
TEST(BProfileOnLinux, NothingReplacesAFileThatCannotBeRead)
{
    const TemporaryFolder folder;
    const std::string text = "[default]\r\nk=1\r\nother=2\r\n";
    std::filesystem::create_directory(folder / "closed");
    for (const char* name : {"closed/p.ini", "unread.ini", "a*?.ini"})
        WriteFileBytes(folder / name, text);
    std::filesystem::create_symlink("closed/p.ini", folder / "link.ini");
    using std::filesystem::perms;
    std::filesystem::permissions(folder / "", perms{0777});
    std::filesystem::permissions(folder / "unread.ini", perms{0222});
    std::filesystem::permissions(folder / "a*?.ini", perms{0666});
    std::filesystem::permissions(folder / "closed", perms{0});
    for (const char* name : {"closed/p.ini", "unread.ini", "link.ini"}) {
        EXPECT_TRUE(HoldsForNobody([&] {
            BProfile profile(folder.Path(name), ProfileReadWrite);
            return ::access((folder / "unread.ini").c_str(), R_OK) == 0 || // nobody's superior
                   (!profile.WriteInt(u"k", 3) && profile.ReadInt(u"k", 4) == 4 &&
                    !profile.WriteString(u"k", u"\u6E2C"));
        })) << name;
    }
    // No names are wild, also in a folder that cannot be searched for them.
    std::filesystem::permissions(folder / "", perms{0733});
    EXPECT_TRUE(HoldsForNobody([&] {
        BProfile profile(folder.Path("a*?.ini"), ProfileReadWrite);
        return profile.ReadInt(u"k", 4) == 1 && profile.ReadInt(u"new", 5) == 5;
    }));
    std::filesystem::permissions(folder / "", perms{0700});
    std::filesystem::permissions(folder / "closed", perms{0700});
    EXPECT_EQ(FileBytes(folder / "closed/p.ini"), text);
    EXPECT_EQ(FileBytes(folder / "unread.ini"), text);
    EXPECT_EQ(FileBytes(folder / "a*?.ini"), text + "new=5\r\n");
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.ini"));
}

TEST(BProfileOnLinux, AValueThatNeedsUnicodeIsWrittenWholeOrNotAtAll)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("p.ini"), link = folder.Path("link.ini");
    const std::string text = "[default]\r\nk=1\r\n" + std::string(100'000, ';');
    WriteFileBytes(folder / "p.ini", text);
    {
        const ResourceLimit limit(RLIMIT_FSIZE, 150'000);
        EXPECT_FALSE(BProfile(path, ProfileReadWrite).WriteString(u"k", u"\u6E2C"));
    }
    EXPECT_EQ(FileBytes(folder / "p.ini"), text);
    std::filesystem::create_symlink("new.ini", folder / "link.ini"); // where nothing is yet
    BProfile made(link, ProfileReadOnly);
    EXPECT_EQ(BProfile::WriteString(link, u"default", u"k", u"\u6E2C"), 0);
    EXPECT_EQ(made.ReadString(u"k", WString()), u"\u6E2C");
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.ini"));
}

TEST(BProfileOnLinux, TwoProcessesLoseNoKey)
{
    constexpr int count = 1000;
    const TemporaryFolder folder;
    const WString path = folder.Path("new/shared.ini"); // both make it, and its folder
    const auto write = [&](const WChar* family, const WChar* value) {
        for (int i = 0; i < count; ++i) {
            BProfile profile(path, ProfileReadWrite);
            if (!profile.WriteString(i, family, value))
                ::_exit(1);
        }
    };
    const pid_t first = Start([&] { write(u"narrow", u"1"); });
    const pid_t second = Start([&] { write(u"wide", u"\u6E2C"); });
    int status = 1;
    EXPECT_TRUE(::waitpid(first, &status, 0) == first && status == 0);
    EXPECT_TRUE(::waitpid(second, &status, 0) == second && status == 0);
    BProfile profile(path, ProfileReadOnly);
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(profile.ReadString(i, QD_W("narrow"), WString()), QD_W("1"));
        EXPECT_EQ(profile.ReadString(i, QD_W("wide"), WString()), QD_W("\u6E2C"));
    }
}

TEST(BProfileOnLinux, AWriterThatIsKilledLeavesTheOldOrTheNewFile)
{
    constexpr int wanted = 100, most = 1000;
    const TemporaryFolder folder;
    const WString path = folder.Path("settings.ini");
    WString padding; // so that a write takes its time
    padding.Fill(500'000, QD_W('x'));
    ASSERT_TRUE(BProfile(path, ProfileNew).WriteString(QD_W("padding"), padding));
    ASSERT_TRUE(BProfile(path, ProfileReadWrite).WriteInt(QD_W("number"), 10000));
    const std::string start = FileBytes(folder / "settings.ini");
    const std::string head = start.substr(0, start.size() - 14); // "10000" and its line end

    int last = 10000, kills = 0, midway = 0;
    for (; midway < wanted && kills < most; ++kills) {
        const FolderWatch watch(folder / "");
        const pid_t child = Start([&] {
            BProfile profile(path, ProfileReadWrite);
            for (int number = last;; ++number)
                profile.WriteInt(QD_W("number"), number);
        });
        watch.WaitForNewFile();
        ::usleep(static_cast<useconds_t>(kills % 10 * 50));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        const std::string bytes = FileBytes(folder / "settings.ini");
        ASSERT_EQ(bytes.size(), start.size());
        ASSERT_TRUE(bytes.starts_with(head) && bytes.ends_with(std::string("\r\0\n\0", 4)));
        const int number = BProfile(path, ProfileReadOnly).ReadInt(QD_W("number"), -1);
        ASSERT_GE(number, last);
        last = number;
        midway += RemoveLeftovers(folder / "");
    }
    EXPECT_EQ(midway, wanted) << kills << " kills";
    RecordProperty("Kills", kills);
}
