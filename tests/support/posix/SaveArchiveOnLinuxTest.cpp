#include "support/SaveArchive.h"

#include "tests/FileBytes.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"
#include "tests/archive/ArchiveTestObjects.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

namespace fs = std::filesystem;

namespace {

class Bulk final : public BSmartObj {
public:
    explicit Bulk(std::size_t size)
        : m_bytes(size, 'b')
    {}
    void WriteData(BArchive& archive) const override
    {
        archive.WriteMemoryBlock(m_bytes.data(), m_bytes.size());
    }

private:
    std::vector<char> m_bytes;
};

bool SaveBulk(const WString& path, std::size_t size)
{
    return SaveArchive(path, "class Saved", 1, [&](BArchive& archive) {
        archive.Insert(SP<Bulk>(new Bulk(size)).Get(), "bulk");
    });
}

} // namespace

TEST(SaveArchiveOnLinux, LeavesTheOldDocumentWhenTheDiskIsFull)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("part.qda");
    ASSERT_TRUE(SaveBulk(path, 1000));
    const std::string old = FileBytes(folder / "part.qda");
    for (const std::size_t size : {20'000u, 3'000'000u}) { // one that fails at the end, and earlier
        const ResourceLimit limit(RLIMIT_FSIZE, 10'000);
        EXPECT_FALSE(SaveBulk(path, size));
    }
    EXPECT_EQ(FileBytes(folder / "part.qda"), old);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / ""), {}), 1);
}

TEST(SaveArchiveOnLinux, KeepsPermissionsAndLinks)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "part.qda", "old");
    fs::permissions(folder / "part.qda", fs::perms{0640});
    fs::create_symlink("part.qda", folder / "link");
    EXPECT_TRUE(SaveBulk(folder.Path("link"), 1000));
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_GT(fs::file_size(folder / "part.qda"), 1000u);
    EXPECT_EQ(fs::status(folder / "part.qda").permissions(), fs::perms{0640});

    fs::create_symlink("new.qda", folder / "ahead"); // to a file that is not there yet
    EXPECT_TRUE(SaveBulk(folder.Path("ahead"), 1000));
    EXPECT_TRUE(fs::is_symlink(folder / "ahead"));
    EXPECT_EQ(FileBytes(folder / "new.qda"), FileBytes(folder / "part.qda"));
}
