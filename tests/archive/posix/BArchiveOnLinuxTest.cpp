#include "core/archive/BArchive.h"
#include "core/tree/BNode.h"

#include "tests/TemporaryFolder.h"
#include "tests/platform/posix/SystemCalls.h"

#include <gtest/gtest.h>

#include <cerrno>

TEST(BArchiveOnLinux, TellsWhyAFileCannotBeReadFromItsHeaderOn)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("file");
    BArchive(path, BArchive::ModeWrite, "class Doc", 1).Insert(new BNode, "root");
    SystemCalls disk;
    disk.Fail("fread", EIO);
    const BArchive archive(path, BArchive::ModeRead, "class Doc", 1);
    EXPECT_FALSE(archive.IsGood());
    EXPECT_EQ(archive.Problem().systemError, EIO);
}
