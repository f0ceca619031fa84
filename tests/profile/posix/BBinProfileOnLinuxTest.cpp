#include "core/profile/BBinProfile.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <iterator>
#include <sys/resource.h>

namespace {

// Writing beyond `size` bytes of a file fails meanwhile, as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t size)
        : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit = {size, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
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
        const FileSizeLimit limit(size);
        BBinProfile profile(folder.Path("p"), ProfileReadWrite);
        for (int i = 0; i < 10'000; ++i)
            profile.WriteInt(i, QD_W("key"), i);
    }
    EXPECT_EQ(FileBytes(folder / "p"), before);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / ""), {}), 1);
}
