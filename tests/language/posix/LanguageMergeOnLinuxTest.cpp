#include "core/base/ErrorCodes.h"
#include "core/language/BLanguageMap.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;

TEST(LanguageMergeOnLinux, TranslationsThatCannotBeReadAreNotLost)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "master");
    fs::create_directory(folder / "translated");
    for (const char* name : {"loop.lng", "fault.lng"})
        WriteFileBytes(folder / "master" / name, Utf16("$A\tHello\r\n"));
    fs::create_symlink("loop.lng", folder / "translated/loop.lng");
    fs::create_symlink("/proc/self/mem", folder / "translated/fault.lng"); // opens, but reads not
    int newEntries = 0;
    const auto merge = [&](const WChar* name) {
        return BLanguageMap::MergeMapFile(folder.Path("master"), folder.Path("translated"),
                                          folder.Path("translated"), name, newEntries);
    };
    EXPECT_EQ(merge(u"loop.lng"), kErrorLanguageFile);
    EXPECT_EQ(merge(u"fault.lng"), kErrorLanguageFile);
    EXPECT_EQ(newEntries, 0);
    for (const char* name : {"translated/loop.lng", "translated/fault.lng"})
        EXPECT_TRUE(fs::is_symlink(folder / name)) << name;
    BLanguageMap map;
    EXPECT_EQ(map.ImportMapFile(folder.Path("translated/fault.lng"), nullptr, false, true),
              kErrorLanguageFile);
}
