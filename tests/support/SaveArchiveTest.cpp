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

bool Save(const WString& path, const SP<BSmartObj>& object)
{
    return SaveArchive(path, "class Saved", 1,
                       [&](BArchive& archive) { archive.Insert(object.Get(), "item"); });
}

} // namespace

// What replacing a file keeps is tested in FileSystemTest.cpp.
TEST(SaveArchive, ReplacesTheDocumentAsAWholeOrNotAtAll)
{
    ArchiveItem::Register();
    const TemporaryFolder folder;
    const WString path = folder.Path("part.qda");
    for (const int value : {1, 22}) {
        EXPECT_TRUE(Save(path, new ArchiveItem(value)));
        BArchive archive(path, BArchive::ModeRead, "class Saved", 1);
        const SP<ArchiveItem> item = TakeOutAs<ArchiveItem>(archive, "item");
        EXPECT_TRUE(item && item->m_value == value);
    }
    const std::string saved = FileBytes(folder / "part.qda");
    EXPECT_THROW((void)Save(path, new Unwritable), std::runtime_error);
    EXPECT_EQ(FileBytes(folder / "part.qda"), saved);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / ""), {}), 1);

    BProblem problem{.code = EProblem::InUse};
    const auto throwing = [](auto thrown) { return [thrown](BArchive&) { throw thrown; }; };
    EXPECT_THROW((void)SaveArchive(path, "c", 1, throwing(std::bad_alloc()), &problem),
                 std::bad_alloc);
    EXPECT_EQ(problem.Text(), path + QD_W(": memory ran out"));
    EXPECT_THROW((void)SaveArchive(path, "c", 1, throwing(1), &problem), int);
    EXPECT_FALSE(problem) << "of the caller's own";

    EXPECT_FALSE(Save(folder.Path("no folder/part.qda"), new ArchiveItem(3)));
    EXPECT_FALSE(SaveArchive(folder.Path("new.qda"), "class Saved", 1, [&](BArchive&) {
        std::filesystem::create_directory(folder / "new.qda"); // takes the name
    }));
}
