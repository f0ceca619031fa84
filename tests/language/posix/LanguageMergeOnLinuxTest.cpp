#include "core/base/ErrorCodes.h"
#include "core/language/BLanguageMap.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/posix/SystemCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

TEST(LanguageMergeOnLinux, WhatCannotBeReadAsAWholeIsNotLost)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "x.lng", Utf16("$A\tx\tx\r\n$B\tx\t" + std::string(3000, 'x')));
    fs::create_directory(folder / "translated");
    fs::create_symlink("x.lng", folder / "translated/x.lng"); // leads to itself
    int newEntries = 0;
    BProblem problem;
    const auto merge = [&](const WString& translated) {
        return BLanguageMap::MergeMapFile(folder.Path(""), translated, translated, u"x.lng",
                                          newEntries, problem);
    };
    EXPECT_EQ(merge(folder.Path("translated")), kErrorLanguageFile);
    EXPECT_EQ(problem.systemError, ELOOP);
    EXPECT_TRUE(fs::is_symlink(folder / "translated/x.lng"));

    BLanguageMap map;
    SystemCalls disk;
    disk.Fail("read", EIO, 1); // within $B
    EXPECT_EQ(map.ImportMapFile(folder.Path("x.lng"), nullptr, false, true), kErrorLanguageFile);
    EXPECT_EQ(map.Problem().systemError, EIO);
    EXPECT_TRUE(map.Includes(u"$A") && !map.Includes(u"$B"));
    disk.Fail("read", EIO, 1);
    EXPECT_EQ(merge(folder.Path("none")), kErrorLanguageFile);
    EXPECT_EQ(problem.systemError, EIO);
    disk.Fail("readdir", EIO, 4); // behind both names, "." and ".."
    EXPECT_EQ(map.ImportMapFiles(folder.Path(""), u"*.lng", nullptr, true), kErrorLanguageFile);
    EXPECT_EQ(map.Problem().systemError, EIO);
    EXPECT_FALSE(map.Includes(u"$B"));
    EXPECT_EQ(newEntries, 0);
    EXPECT_EQ(map.ExportMapFile(folder.Path("no/x.lng"), problem), kErrorLanguageFile);
    EXPECT_EQ(problem.code, EProblem::NotThere);
}
