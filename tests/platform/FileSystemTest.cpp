#include "core/platform/FileSystem.h"

#include "core/platform/FileReplacement.h"
#include "core/platform/FileStream.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>
#include <thread>
#include <tuple>

TEST(FileSystem, ReplacesAFileOnlyByWhatIsComplete)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("settings");
    for (const std::string before : {"", "new"}) {
        std::fputs("half", platform::FileReplacement(path).Stream());
        EXPECT_EQ(FileBytes(folder / "settings"), before);
        platform::FileReplacement taken(path);
        std::fputs("new", taken.Stream());
        EXPECT_TRUE(taken.Commit());
        EXPECT_FALSE(taken.Commit());
        EXPECT_EQ(FileBytes(folder / "settings"), "new");
    }
    // Nothing is left beside it.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / ""), {}), 1);
}

TEST(FileSystem, ASaveRemovesTheDraftsThatNobodyHolds)
{
    using platform::FileReplacement;
    const TemporaryFolder folder;
    const WString path = folder.Path("settings");
    const platform::WideText left = FileReplacement(path).Path();
    WriteFileBytes(left, "half");
    FileReplacement living(path);
    EXPECT_EQ(living.Path(), left); // which was free
    const platform::WideText second = FileReplacement(path).Path();
    WriteFileBytes(second, "half");
    EXPECT_TRUE(FileReplacement(path).Commit());
    EXPECT_FALSE(std::filesystem::exists(second));
    EXPECT_TRUE(living.Commit());
    WriteFileBytes(second, "half");
    EXPECT_NE(FileReplacement(path).Stream(), nullptr); // also without a save
    EXPECT_FALSE(std::filesystem::exists(second));
}

TEST(FileSystem, AloneMeansAlone)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("file");
    for (const auto& [first, second, isOpen, content] :
         {std::tuple{QD_W("rb"), QD_W("rb"), true, "old"},
          {QD_W("rb"), QD_W("wb"), false, "old"},
          {QD_W("rb"), QD_W("r+b"), false, "old"},
          {QD_W("r+b"), QD_W("rb"), false, "old"},
          {QD_W("r+b"), QD_W("r+b"), false, "old"},
          {QD_W("ab"), QD_W("rb"), false, "old"},
          {QD_W("wb"), QD_W("rb"), false, ""}}) {
        WriteFileBytes(folder / "file", "old");
        platform::Stream stream = platform::OpenStreamAlone(path, first, 0);
        ASSERT_TRUE(stream);
        EXPECT_EQ(platform::OpenStreamAlone(path, second, 0) != nullptr, isOpen);
        stream = nullptr; // on Windows nobody else may read the file before
        EXPECT_EQ(FileBytes(folder / "file"), content);
    }
}

TEST(FileSystem, WritersOfOneLogTakeTurns)
{
    constexpr int batches = 50, lines = 20;
    const TemporaryFolder folder;
    const WString path = folder.Path("day.log");
    const auto write = [&](const WChar* line) {
        for (int batch = 0; batch < batches; ++batch)
            EXPECT_TRUE(platform::AppendLines(
                path, 20000, [=, i = 0]() mutable { return i++ < lines ? line : nullptr; }));
    };
    std::thread other(write, QD_W("a"));
    write(QD_W("b"));
    other.join();

    std::string text = FileBytes(folder / "day.log").substr(2);
    EXPECT_EQ(text.size(), 2u * batches * lines * 6);
    std::set<std::string> kinds;
    for (std::size_t batch = 0; batch < text.size(); batch += lines * 6)
        kinds.insert(text.substr(batch, lines * 6));
    EXPECT_EQ(kinds.size(), 2u);
}
