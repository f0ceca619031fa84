#include "core/profile/BBinProfile.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <iterator>
#include <optional>
#include <sys/resource.h>

namespace {

// A limit of the process. Beyond one on files' sizes writing fails, as on a full disk.
class Limit {
public:
    Limit(decltype(RLIMIT_FSIZE) resource, rlim_t limit)
        : m_resource(resource)
        , m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(m_resource, &m_before);
        const rlimit meanwhile = {limit, m_before.rlim_max};
        ::setrlimit(m_resource, &meanwhile);
    }
    ~Limit()
    {
        ::setrlimit(m_resource, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

private:
    decltype(RLIMIT_FSIZE) m_resource;
    void (*m_handler)(int);
    rlimit m_before = {};
};

} // namespace

TEST(BBinProfileOnLinux, KeepsTheOldFileWhenTheDiskIsFull)
{
    const TemporaryFolder folder;
    BBinProfile(folder.Path("p"), ProfileNew).WriteInt(QD_W("a"), 1);
    const std::string before = FileBytes(folder / "p");
    for (const rlim_t size : {0U, 1U, 1000U, 100'000U}) {
        SCOPED_TRACE(size);
        const Limit limit(RLIMIT_FSIZE, size);
        BBinProfile profile(folder.Path("p"), ProfileReadWrite);
        for (int i = 0; i < 10'000; ++i)
            profile.WriteInt(i, QD_W("key"), i);
    }
    EXPECT_EQ(FileBytes(folder / "p"), before);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / ""), {}), 1);
}

TEST(BBinProfileOnLinux, KeepsAFileThatItCouldNotOpen)
{
    const TemporaryFolder folder;
    BBinProfile(folder.Path("p"), ProfileNew).WriteInt(QD_W("a"), 1);
    const std::string before = FileBytes(folder / "p");
    {
        std::optional<Limit> noMoreFiles(std::in_place, RLIMIT_NOFILE, 0);
        BBinProfile profile(folder.Path("p"), ProfileReadWrite);
        noMoreFiles.reset();
        EXPECT_TRUE(profile.IsValid());
        EXPECT_TRUE(profile.WriteInt(QD_W("b"), 2));
    }
    EXPECT_EQ(FileBytes(folder / "p"), before);
}
