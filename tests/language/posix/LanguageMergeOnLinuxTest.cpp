#include "core/base/ErrorCodes.h"
#include "core/language/BLanguageMap.h"

#include "tests/FileBytes.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace fs = std::filesystem;

TEST(LanguageMergeOnLinux, TranslationsThatCannotBeReadAreNotLost)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "master");
    fs::create_directory(folder / "translated");
    for (const char* name : {"many.lng", "loop.lng", "fault.lng"})
        WriteFileBytes(folder / "master" / name, Utf16("$A\tHello\r\n"));
    const std::string translated = Utf16("$A\tHello\tHallo\r\n");
    WriteFileBytes(folder / "translated/many.lng", translated);
    fs::create_symlink("loop.lng", folder / "translated/loop.lng");
    fs::create_symlink("/proc/self/mem", folder / "translated/fault.lng"); // opens, but reads not
    int newEntries = 0;
    const auto merge = [&](const WChar* name) {
        return BLanguageMap::MergeMapFile(folder.Path("master"), folder.Path("translated"),
                                          folder.Path("translated"), name, newEntries);
    };
    EXPECT_EQ(merge(u"loop.lng"), kErrorLanguageFile);
    EXPECT_EQ(merge(u"fault.lng"), kErrorLanguageFile);
    {
        const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::close(next);
        const ResourceLimit limit(RLIMIT_NOFILE, static_cast<rlim_t>(next) + 1); // one file more
        EXPECT_EQ(merge(u"many.lng"), kErrorLanguageFile);
    }
    EXPECT_EQ(newEntries, 0);
    EXPECT_EQ(FileBytes(folder / "translated/many.lng"), translated);
    EXPECT_TRUE(fs::is_symlink(folder / "translated/loop.lng"));
    EXPECT_EQ(merge(u"many.lng"), kErrorNone);
    EXPECT_EQ(FileBytes(folder / "translated/many.lng"), translated);
    BLanguageMap map;
    EXPECT_EQ(map.ImportMapFile(folder.Path("translated/fault.lng"), nullptr, false, true),
              kErrorLanguageFile);
}
