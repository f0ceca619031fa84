#include "core/platform/FileSystem.h"

#include "core/base/BString.h"
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

TEST(FileSystem, FindsWhatAPatternMatches)
{
    const TemporaryFolder folder;
    for (const char* name : {"x", "x.y", "ab", "abc", "abcd"})
        WriteFileBytes(folder / name, "");
    struct Case {
        const char* pattern;
        std::set<std::string> found;
    };
    const Case cases[] = {
        {"*.*", {".", "..", "ab", "abc", "abcd", "x", "x.y"}},
        {"*.*.*", {".", "..", "ab", "abc", "abcd", "x", "x.y"}},
        {"* . ", {".", "..", "ab", "abc", "abcd", "x", "x.y"}},
        {"x.*", {"x", "x.y"}},
        {"*.y", {"x.y"}},
        {"a?", {"ab"}},
        {"a*c", {"abc"}},
        {"*b*", {"ab", "abc", "abcd"}},
        {"? x", {}},
        {"abc", {"abc"}},
        {"a<", {}},
        {"*\\x", {}}, // wild in the last element only
        {"", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pattern);
        const WString start = folder.Path("");
        std::set<std::string> found;
        const WString pattern = start + WString(BString(c.pattern));
        const platform::EPresence presence =
            platform::FindFiles(pattern, [&](const platform::FoundFile& file) {
                found.insert(BString(file.path.c_str() + start.Length()).CStr());
                return true;
            });
        EXPECT_EQ(found, c.found);
        EXPECT_EQ(presence,
                  c.found.empty() ? platform::EPresence::Missing : platform::EPresence::There);
    }
}

TEST(FileSystem, TellsWhatIsThereFromWhatIsMissing)
{
    const TemporaryFolder folder;
    WriteFileBytes(folder / "file", "");
    struct Case {
        const char* name;
        platform::EPresence presence;
    };
    const Case cases[] = {
        {"", platform::EPresence::There},
        {"file", platform::EPresence::There},
        {"none", platform::EPresence::Missing},
        {"none/file", platform::EPresence::Missing},
        {"file/file", platform::EPresence::Missing},
    };
    for (const Case& c : cases)
        EXPECT_EQ(platform::Presence(folder.Path(c.name)), c.presence) << c.name;
}

TEST(FileSystem, ReplacesAFileOnlyByWhatIsComplete)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("settings");
    for (const std::string before : {"", "new"}) {
        std::fputs("half", platform::FileReplacement(path).Stream());
        EXPECT_EQ(FileBytes(folder / "settings"), before);
        platform::FileReplacement taken(path);
        ASSERT_NE(taken.Stream(), nullptr);
        std::fputs("new", taken.Stream());
        EXPECT_TRUE(taken.Commit());
        EXPECT_FALSE(taken.Commit());
        EXPECT_EQ(FileBytes(folder / "settings"), "new");
    }
    // Nothing is left beside it.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / ""), {}), 1);
}

TEST(FileSystem, AloneMeansAlone)
{
    const TemporaryFolder folder;
    const WString path = folder.Path("file");
    for (const auto& [first, second, isOpen] : {std::tuple{QD_W("rb"), QD_W("rb"), true},
                                                {QD_W("rb"), QD_W("wb"), false},
                                                {QD_W("rb"), QD_W("r+b"), false},
                                                {QD_W("r+b"), QD_W("rb"), false},
                                                {QD_W("r+b"), QD_W("r+b"), false},
                                                {QD_W("ab"), QD_W("rb"), false}}) {
        WriteFileBytes(folder / "file", "old");
        platform::Stream stream = platform::OpenStreamAlone(path, first, 0);
        ASSERT_TRUE(stream);
        EXPECT_EQ(platform::OpenStreamAlone(path, second, 0) != nullptr, isOpen);
        stream = nullptr; // on Windows nobody else may read the file before
        EXPECT_EQ(FileBytes(folder / "file"), "old");
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
    for (std::size_t batch = 0; batch < text.size(); batch += lines * 6) {
        for (std::size_t line = batch; line < batch + lines * 6; line += 6)
            ASSERT_EQ(text.at(line), text[batch]) << line;
    }
}
