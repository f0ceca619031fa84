#include "support/SaveArchive.h"

#include "tests/FileBytes.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"
#include "tests/archive/ArchiveTestObjects.h"

#include <gtest/gtest.h>

#include <filesystem>

TEST(SaveArchiveOnLinux, LeavesTheOldDocumentWhenTheDiskIsFull)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "part.qda", "old");
    for (const int count : {1'000, 100'000}) { // one that fails at the end, and earlier
        const ResourceLimit limit(RLIMIT_FSIZE, 10'000);
        EXPECT_FALSE(SaveArchive(folder.Path("part.qda"), "class Saved", 1, [&](BArchive& archive) {
            for (int i = 0; i < count; ++i)
                archive.Insert(SP<ArchiveItem>(new ArchiveItem(i)).Get(), "");
        }));
    }
    EXPECT_EQ(FileBytes(folder / "part.qda"), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / ""), {}), 1);
}
