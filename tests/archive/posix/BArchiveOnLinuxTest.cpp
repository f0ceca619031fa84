#include "core/archive/BArchive.h"
#include "core/geometry/BBitArray.h"
#include "core/tree/BNode.h"

#include "tests/TemporaryFolder.h"
#include "tests/platform/posix/SystemCalls.h"

#include <gtest/gtest.h>

#include <cerrno>

TEST(BArchiveOnLinux, TellsWhyAFileCannotBeReadFromItsHeaderOn)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("file");
    const SP<BNode> root(new BNode(new BBitArray(8, 99, 99)));
    root->AddChild(new BNode, -1);
    BArchive(path, BArchive::ModeWrite, "class Doc", 1).Insert(root.Get(), "root");
    int reads = 0;
    for (bool isLoaded = false; !isLoaded; ++reads) {
        SystemCalls disk;
        disk.Fail("fread", EIO, reads);
        BArchive archive(path, BArchive::ModeRead, "class Doc", 1);
        isLoaded = static_cast<bool>(archive.TakeOut("root"));
        EXPECT_EQ(archive.IsGood(), isLoaded);
        EXPECT_EQ(archive.Problem().systemError, isLoaded ? 0 : EIO);
    }
    EXPECT_GT(reads, 3) << "of the header, the records and the array";
}
