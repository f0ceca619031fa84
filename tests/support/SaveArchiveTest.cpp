#include "support/SaveArchive.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"
#include "tests/archive/ArchiveTestObjects.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

namespace {

class Unwritable final : public BSmartObj {
public:
    void WriteData(BArchive&) const override { throw std::runtime_error("unwritable"); }
};

bool SaveItem(const WString& path, int value)
{
    return SaveArchive(path, "class Saved", 1, [&](BArchive& archive) {
        archive.Insert(SP<ArchiveItem>(new ArchiveItem(value)).Get(), "item");
    });
}

std::ptrdiff_t FileCount(const TemporaryFolder& folder)
{
    return std::distance(std::filesystem::directory_iterator(folder / ""), {});
}

} // namespace

TEST(SaveArchive, ReplacesTheDocumentAsAWhole)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("part.qda");
    ArchiveItem::Register();
    for (const int value : {1, 22}) {
        EXPECT_TRUE(SaveItem(path, value));
        BArchive archive(path, BArchive::ModeRead, "class Saved", 1);
        const SP<BSmartObj> item = archive.TakeOut("item");
        ASSERT_TRUE(item);
        EXPECT_EQ(static_cast<ArchiveItem*>(item.Get())->m_value, value);
        EXPECT_EQ(FileCount(folder), 1);
    }
}

TEST(SaveArchive, LeavesTheOldDocumentWhenItFails)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("part.qda");
    ASSERT_TRUE(SaveItem(path, 1));
    const std::string old = FileBytes(folder / "part.qda");

    const SP<BSmartObj> unwritable(new Unwritable);
    const auto insertUnwritable = [&](BArchive& archive) {
        archive.Insert(SP<ArchiveItem>(new ArchiveItem(2)).Get(), "item");
        archive.Insert(unwritable.Get(), "unwritable");
    };
    EXPECT_THROW((void)SaveArchive(path, "class Saved", 1, insertUnwritable), std::runtime_error);
    const auto throwAtOnce = [](BArchive&) { throw std::logic_error("no document"); };
    EXPECT_THROW((void)SaveArchive(path, "class Saved", 1, throwAtOnce), std::logic_error);

    using std::filesystem::perms;
    std::filesystem::permissions(folder / "part.qda", perms::owner_read);
    EXPECT_FALSE(SaveItem(path, 3));
    EXPECT_FALSE(SaveItem(folder.Path("no folder/part.qda"), 3));
    EXPECT_EQ(FileBytes(folder / "part.qda"), old);
    EXPECT_EQ(FileCount(folder), 1);
    std::filesystem::permissions(folder / "part.qda", perms::owner_all); // so that it can go
}
