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

class SaveArchiveTest : public testing::Test {
protected:
    [[nodiscard]] static bool Save(const WString& path, int value)
    {
        return SaveArchive(path, "class Saved", 1, [&](BArchive& archive) {
            archive.Insert(SP<ArchiveItem>(new ArchiveItem(value)).Get(), "item");
        });
    }
    [[nodiscard]] std::ptrdiff_t FileCount() const
    {
        return std::distance(std::filesystem::directory_iterator(m_folder / ""), {});
    }

    const TemporaryFolder m_folder;
    const WString m_path = m_folder.Path("part.qda");
};

} // namespace

TEST_F(SaveArchiveTest, ReplacesTheDocumentAsAWhole)
{
    ArchiveItem::Register();
    for (const int value : {1, 22}) {
        EXPECT_TRUE(Save(m_path, value));
        BArchive archive(m_path, BArchive::ModeRead, "class Saved", 1);
        const SP<ArchiveItem> item = TakeOutAs<ArchiveItem>(archive, "item");
        ASSERT_TRUE(item);
        EXPECT_EQ(item->m_value, value);
        EXPECT_EQ(FileCount(), 1);
    }
}

TEST_F(SaveArchiveTest, LeavesTheOldDocumentWhenItFails)
{
    ASSERT_TRUE(Save(m_path, 1));
    const std::string old = FileBytes(m_folder / "part.qda");
    const SP<BSmartObj> unwritable(new Unwritable);
    const auto insertUnwritable = [&](BArchive& archive) {
        archive.Insert(SP<ArchiveItem>(new ArchiveItem(2)).Get(), "item");
        archive.Insert(unwritable.Get(), "unwritable");
    };
    EXPECT_THROW((void)SaveArchive(m_path, "class Saved", 1, insertUnwritable), std::runtime_error);

    using std::filesystem::perms;
    std::filesystem::permissions(m_folder / "part.qda", perms::owner_read);
    EXPECT_FALSE(Save(m_path, 3));
    EXPECT_FALSE(Save(m_folder.Path("no folder/part.qda"), 3));
    EXPECT_EQ(FileBytes(m_folder / "part.qda"), old);
    EXPECT_EQ(FileCount(), 1);
    std::filesystem::permissions(m_folder / "part.qda", perms::owner_all); // so that it can go

    const auto takeTheName = [&](BArchive&) {
        std::filesystem::create_directory(m_folder / "new.qda");
    };
    EXPECT_FALSE(SaveArchive(m_folder.Path("new.qda"), "class Saved", 1, takeTheName));
    EXPECT_EQ(FileCount(), 2);
}
