#include "core/language/BLanguageMap.h"

#include "tests/FileBytes.h"
#include "tests/ResourceLimit.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// As many descriptors as are open now, and one.
rlim_t OneDescriptorMore()
{
    const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::close(next);
    return static_cast<rlim_t>(next) + 1;
}

} // namespace

TEST(LanguageMergeOnLinux, TranslationsThatCannotBeReadAreNotLost)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "master");
    fs::create_directory(folder / "translated");
    for (const char* name : {"many.lng", "loop.lng", "fault.lng"})
        WriteFileBytes(folder / "master" / name, Utf16("$A\tHello\r\n"));
    WriteFileBytes(folder / "translated/many.lng", Utf16("$A\tHello\tHallo\r\n"));
    fs::create_symlink("loop.lng", folder / "translated/loop.lng");
    fs::create_symlink("/proc/self/mem", folder / "translated/fault.lng"); // opens, but reads not
    int newEntries = 0;
    const auto merge = [&](const WChar* name) {
        return BLanguageMap::MergeMapFile(folder.Path("master"), folder.Path("translated"),
                                          folder.Path("translated"), name, newEntries);
    };
    EXPECT_EQ(merge(u"loop.lng"), 1);
    EXPECT_EQ(merge(u"fault.lng"), 1);
    {
        const ResourceLimit limit(RLIMIT_NOFILE, OneDescriptorMore());
        EXPECT_EQ(merge(u"many.lng"), 1);
    }
    EXPECT_EQ(newEntries, 0);
    EXPECT_EQ(FileBytes(folder / "translated/many.lng"), Utf16("$A\tHello\tHallo\r\n"));
    EXPECT_TRUE(fs::is_symlink(folder / "translated/loop.lng"));
    EXPECT_EQ(merge(u"many.lng"), 0);
    EXPECT_EQ(FileBytes(folder / "translated/many.lng"), Utf16("$A\tHello\tHallo\r\n"));

    BLanguageMap map;
    EXPECT_EQ(map.ImportMapFile(folder.Path("translated/fault.lng"), nullptr, false, true), 1);
}
